// SPDX-License-Identifier: MIT
#pragma once

#include "python/pythonmodule.h"

#include <QByteArrayList>
#include <QPair>
#include <QVector>

#include <functional>

using Chunk = QPair<int, QByteArray>;
using Chunks = QVector<Chunk>;

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
        QByteArray text;
        for (const Chunk &chunk : qAsConst(chunks))
            text += chunk.first == unit ? chunk.second : QByteArray();
        return QString::fromUtf8(text);
    }

    static inline Chunks chunks;
    static inline QByteArrayList answers;
    static inline std::function<void()> onWrite;

private:
    static void write(int unit, const char *text)
    {
        chunks.append({unit, text});
        if (const auto action = onWrite)
            action();
    }
    static std::string readLine()
    {
        return answers.isEmpty() ? std::string() : answers.takeFirst().toStdString();
    }
};
