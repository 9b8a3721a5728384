// SPDX-License-Identifier: MIT
#include "session/generator.h"

#include "python/cpython.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

// What tracebacks show as the file of the program's own statements.
static constexpr char sourceName[] = "Tarnwick";

static QString tr(const char *text)
{
    return QCoreApplication::translate("generator", text);
}

/// A module name goes into expressions as a name, so it has to be one.
static QString moduleNameRefusal(const QString &name)
{
    const auto isNameCharacter = [](QChar c) {
        return c == QLatin1Char('_') || c.isLetterOrNumber() || c.isMark() || c.isSurrogate();
    };
    if (!name.isEmpty() && !name.at(0).isDigit()
        && std::all_of(name.begin(), name.end(), isNameCharacter)) {
        return QString();
    }
    return tr("The generator cannot be used, because its module name is no Python identifier: %1")
        .arg(name);
}

static bool endsLiteral(QChar character)
{
    return character == QLatin1Char('\'') || character == QLatin1Char('\n')
        || character == QLatin1Char('\r') || character.isNull();
}

/// A part number goes between two apostrophes, so nothing in it may end that literal.
static QString partNumberRefusal(const QString &partNumber)
{
    const auto lastOther = std::find_if(
        partNumber.rbegin(), partNumber.rend(), [](QChar c) { return c != QLatin1Char('\\'); });
    const bool escapesItsEnd = (lastOther - partNumber.rbegin()) % 2 != 0;
    if (!escapesItsEnd && std::none_of(partNumber.begin(), partNumber.end(), endsLiteral))
        return QString();
    return tr("The part number cannot be used, because it would end its Python text literal: %1")
        .arg(partNumber);
}

static void reportError(const QString &message)
{
    CPython::reportError(message.toStdString());
}

static bool isUsableModuleName(const QString &name)
{
    const QString refusal = moduleNameRefusal(name);
    if (!refusal.isEmpty())
        reportError(refusal);
    return refusal.isEmpty();
}

static bool areUsable(const QString &moduleName, const QString &partNumber)
{
    if (!isUsableModuleName(moduleName))
        return false;
    const QString refusal = partNumberRefusal(partNumber);
    if (!refusal.isEmpty())
        reportError(refusal);
    return refusal.isEmpty();
}

QString generator::refusal(const QString &path, const QString &partNumber)
{
    const QFileInfo file(path);
    const QString folder = file.absolutePath();
    if (std::any_of(folder.begin(), folder.end(), endsLiteral))
        return tr("The generator cannot be imported, because its folder's name holds a quote or a "
                  "line break: %1")
            .arg(folder);
    const QString refusal = moduleNameRefusal(file.baseName());
    return refusal.isEmpty() ? partNumberRefusal(partNumber) : refusal;
}

static QString evaluateText(const QString &expression)
{
    return QString::fromStdString(CPython::evaluate(expression.toUtf8().constData(), sourceName));
}

static QVariantMap evaluateMap(const QString &expression)
{
    const QJsonDocument document = generator::evaluateJson(expression);
    return document.isObject() ? document.object().toVariantMap() : QVariantMap();
}

QJsonDocument generator::evaluateJson(const QString &expression)
{
    const QByteArray code = QStringLiteral("json.dumps(%1)").arg(expression).toUtf8();
    const std::string text = CPython::evaluate(code.constData(), sourceName);
    return QJsonDocument::fromJson(
        QByteArray::fromRawData(text.data(), static_cast<int>(text.size())));
}

bool generator::importGenerator(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return false;
    CPython::addSysPath(file.absolutePath().toUtf8().constData());
    return CPython::importOrReload(file.baseName().toUtf8().constData());
}

QVariantList generator::queryPartNumbers(const QString &moduleName)
{
    if (moduleName.isEmpty() || !isUsableModuleName(moduleName))
        return QVariantList();
    const QJsonDocument document =
        evaluateJson(QStringLiteral("%1.Settings().part_numbers").arg(moduleName));
    return document.isArray() ? document.array().toVariantList() : QVariantList();
}

QVariantMap generator::queryParameterList(const QString &moduleName, const QString &partNumber)
{
    if (!areUsable(moduleName, partNumber))
        return QVariantMap();
    return evaluateMap(
        QStringLiteral("%1.Settings().parameter_list('%2')").arg(moduleName, partNumber));
}

QVariantMap generator::queryParameterGroupList(const QString &moduleName, const QString &partNumber)
{
    if (moduleName.isEmpty() || !areUsable(moduleName, partNumber))
        return QVariantMap();
    const QString defined = evaluateText(
        QStringLiteral("'parameter_group_list' in %1.Settings.__dict__").arg(moduleName));
    if (defined != QLatin1String("True"))
        return QVariantMap();
    return evaluateMap(
        QStringLiteral("%1.Settings().parameter_group_list('%2')").arg(moduleName, partNumber));
}

QVariantMap
generator::generate(const QString &moduleName, const QString &partNumber, const QVariantMap &values)
{
    if (moduleName.isEmpty() || !areUsable(moduleName, partNumber))
        return QVariantMap();
    const QByteArray json = QJsonDocument::fromVariant(values).toJson(QJsonDocument::Compact);
    // Without the statement the generator sees the values of the generation before, as after any
    // other failure of it.
    if (json.contains("'''")) {
        reportError(
            tr("The parameter values cannot be passed on, because they would end their Python text "
               "literal: %1")
                .arg(QString::fromUtf8(json)));
    } else {
        const QByteArray statement = "tarnwick_parameters=json.loads('''" + json + "''')\n";
        CPython::execute(statement.constData(), sourceName);
    }
    return evaluateMap(QStringLiteral("%1.Settings().generate('%2', tarnwick_parameters)")
                           .arg(moduleName, partNumber));
}

QMap<QString, QString> generator::findPartNumbers(const QString &path)
{
    QMap<QString, QString> parts;
    const QFileInfo location(path);
    if (location.isFile()) {
        if (!importGenerator(path))
            return parts;
        for (const QVariant &part : queryPartNumbers(location.baseName()))
            parts.insert(part.toString(), path);
    } else if (location.isDir()) {
        // Importing a generator may change the current folder.
        const QDir folder(location.absoluteFilePath());
        const QFileInfoList files = folder.entryInfoList({QStringLiteral("settings_*.py")},
                                                         QDir::Files | QDir::Readable,
                                                         QDir::Name | QDir::IgnoreCase);
        for (const QFileInfo &file : files) {
            const QMap<QString, QString> found = findPartNumbers(file.absoluteFilePath());
            for (auto part = found.begin(); part != found.end(); ++part) {
                if (!parts.contains(part.key()))
                    parts.insert(part.key(), part.value());
            }
        }
    }
    return parts;
}
