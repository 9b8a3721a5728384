// SPDX-License-Identifier: MIT
#include "session/modeswriter.h"

#include "session/generationresult.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QSet>
#include <QStringList>
#include <QStringView>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <utility>

namespace {

/// A UTF-8 text that grows at its end. The texts have some hundred thousand lines, each of half a
/// dozen pieces, so a piece costs a check of the room left and a copy, never an allocation.
class Utf8Text
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

} // namespace

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

/// What a variant of exactly the type T holds.
template <typename T> static const T &held(const QVariant &variant)
{
    return *static_cast<const T *>(variant.constData());
}

namespace {

/// A variant read as text or as a list: in place where it holds one, as nearly all do, otherwise
/// through its conversion. The variant must outlive it.
template <typename T> class Reading
{
public:
    explicit Reading(const QVariant &variant)
    {
        if (variant.userType() == qMetaTypeId<T>())
            m_value = &held<T>(variant);
        else
            m_converted = variant.value<T>();
    }
    Q_DISABLE_COPY_MOVE(Reading)

    const T &operator*() const { return *m_value; }

private:
    T m_converted;
    const T *m_value = &m_converted;
};

/// What tells the lines of the INI text from their counterparts in the initializer.
struct Dialect
{
    QLatin1String comment;
    QLatin1String failedName;
    QLatin1String failedNameEnd;
    QLatin1String input;
    QLatin1String hiddenName;
    QLatin1String hiddenNameEnd;
    QLatin1String hiddenEnd;
    QLatin1String indentation;
    QLatin1String registerName;
    QLatin1String registerValue;
    bool splitsRegister; // "register:field" is written as "register, field"
};

const Dialect iniDialect{QLatin1String("//"),
                         QLatin1String("["),
                         QLatin1String("]"),
                         QLatin1String("//    "),
                         QLatin1String("[Hidden: "),
                         QLatin1String("]\n"),
                         QLatin1String(""),
                         QLatin1String(""),
                         QLatin1String("FIELD_WR= "),
                         QLatin1String(", 0x"),
                         true};

const Dialect pythonDialect{QLatin1String("#"),
                            QLatin1String("  "),
                            QLatin1String(""),
                            QLatin1String("      "),
                            QLatin1String("def __"),
                            QLatin1String("(device):\n"),
                            QLatin1String("    return\n"),
                            QLatin1String("    "),
                            QLatin1String("device['"),
                            QLatin1String("'].value = 0x"),
                            false};

struct RegisterName
{
    QStringView first;
    QStringView second; // empty when the register is written whole
};

/// One export text in the making.
class ModesText
{
public:
    explicit ModesText(const Dialect &dialect)
        : m_dialect(dialect)
    {
    }

    void appendIniMode(const QVariantMap &result);
    void appendInitializerMode(const QVariantMap &result);
    void appendInitializerCall(const QVariantMap &result);
    void appendAllModes(const QVariantList &results);
    /// The functions of a correct mode whose names are not written yet.
    void appendFunctions(const QVariantMap &result);

    [[nodiscard]] QByteArray take() { return m_text.take(); }

private:
    /// False when the name is written already.
    [[nodiscard]] bool recordName(const QString &name);
    /// Writes the comment that stands for a failed mode. True when a correct one is to be written.
    [[nodiscard]] bool startMode(const QVariantMap &result);
    void appendInputs(const QVariantMap &result, bool commaAfterLast);
    void appendInstruction(const QVariantList &instruction);
    /// False, with nothing written, when the operation or its form is unknown.
    [[nodiscard]] bool appendKnownInstruction(const QVariantList &instruction);

    const Dialect &m_dialect;
    Utf8Text m_text;
    QSet<QString> m_writtenNames;
};

} // namespace

static QString nameOf(const QVariantMap &map)
{
    return map.value(generationresult::name).toString();
}

static QVariantList functionsOf(const QVariantMap &result)
{
    return result.value(generationresult::functions).toList();
}

static QStringList errorsOf(const QVariantMap &result)
{
    return result.value(generationresult::errors).toStringList();
}

static QVariant valueOf(const QVariant &valueObject)
{
    return valueObject.toMap().value(generationresult::value);
}

/// False for a failed generation; a key counts whatever its value.
static bool hasGeneratedKeys(const QVariantMap &result)
{
    return result.contains(generationresult::parameters) && result.contains(generationresult::name)
        && result.contains(generationresult::notes) && result.contains(generationresult::errors)
        && result.contains(generationresult::functions);
}

