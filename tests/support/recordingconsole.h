// SPDX-License-Identifier: MIT
#pragma once

#include "python/pythonmodule.h"

#include <QByteArrayList>
#include <QRegularExpression>

#include <functional>

/// Stands in for the console: keeps the chunks that scripts write, one by one, and answers their
/// questions from a queue, whose end is the end of the input.
struct RecordingConsole
{
    static void install() { PythonModule::setConsole({write, readLine}); }
    static void clear()
    {
        chunks.clear();
        answers.clear();
        onWrite = nullptr;
    }

    /// All that was written to a unit.
    static QString text(int unit)
    {
        const QRegularExpression mark(QString("^%1:").arg(unit));
        return chunks.filter(mark).replaceInStrings(mark, QString()).join(QString());
    }

    static inline QStringList chunks; // each with its unit in front, such as "1:text"
    static inline QByteArrayList answers;
    static inline std::function<void()> onWrite;

private:
    static void write(int unit, const char *text)
    {
        chunks.append(QString::number(unit) + ':' + text);
        if (const auto action = onWrite)
            action();
    }
    static std::string readLine()
    {
        return answers.isEmpty() ? std::string() : answers.takeFirst().toStdString();
    }
};
