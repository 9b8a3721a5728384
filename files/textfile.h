// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// Writes \a text as the whole of a file; line feeds become the platform's line ends.
///
/// The file is replaced in one step, so that it holds its old text or the new one whatever happens,
/// also when the program is killed meanwhile. Where its folder does not allow that, it is
/// overwritten, and gets its old text back when this fails. A link stays and the file it leads to is
/// written; the permissions of an existing file stay; a file without write permission is refused,
/// also to the superuser. What is no regular file (a device, a pipe) is written to directly. Content
/// that this run of the program did not write itself is copied to the rescue folder first.
///
/// False on failure, with a sentence for people in \a error.
[[nodiscard]] bool
writeTextFile(const QString &path, const QByteArray &text, QString *error = nullptr);

/// Reads a whole file as it is, line ends included. False on failure, with \a text unchanged and a
/// sentence for people in \a error.
[[nodiscard]] bool readTextFile(const QString &path, QByteArray *text, QString *error = nullptr);