static bool isCorrect(const QVariantMap &result)
{
    return hasGeneratedKeys(result) && errorsOf(result).isEmpty();
}

/// The register as an INI line names it: its first two pieces where colons part it, otherwise whole.
/// Empty when it has no piece at all.
static RegisterName iniRegister(const QString &whole)
{
    const auto isColon = [](QChar unit) { return unit == QLatin1Char(':'); };
    const auto end = whole.cend();
    const auto first = std::find_if_not(whole.cbegin(), end, isColon);
    const auto firstEnd = std::find_if(first, end, isColon);
    const auto second = std::find_if_not(firstEnd, end, isColon);
    if (second == end)
        return {first == end ? QStringView() : QStringView(whole), QStringView()};
    const auto secondEnd = std::find_if(second, end, isColon);
    return {QStringView(first, firstEnd), QStringView(second, secondEnd)};
}

bool ModesText::recordName(const QString &name)
{
    const int count = m_writtenNames.size();
    m_writtenNames.insert(name);
    return m_writtenNames.size() > count;
}

bool ModesText::startMode(const QVariantMap &result)
{
    if (!hasGeneratedKeys(result) || !result.contains(generationresult::inputs)) {
        m_text.append(m_dialect.comment, QLatin1String(" Missing data\n"));
        return false;
    }
    const QString name = nameOf(result);
    const QStringList errors = errorsOf(result);
    if (errors.isEmpty())
        return recordName(name);
    m_text.append(m_dialect.comment, m_dialect.failedName, name, m_dialect.failedNameEnd, '\n');
    m_text.append(m_dialect.comment, QLatin1String("  Got error messages:\n"));
    for (const QString &error : errors)
        m_text.append(m_dialect.comment, QLatin1String("      "), error, '\n');
    return false;
}

void ModesText::appendInputs(const QVariantMap &result, bool commaAfterLast)
{
    const QVariantMap inputs = result.value(generationresult::inputs).toMap();
    int left = inputs.size();
    for (auto input = inputs.begin(); input != inputs.end(); ++input) {
        m_text.append(m_dialect.input, input.key(), QLatin1String(": "));
        m_text.append(valueOf(input.value()).toString());
        if (--left > 0 || commaAfterLast)
            m_text.append(',');
        m_text.append('\n');
    }
}

void ModesText::appendIniMode(const QVariantMap &result)
{
    if (!startMode(result))
        return;
    m_text.append(QLatin1String("\n["), nameOf(result), QLatin1String("]\n//  Inputs\n//  {\n"));
    appendInputs(result, false);
    m_text.append(QLatin1String("//  }\n"));
    const QVariantList functions = functionsOf(result);
    for (const QVariant &function : functions)
        m_text.append(QLatin1String("LOAD= "), nameOf(function.toMap()), '\n');
}

void ModesText::appendInitializerMode(const QVariantMap &result)
{
    if (!startMode(result))
        return;
    m_text.append(QLatin1String("\ndef "), nameOf(result));
    m_text.append(QLatin1String("(device, stream=True, clock_multiplier=1.0):\n"
                                "    \"\"\"\n"
                                "    Inputs\n"
                                "    {\n"));
    appendInputs(result, true);
    m_text.append(QLatin1String("    }\n"
                                "    \"\"\"\n"));

    const QVariantMap parameters = result.value(generationresult::parameters).toMap();
    // The parameter is in megahertz.
    const double clock = valueOf(parameters.value(QStringLiteral("extclk"))).toDouble() * 1000000;
    if (clock > 0 && qIsFinite(clock)) {
        m_text.append(QLatin1String("    device.external_clock_frequency_in_Hz = "));
        m_text.append(QByteArray::number(clock, 'f', 1), '\n');
    }

    m_text.append(QLatin1String("    Reset(device)\n"
                                "    stream_off(device)\n"));
    const QVariantList functions = functionsOf(result);
    for (const QVariant &function : functions)
        m_text.append(
            QLatin1String("    __"), nameOf(function.toMap()), QLatin1String("(device)\n"));
    m_text.append(functions.isEmpty() ? QLatin1String("    pass\n")
                                      : QLatin1String("    if stream: stream_on(device)\n"));
}

