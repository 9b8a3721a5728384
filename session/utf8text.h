// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringView>
#include <QVariant>

#include <algorithm>
#include <utility>

/// A UTF-8 text that grows at its end. The texts have some hundred thousand lines, each of half a
/// dozen pieces, so a piece costs a check of the room left and a copy, never an allocation.
class Utf8Text final
{
public:
    template <typename... Pieces> void append(const Pieces &...pieces)
    {
        (appendPiece(pieces), ...);
    }

    /// At least four lower-case digits.
    void appendHexadecimal(quint32 value);

    /// The text in quotes. False, with nothing appended, unless it is all ASCII without escapes.
    [[nodiscard]] bool appendQuoted(const QString &text);

    void appendDecimal(qint64 value);

    void appendLineStart(int blanks)
    {
        char *const place = room(1 + blanks);
        place[0] = '\n';
        std::fill_n(place + 1, blanks, ' ');
    }

    [[nodiscard]] QByteArray take()
    {
        m_bytes.resize(m_size);
        return std::exchange(m_bytes, {});
    }

private:
    void appendPiece(char piece) { *room(1) = piece; }
    void appendPiece(QLatin1String piece) { appendBytes(piece.data(), piece.size()); }
    void appendPiece(const QByteArray &piece) { appendBytes(piece.constData(), piece.size()); }
    void appendPiece(QStringView piece);

    void appendBytes(const char *bytes, int size) { std::copy_n(bytes, size, room(size)); }

    /// The place of the next \a count bytes, which the caller fills.
    [[nodiscard]] char *room(int count)
    {
        if (count > m_bytes.size() - m_size)
            grow(count);
        char *const place = m_begin + m_size;
        m_size += count;
        return place;
    }

    void grow(int count);

    QByteArray m_bytes; // all the room there is; the text is the first m_size bytes
    char *m_begin = nullptr;
    int m_size = 0;
};

/// What a variant of exactly the type T holds.
template <typename T> [[nodiscard]] const T &held(const QVariant &variant)
{
    return *static_cast<const T *>(variant.constData());
}
