// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

/// How a source file is written, apart from its text, so that saving it keeps the bytes of what was
/// not edited: the byte order mark and the ends of lines. Files are UTF-8.
class PythonSource
{
public:
    /// Takes over the form of a file, and gives its text with line feeds. In a file whose lines end in
    /// different ways the carriage returns show as U+240D.
    [[nodiscard]] QString decode(const QByteArray &bytes);
    /// The file for a text of the same form.
    [[nodiscard]] QByteArray encode(const QString &text) const;

private:
    bool m_hasByteOrderMark = false;
    bool m_showsCarriageReturns = false;
    QString m_lineEnd = QStringLiteral("\n");
};
