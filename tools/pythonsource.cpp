// SPDX-License-Identifier: MIT
#include "tools/pythonsource.h"

static constexpr char byteOrderMark[] = "\xef\xbb\xbf";
static constexpr QChar carriageReturnSymbol(0x240D);

QString PythonSource::decode(const QByteArray &bytes)
{
    m_hasByteOrderMark = bytes.startsWith(byteOrderMark);
    QString text = QString::fromUtf8(m_hasByteOrderMark ? bytes.mid(3) : bytes);
    const int returns = text.count(QLatin1Char('\r'));
    const int feeds = text.count(QLatin1Char('\n'));
    const int pairs = text.count(QLatin1String("\r\n"));
    m_lineEnd = returns > 0 && pairs == returns && pairs == feeds ? QStringLiteral("\r\n")
        : returns > 0 && feeds == 0                               ? QStringLiteral("\r")
                                                                  : QStringLiteral("\n");
    m_showsCarriageReturns = returns > 0 && m_lineEnd == QLatin1String("\n");
    if (m_showsCarriageReturns)
        text.replace(QLatin1Char('\r'), carriageReturnSymbol);
    else if (returns > 0)
        text.replace(m_lineEnd, QLatin1String("\n"));
    return text;
}

QByteArray PythonSource::encode(const QString &text) const
{
    QString written = text;
    if (m_showsCarriageReturns)
        written.replace(carriageReturnSymbol, QLatin1Char('\r'));
    if (m_lineEnd != QLatin1String("\n"))
        written.replace(QLatin1Char('\n'), m_lineEnd);
    const QByteArray bytes = written.toUtf8();
    return m_hasByteOrderMark ? byteOrderMark + bytes : bytes;
}
