// SPDX-License-Identifier: MIT
#pragma once

#include "python/pythonmodule.h"

#include <QCoreApplication>
#include <QString>
#include <QThread>

#include <functional>

/// Stands in for the console while it lives: collects what scripts print and processes events after
/// each chunk, as the console does. \a onChunk is called before that. What other threads print is
/// dropped.
class ConsoleDouble
{
public:
    ConsoleDouble() { PythonModule::setConsole({write, read}); }
    ~ConsoleDouble()
    {
        PythonModule::setConsole({});
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
        if (QThread::currentThread() != QCoreApplication::instance()->thread())
            return;
        (unit == 1 ? errors : output) += QString::fromUtf8(text);
        if (const auto action = onChunk)
            action();
        QCoreApplication::processEvents();
    }
    static std::string read() { return "\n"; }
};
