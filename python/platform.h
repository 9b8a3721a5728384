// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>

/// What the interpreter's host needs of the operating system. One implementation per platform is
/// compiled in; tests hand in machines that don't exist here. All strings are UTF-8.
class Platform
{
public:
    /// A loaded library; null for none.
    using Library = void *;

    virtual ~Platform() = default;

    /// The machine that this program runs on.
    [[nodiscard]] static Platform &native();

    /// A Python 3 library that is in this process already (preloaded, or linked by the host), or
    /// null. Its symbols are made visible to extension modules.
    [[nodiscard]] virtual Library loadedPython() = 0;
    /// Loads the library of the machine's default Python 3, or gives null. The library stays in
    /// the process for good: threads of the interpreter may outlive everything else.
    [[nodiscard]] virtual Library loadDefaultPython() = 0;
    /// The address of an exported name, or null.
    [[nodiscard]] virtual void *findExport(Library library, const char *name) = 0;

    [[nodiscard]] virtual bool fileExists(const std::string &path) = 0;
    /// A variable's value; none when it is not set, which differs from one that is set and empty.
    [[nodiscard]] virtual std::optional<std::string> environmentVariable(const char *name) = 0;
    /// Sets a variable, or removes it when there is no value.
    virtual void setEnvironmentVariable(const char *name,
                                        const std::optional<std::string> &value) = 0;

    /// Gives a process without any locale one that stores text as UTF-8; call before the toolkit
    /// and the interpreter start. A locale that somebody chose stays.
    virtual void useUtf8Locale() = 0;
    /// A write to a closed pipe, or beyond the size that files may have, becomes an error instead of
    /// the end of the process.
    virtual void ignoreWriteSignals() = 0;
    [[nodiscard]] virtual long processId() = 0;
    /// Writes to the process's own standard output (1) or standard error (2), past all buffers.
    virtual void writeToDescriptor(int descriptor, const char *text, std::size_t size) = 0;
    /// Ends the process at once, without clean-up.
    [[noreturn]] virtual void endProcess(int status) = 0;
};
