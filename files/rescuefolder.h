// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// The folder "rescue" in the program's own place for the user's data: copies of what would else be
/// gone, each named after the time and what it is a copy of. Nobody else may read them.
///
/// Of all copies at most 200 files and 100 MB are kept, the newest; of equal contents one. Contents of
/// more than 20 MB are left out. Nothing here shows or logs a failure: what is being rescued is about
/// to be replaced because the user wants it so.
class RescueFolder final
{
public:
    RescueFolder();

    [[nodiscard]] QString path() const { return m_path; }

    /// Keeps \a content as that of a file called \a fileName.
    void keep(const QString &fileName, const QByteArray &content) const;
    /// Writes \a content to \a file, a path that newFile() gave, as often as it changes. It is on the
    /// disk when the system finds the time. False on failure.
    [[nodiscard]] bool write(const QString &file, const QByteArray &content) const;
    /// A path in this folder that no file has, for a copy made now of a file called \a fileName.
    [[nodiscard]] QString newFile(const QString &fileName) const;

    /// Keeps a regular file that is about to be replaced, unless its content is what this run of the
    /// program wrote there.
    static void keepBeforeReplacing(const QString &file);
    /// To be called after a file was replaced.
    static void noteWritten(const QString &file, const QByteArray &text);

private:
    void limit(const QString &newest) const;

    const QString m_path;
};
