// SPDX-License-Identifier: MIT
#include "session/indentedjson.h"

#include "session/utf8text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>

namespace {

/// Prints variants as QJsonDocument does with its indented layout, straight from the variants:
/// making JSON values of them first takes several times as long as the printing.
class JsonPrinter
{
public:
    void append(const QVariant &value, int depth);

    [[nodiscard]] QByteArray take()
    {
        m_text.append('\n');
        return m_text.take();
    }

private:
    void appendList(const QVariantList &list, int depth);
    void appendMap(const QVariantMap &map, int depth);
    void appendText(const QString &text);
    void appendInteger(qint64 number, const QVariant &value);
    void appendByToolkit(const QVariant &value, int depth);

    void startLine(bool isFirst, int depth)
    {
        if (!isFirst)
            m_text.append(',');
        m_text.appendLineStart(4 * depth);
    }

    Utf8Text m_text;
};

} // namespace

void JsonPrinter::append(const QVariant &value, int depth)
{
    switch (value.userType()) {
    case QMetaType::QVariantMap:
        return appendMap(held<QVariantMap>(value), depth);
    case QMetaType::QVariantList:
        return appendList(held<QVariantList>(value), depth);
    case QMetaType::QString:
        return appendText(held<QString>(value));
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return appendInteger(value.toLongLong(), value);
    default:
        return appendByToolkit(value, depth);
    }
}

void JsonPrinter::appendList(const QVariantList &list, int depth)
{
    m_text.append('[');
    bool isFirst = true;
    for (const QVariant &element : list) {
        startLine(isFirst, depth + 1);
        append(element, depth + 1);
        isFirst = false;
    }
    startLine(true, depth);
    m_text.append(']');
}

void JsonPrinter::appendMap(const QVariantMap &map, int depth)
{
    m_text.append('{');
    bool isFirst = true;
    for (auto member = map.begin(); member != map.end(); ++member) {
        startLine(isFirst, depth + 1);
        appendText(member.key());
        m_text.append(QLatin1String(": "));
        append(member.value(), depth + 1);
        isFirst = false;
    }
    startLine(true, depth);
    m_text.append('}');
}

void JsonPrinter::appendText(const QString &text)
{
    if (m_text.appendQuoted(text))
        return;
    const auto needsEscape = [](QChar unit) {
        return unit < QLatin1Char(' ') || unit == QLatin1Char('"') || unit == QLatin1Char('\\')
            || unit.isSurrogate();
    };
    if (std::any_of(text.begin(), text.end(), needsEscape))
        appendByToolkit(text, 0);
    else
        m_text.append('"', text, '"');
}

void JsonPrinter::appendInteger(qint64 number, const QVariant &value)
{
    // The toolkit prints integers as doubles, which are exact up to here.
    constexpr qint64 exact = qint64(1) << 53;
    if (number < -exact || number > exact)
        return appendByToolkit(value, 0);
    m_text.appendDecimal(number);
}

void JsonPrinter::appendByToolkit(const QVariant &value, int depth)
{
    const QJsonValue json = QJsonValue::fromVariant(value);
    if (json.isArray() || json.isObject())
        return append(json.toVariant(), depth);
    const QByteArray text = QJsonDocument(QJsonArray{json}).toJson(QJsonDocument::Compact);
    m_text.append(text.mid(1, text.size() - 2));
}

QByteArray indentedJson(const QVariant &value)
{
    JsonPrinter printer;
    printer.append(value, 0);
    return printer.take();
}
