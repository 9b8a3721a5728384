// SPDX-License-Identifier: MIT
#include "app/sessionfile.h"

#include "session/indentedjson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QVariantMap>

static const QLatin1String modulePathKey("module_local_path");
static const QLatin1String moduleNameKey("module_name");
static const QLatin1String partNumberKey("part_number");
static const QLatin1String allParametersKey("all_parameters");

namespace {

/// Converts JSON into variants as the toolkit does, except that equal names share one text: a file
/// of many modes has the same few names thousands of times, and making those texts would take longer
/// than parsing the file.
class VariantReader
{
public:
    [[nodiscard]] QVariant read(const QJsonValue &value)
    {
        if (value.isObject())
            return readObject(value.toObject());
        if (value.isArray())
            return readArray(value.toArray());
        return value.toVariant();
    }

    [[nodiscard]] QVariantList readArray(const QJsonArray &array)
    {
        QVariantList list;
        list.reserve(array.size());
        for (const QJsonValue &element : array)
            list.append(read(element));
        return list;
    }

private:
    [[nodiscard]] QVariantMap readObject(const QJsonObject &object)
    {
        QVariantMap map;
        for (auto member = object.begin(); member != object.end(); ++member)
            map.insert(map.cend(), *m_names.insert(member.key()), read(member.value()));
        return map;
    }

    QSet<QString> m_names;
};

} // namespace

QByteArray sessionFileText(const SessionDescription &description)
{
    return indentedJson(QVariantMap{
        {allParametersKey, description.allParameters},
        {modulePathKey, description.modulePath},
        {moduleNameKey, description.moduleName},
        {partNumberKey, description.partNumber},
        // Keywords of the revision control systems that such files were once kept in.
        {QStringLiteral("date"), QStringLiteral("$Date: $")},
        {QStringLiteral("revision"), QStringLiteral("$Revision: $")},
    });
}

SessionDescription readSessionFileText(const QByteArray &text)
{
    const QJsonObject object = QJsonDocument::fromJson(text).object();
    // A variant turns numbers into text, which a JSON value does not.
    const auto textOf = [&object](QLatin1String key) {
        return object.value(key).toVariant().toString();
    };
    return {textOf(modulePathKey),
            textOf(moduleNameKey),
            textOf(partNumberKey),
            VariantReader().readArray(object.value(allParametersKey).toArray())};
}
