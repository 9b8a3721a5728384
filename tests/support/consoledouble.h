// SPDX-License-Identifier: MIT
#pragma once

#include "python/pythonmodule.h"
#include "tools/pythonconsole.h"

#include <QCoreApplication>
#include <QString>
#include <QThread>

#include <functional>

/// Sits in front of the console: collects what scripts print, and calls \a onChunk before the console
/// shows a chunk and lets events through.
class ConsoleDouble
{
public:
    /// A console that is made later takes the streams back.
    static void install()
    {
        PythonModule::setConsole({write, PythonConsole::readLine});
        onChunk = nullptr;
        output.clear();
        errors.clear();
    }

    static inline QString output;
    static inline QString errors;
    static inline std::function<void()> onChunk;

    /// Calls \a action once, at the next chunk.
    static void once(const std::function<void()> &action)
    {
        onChunk = [action] {
            onChunk = nullptr;
            action();
        };
    }

private:
    static void write(int unit, const char *text)
    {
        if (QThread::currentThread() != QCoreApplication::instance()->thread()) {
            PythonConsole::writeText(unit, text);
            return;
        }
        (unit == 1 ? errors : output) += QString::fromUtf8(text);
        if (const auto action = onChunk)
            action();
        PythonConsole::writeText(unit, text);
    }
};
