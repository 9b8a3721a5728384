// SPDX-License-Identifier: MIT
#include "session/utf8text.h"

#include <array>
#include <charconv>
#include <limits>

void Utf8Text::grow(int count)
{
    // What a byte array can hold beside its header.
    constexpr qint64 limit = std::numeric_limits<int>::max() - 64;
    const qint64 needed = qint64(m_size) + count;
    if (needed > limit)
        qBadAlloc();
    m_bytes.resize(static_cast<int>(std::min(2 * needed + 4096, limit)));
    m_begin = m_bytes.data();
}

void Utf8Text::appendHexadecimal(quint32 value)
{
    int count = 4;
    while (count < 8 && (value >> (4 * count)) != 0)
        ++count;
    char *const place = room(count);
    for (int i = 0; i < count; ++i)
        place[i] = "0123456789abcdef"[(value >> (4 * (count - 1 - i))) & 0xF];
}

void Utf8Text::appendDecimal(qint64 value)
{
    constexpr int longest = 20;
    char *const place = room(longest);
    const char *const end = std::to_chars(place, place + longest, value).ptr;
    m_size -= longest - static_cast<int>(end - place);
}

void Utf8Text::appendPiece(QStringView piece)
{
    const int size = static_cast<int>(piece.size());
    char *const place = room(size);
    ushort allBits = 0;
    for (int i = 0; i < size; ++i) {
        const ushort unit = piece.data()[i].unicode();
        allBits |= unit;
        place[i] = static_cast<char>(unit);
    }
    if (allBits >= 0x80) {
        m_size -= size;
        appendPiece(piece.toUtf8());
    }
}

/// The bytes that JSON text cannot hold as they are, by value.
static constexpr std::array<uchar, 0x80> jsonEscapes = [] {
    std::array<uchar, 0x80> isEscaped = {};
    for (size_t unit = 0; unit < isEscaped.size(); ++unit)
        isEscaped[unit] = unit < ' ' || unit == '"' || unit == '\\' ? 1 : 0;
    return isEscaped;
}();

bool Utf8Text::appendQuoted(const QString &text)
{
    const int size = text.size();
    char *const place = room(size + 2);
    const QChar *const units = text.constData();
    // Free of branches, as most of the time of a JSON export is spent here.
    uint isEscaped = 0;
    uint allBits = 0;
    for (int i = 0; i < size; ++i) {
        const uint unit = units[i].unicode();
        allBits |= unit;
        isEscaped |= jsonEscapes[unit & 0x7F];
        place[i + 1] = static_cast<char>(unit);
    }
    place[0] = '"';
    place[size + 1] = '"';
    if (allBits < 0x80 && isEscaped == 0)
        return true;
    m_size -= size + 2;
    return false;
}
