// SPDX-License-Identifier: MIT
#pragma once

#include "python/cpython.h"

/// The interpreter with this program's builtin module "tarnwick". The module's type Console stands
/// for sys.stdin, sys.stdout and sys.stderr, so that what scripts print and ask for goes through
/// the program's console instead of a terminal. Also binds json in __main__.
///
/// An interpreter that somebody else started keeps its own streams and lacks the module.
class PythonModule : public CPython
{
public:
    /// The way up to the console. Unit 1 is the error stream, every other unit the output; text is
    /// UTF-8 without NUL. readLine gives the user's line with its line feed. Both may be called from
    /// any thread: readLine without the interpreter lock, writeText with it on the thread that
    /// started the interpreter and mostly without it on others.
    struct ConsoleEntries
    {
        void (*writeText)(int unit, const char *text) = nullptr;
        std::string (*readLine)() = nullptr;
    };
    /// The console installs its entries and takes them back with an empty pair. While there are
    /// none, text is dropped and each line read is empty.
    static void setConsole(const ConsoleEntries &entries);

    using CPython::CPython;

protected:
    void registerModules() override;
    void interpreterStarted() override;

private:
    friend struct ConsoleStream;
};
