// SPDX-License-Identifier: MIT
#pragma once

#include "python/pythonmodule.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QRegularExpression>
#include <QThread>

#include <functional>

/// Stands in for the console: keeps the chunks that scripts write, one by one, and answers their
/// questions from a queue, whose end is the end of the input. Or it sits in front of a real console,
/// which then gets the chunks and answers the questions.
struct RecordingConsole
{
    /// A console that is made later takes the streams back.
    static void install(const PythonModule::ConsoleEntries &behind = {})
    {
        clear();
        console = behind;
        PythonModule::setConsole({write, behind.readLine ? behind.readLine : readLine});
    }
    static void clear()
    {
        chunks.clear();
        answers.clear();
        onWrite = nullptr;
    }
    /// Calls \a action once, at the next chunk.
    static void once(const std::function<void()> &action)
    {
        onWrite = [action] {
            onWrite = nullptr;
            action();
        };
    }

    /// All that was written to a unit.
    static QString text(int unit)
    {
        const QRegularExpression mark(QString("^%1:").arg(unit));
        return chunks.filter(mark).replaceInStrings(mark, QString()).join(QString());
    }

    static inline QStringList chunks; // each with its unit in front, such as "1:text"
    static inline QByteArrayList answers;
    static inline std::function<void()> onWrite; // before the chunk is passed on

private:
    static void write(int unit, const char *text)
    {
        // What other threads print may come in the middle of a chunk.
        if (!console.writeText || QThread::currentThread() == qApp->thread()) {
            chunks.append(QString::number(unit) + ':' + text);
            if (const auto action = onWrite)
                action();
        }
        if (console.writeText)
            console.writeText(unit, text);
    }
    static std::string readLine()
    {
        return answers.isEmpty() ? std::string() : answers.takeFirst().toStdString();
    }

    static inline PythonModule::ConsoleEntries console;
};
