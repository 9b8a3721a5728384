// SPDX-License-Identifier: MIT
#include "files/rescuefolder.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QHash>
#include <QStandardPaths>

#include <cstdio>

static constexpr int mostFiles = 200;
static constexpr qint64 mostBytes = 100'000'000;
static constexpr qint64 largestContent = 20'000'000;

/// The hash of what this run wrote last, by the path that no link is part of.
static QHash<QString, QByteArray> &writtenContents()
{
    static QHash<QString, QByteArray> contents;
    return contents;
}

static QByteArray hashOf(const QByteArray &content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha1);
}

/// The content of a file that is not too large. False when it cannot be read.
static bool readContent(const QString &path, QByteArray *content)
{
    QFile file(path);
    if (file.size() > largestContent || !file.open(QIODevice::ReadOnly))
        return false;
    *content = file.readAll();
    return file.error() == QFileDevice::NoError;
}

/// Links and devices are none of this folder's.
static QFileInfoList filesIn(const QString &folder, QDir::SortFlags order)
{
    return QDir(folder).entryInfoList(QDir::Files | QDir::Hidden | QDir::NoSymLinks, order);
}

RescueFolder::RescueFolder()
    : m_path(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation)
             + QLatin1String("/rescue"))
{
}

void RescueFolder::keep(const QString &fileName, const QByteArray &content) const
{
    const QString file = newFile(fileName);
    if (!write(file, content))
        return;
    // The older copies go, not this one: whoever misses something looks at the newest first.
    const QFileInfoList others = filesIn(m_path, QDir::NoSort);
    for (const QFileInfo &other : others) {
        QByteArray text;
        if (other.filePath() != file && other.size() == content.size()
            && readContent(other.filePath(), &text) && text == content)
            QFile::remove(other.filePath());
    }
}

bool RescueFolder::write(const QString &file, const QByteArray &content) const
{
    constexpr auto owner = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
    if (content.size() > largestContent || !QDir().mkpath(m_path)
        || !QFile::setPermissions(m_path, owner | QFileDevice::ExeOwner))
        return false;
    // Put in place when it is complete, so that a copy of before is never replaced by half of one.
    // Waiting for the disk, as a save does, would be felt.
    QFile part(file + QLatin1String(".part"));
    const bool isWritten = part.open(QIODevice::WriteOnly) && part.setPermissions(owner)
        && part.write(content) == content.size() && part.flush();
    part.close();
    if (!isWritten
        || std::rename(QFile::encodeName(part.fileName()), QFile::encodeName(file)) != 0) {
        part.remove();
        return false;
    }
    limit(file);
    return true;
}

QString RescueFolder::newFile(const QString &fileName) const
{
    const QString time =
        QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-ddTHH-mm-ss"));
    // The end says which kind of file it is. With the time it must not get too long for a name.
    constexpr int longestName = 64;
    const QString name = fileName.right(longestName).replace(QLatin1Char('/'), QLatin1Char('_'));
    QString file = QStringLiteral("%1/%2 %3").arg(m_path, time, name);
    for (int i = 2; QFileInfo::exists(file); ++i)
        file = QStringLiteral("%1/%2 (%3) %4").arg(m_path, time, QString::number(i), name);
    return file;
}

/// Deletes the oldest files, but not \a newest, until they are few and small enough.
void RescueFolder::limit(const QString &newest) const
{
    int count = 1;
    qint64 bytes = QFileInfo(newest).size();
    const QFileInfoList newestFirst = filesIn(m_path, QDir::Time);
    for (const QFileInfo &file : newestFirst) {
        if (file.filePath() == newest)
            continue;
        ++count;
        bytes += file.size();
        if (count > mostFiles || bytes > mostBytes)
            QFile::remove(file.filePath());
    }
}

void RescueFolder::keepBeforeReplacing(const QString &file)
{
    const QString path = QFileInfo(file).canonicalFilePath();
    QByteArray content;
    if (path.isEmpty() || !readContent(path, &content)
        || writtenContents().value(path) == hashOf(content))
        return;
    RescueFolder().keep(QFileInfo(path).fileName(), content);
}

void RescueFolder::noteWritten(const QString &file, const QByteArray &text)
{
    writtenContents().insert(QFileInfo(file).canonicalFilePath(), hashOf(text));
}
