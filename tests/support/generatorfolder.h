// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

/// A folder for generator modules that goes away with it.
class GeneratorFolder
{
public:
    /// Writes a file and gives its path.
    QString write(const QString &fileName, const QByteArray &source) const
    {
        QFile file(path(fileName));
        if (!file.open(QIODevice::WriteOnly) || file.write(source) != source.size())
            qFatal("cannot write %s", qPrintable(file.fileName()));
        return file.fileName();
    }
    QString path(const QString &fileName = QString()) const { return m_folder.filePath(fileName); }

    /// A module whose Settings has the part numbers P1 and P2, the parameters gain (0 to 15, ticked,
    /// 1) and mode (fast or slow, unticked), and a result with all keys. \a body is put in front of
    /// generate's return and may change result.
    static QByteArray source(const QByteArray &body = "pass")
    {
        QFile file(TEST_DATA_DIR "/settings.txt");
        if (!file.open(QIODevice::ReadOnly))
            qFatal("cannot read %s", qPrintable(file.fileName()));
        return file.readAll().replace("<body>", body);
    }

private:
    QTemporaryDir m_folder{QDir::tempPath() + QStringLiteral("/tarnwick \u20ac-XXXXXX")};
};
