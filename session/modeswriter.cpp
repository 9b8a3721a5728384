// SPDX-License-Identifier: MIT
#include "session/modeswriter.h"

#include "session/generationresult.h"
#include "session/utf8text.h"

#include <QSet>
#include <QStringList>

#include <utility>

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
