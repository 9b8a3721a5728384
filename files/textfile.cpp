// SPDX-License-Identifier: MIT
#include "files/textfile.h"

#include "files/rescuefolder.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

class TextFile
{
    Q_DECLARE_TR_FUNCTIONS(TextFile)
};

} // namespace

static bool fail(QString *error, const QString &reason)
{
    if (error != nullptr)
        *error = reason;
    return false;
}

/// Without the flush a full disk goes unnoticed: a small text waits in the buffer until the file is
/// closed, and closing reports nothing.
static bool isWritten(QFileDevice &file, const QByteArray &text)
{
    return file.write(text) == text.size() && file.flush() && file.error() == QFileDevice::NoError;
}

static QString writeFailure(const QFileDevice &file)
{
    // The system accepts a first part and gives no reason for stopping there.
    if (file.error() == QFileDevice::NoError)
        return TextFile::tr("Only a part of the text could be written.");
    return file.errorString();
}

static bool writeToDevice(const QString &path, const QByteArray &text, QString *error)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Text | QIODevice::ExistingOnly)
        && isWritten(file, text))
        return true;
    return fail(error, writeFailure(file));
}

static bool overwrite(const QString &path, const QByteArray &text, QString *error)
{
    QFile file(path);
    const bool isNew = !file.exists();
    // In a folder shared by all users the system lets nobody create over the file of another.
    const auto creation = isNew ? QIODevice::NewOnly : QIODevice::ExistingOnly;
    if (!file.open(QIODevice::ReadWrite | QIODevice::Text | QIODevice::Unbuffered | creation))
        return fail(error, file.errorString());
    const QByteArray oldText = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return fail(error, file.errorString());
    if (file.seek(0) && isWritten(file, text) && file.resize(file.pos()))
        return true;

    const QString reason = writeFailure(file);
    // The file was not cut before, so that the old text still has its room on a full disk.
    file.unsetError();
    if (file.seek(0) && isWritten(file, oldText))
        file.resize(oldText.size());
    if (isNew)
        file.remove();
    return fail(error, reason);
}

/// Replaces a regular file, or makes a new one.
static bool replace(const QString &path, const QByteArray &text, QString *error)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        if (!isWritten(file, text)) {
            const QString reason = writeFailure(file);
            file.cancelWriting();
            return fail(error, reason);
        }
        if (file.commit())
            return true;
    }
    // The folder takes no new file, or nothing can be put in this one's place.
    return overwrite(path, text, error);
}

bool writeTextFile(const QString &path, const QByteArray &text, QString *error)
{
    if (path.isEmpty())
        return fail(error, TextFile::tr("The file has no name."));
    const QFileInfo target(path);
    if (target.isDir())
        return fail(error, TextFile::tr("There is a folder of that name."));
    if (target.exists() && !target.isFile())
        return writeToDevice(path, text, error);
    // The superuser may write to any file; one that nobody may write to is meant to stay as it is.
    constexpr auto anyone =
        QFileDevice::WriteOwner | QFileDevice::WriteGroup | QFileDevice::WriteOther;
    if (target.exists() && !(target.permissions() & anyone))
        return fail(error, TextFile::tr("The file is write-protected."));

    RescueFolder::keepBeforeReplacing(path);
    if (!replace(path, text, error))
        return false;
    RescueFolder::noteWritten(path, text);
    return true;
}

bool readTextFile(const QString &path, QByteArray *text, QString *error)
{
    if (path.isEmpty())
        return fail(error, TextFile::tr("The file has no name."));
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(error, file.errorString());
    const QByteArray read = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return fail(error, file.errorString());
    // More than a byte array holds is read as nothing.
    if (read.size() < file.size())
        return fail(error, TextFile::tr("The file is too large."));
    *text = read;
    return true;
}
