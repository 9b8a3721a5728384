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

/// The JSON text of an expression's value; empty after an error was printed.
static QByteArray evaluateJsonText(const QString &expression)
{
    const QByteArray code = QStringLiteral("json.dumps(%1)").arg(expression).toUtf8();
    return QByteArray::fromStdString(CPython::evaluate(code.constData(), sourceName));
}

QJsonDocument generator::evaluateJson(const QString &expression)
{
    return QJsonDocument::fromJson(evaluateJsonText(expression));
}

/// What came where a dict was expected, as a Python programmer calls it; empty when \a json is no
/// valid JSON at all.
static QString kindOf(const QByteArray &json)
{
    // A document of its own is an array or an object only.
    const QJsonArray wrapped = QJsonDocument::fromJson('[' + json + ']').array();
    switch (wrapped.isEmpty() ? QJsonValue::Undefined : wrapped.at(0).type()) {
    case QJsonValue::Null:
        return tr("None (is there a return?)");
    case QJsonValue::Bool:
        return tr("a bool");
    case QJsonValue::Double:
        return tr("a number");
    case QJsonValue::String:
        return tr("a text");
    case QJsonValue::Array:
        return tr("a list");
    default:
        return QString();
    }
}

/// The object that is the value of \a expression. Where another value came, which reads as an empty
/// one, a line on the interpreter's error stream says so; \a what names what was asked for.
static QVariantMap evaluateMap(const QString &expression, const QString &what)
{
    const QByteArray json = evaluateJsonText(expression);
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (document.isObject())
        return document.object().toVariantMap();
    if (json.isEmpty())
        return QVariantMap();
    QString problem = kindOf(json);
    if (problem.isEmpty()) {
        constexpr int shown = 30; // bytes before and after
        const int start = qMax(0, error.offset - shown);
        problem = tr("JSON that cannot be read (%1 at character %2, near: %3)")
                      .arg(error.errorString())
                      .arg(error.offset)
                      .arg(QString::fromUtf8(json.mid(start, error.offset - start + shown)));
    }
    CPython::printErrorLine(tr("%1 should be a dict, but is %2.").arg(what, problem).toStdString());
    return QVariantMap();
}

bool generator::importGenerator(const QString &path)
{
    const QFileInfo file(path);
    if (!file.exists())
        return false;
    const QByteArray moduleName = file.baseName().toUtf8();
    CPython::addSysPath(file.absolutePath().toUtf8().constData());
    if (!CPython::importOrReload(moduleName.constData()))
        return false;
    // Python knows modules by name.
    const QFileInfo loaded(QString::fromStdString(CPython::moduleFile(moduleName.constData())));
    if (loaded.isFile() && loaded.canonicalFilePath() != file.canonicalFilePath()) {
        CPython::printErrorLine(
            tr("%1 is not what runs, but %2: of two modules of one name, the one "
               "that was loaded first is used.")
                .arg(file.absoluteFilePath(), loaded.filePath())
                .toStdString());
    }
    return true;
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
        QStringLiteral("%1.Settings().parameter_list('%2')").arg(moduleName, partNumber),
        tr("What parameter_list of %1 returned").arg(moduleName));
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
        QStringLiteral("%1.Settings().parameter_group_list('%2')").arg(moduleName, partNumber),
        tr("What parameter_group_list of %1 returned").arg(moduleName));
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
                           .arg(moduleName, partNumber),
                       tr("What generate of %1 returned").arg(moduleName));
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