void ModesText::appendInitializerCall(const QVariantMap &result)
{
    const QString name = nameOf(result);
    if (!isCorrect(result) || !recordName(name))
        return;
    m_text.append(QLatin1String("\n["), name, QLatin1String("]\n"));
    m_text.append(QLatin1String("PYTHON= Initializer."), name, QLatin1String("(Device())\n"));
}

void ModesText::appendAllModes(const QVariantList &results)
{
    QStringList names;
    for (const QVariant &element : results) {
        const QVariantMap result = element.toMap();
        if (result.contains(generationresult::name))
            names += nameOf(result);
    }
    m_text.append(QLatin1String("def __AllModes():\n"
                                "    '''\n"
                                "    Return a list of the functions that set up new modes. This\n"
                                "    should include all of the modes defined here; it provides\n"
                                "    a mechanism for looping over all known modes.\n"
                                "\n"
                                "    Each function has the same argument list:\n"
                                "    (device, stream = True, clock_multiplier = 1.0)\n"
                                "    '''\n"
                                "    #  These are not strings, they are function names\n"
                                "    return [\n"
                                "        "));
    m_text.append(names.join(QLatin1String(",\n        ")));
    m_text.append(QLatin1String("\n"
                                "    ]\n"
                                "\n"));
}

void ModesText::appendFunctions(const QVariantMap &result)
{
    if (!isCorrect(result))
        return;
    const QVariantList functions = functionsOf(result);
    for (const QVariant &element : functions) {
        const QVariantMap function = element.toMap();
        const QString name = nameOf(function);
        if (name.isEmpty() || !recordName(name))
            continue;
        m_text.append('\n', m_dialect.hiddenName, name, m_dialect.hiddenNameEnd);
        const QVariantList instructions = function.value(generationresult::instructions).toList();
        for (const QVariant &instruction : instructions)
            appendInstruction(*Reading<QVariantList>(instruction));
        m_text.append(m_dialect.hiddenEnd);
    }
}

void ModesText::appendInstruction(const QVariantList &instruction)
{
    m_text.append(m_dialect.indentation);
    if (!instruction.isEmpty() && appendKnownInstruction(instruction))
        return;
    m_text.append(m_dialect.comment, QLatin1String("  [ "));
    for (const QVariant &element : instruction)
        m_text.append(*Reading<QString>(element), ',');
    m_text.append(QLatin1String(" ] - unknown operation\n"));
}

bool ModesText::appendKnownInstruction(const QVariantList &instruction)
{
    const int size = instruction.size();
    const Reading<QString> operation(instruction.at(0));
    if (*operation == generationresult::comment) {
        m_text.append(m_dialect.comment, QLatin1String("  "));
        if (size > 1)
            m_text.append(*Reading<QString>(instruction.at(1)));
        m_text.append('\n');
        return true;
    }
    if (*operation != generationresult::registerWrite || size < 3 || size > 4)
        return false;

    const Reading<QString> whole(instruction.at(1));
    const RegisterName name =
        m_dialect.splitsRegister ? iniRegister(*whole) : RegisterName{*whole, QStringView()};
    if (m_dialect.splitsRegister && name.first.isEmpty())
        return false;
    m_text.append(m_dialect.registerName, name.first);
    if (!name.second.isEmpty())
        m_text.append(QLatin1String(", "), name.second);
    m_text.append(m_dialect.registerValue);
    m_text.appendHexadecimal(generationresult::registerValue(instruction.at(2)));
    if (size == 4) {
        m_text.append(QLatin1String("  "), m_dialect.comment, QLatin1String("  "));
        m_text.append(*Reading<QString>(instruction.at(3)));
    }
    m_text.append('\n');
    return true;
}

ModesWriter::ModesWriter(QVariantList results)
    : m_results(std::move(results))
{
}

QByteArray ModesWriter::iniText() const
{
    ModesText text(iniDialect);
    for (const QVariant &result : m_results)
        text.appendIniMode(result.toMap());
    for (const QVariant &result : m_results)
        text.appendFunctions(result.toMap());
    return text.take();
}

QByteArray ModesWriter::initializerPython() const
{
    ModesText text(pythonDialect);
    text.appendAllModes(m_results);
    for (const QVariant &result : m_results)
        text.appendInitializerMode(result.toMap());
    for (const QVariant &result : m_results)
        text.appendFunctions(result.toMap());
    return text.take();
}

QByteArray ModesWriter::initializerIni() const
{
    ModesText text(iniDialect);
    for (const QVariant &result : m_results)
        text.appendInitializerCall(result.toMap());
    return text.take();
}

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
