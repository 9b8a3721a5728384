// SPDX-License-Identifier: MIT
#pragma once

#include <QJsonDocument>
#include <QMap>
#include <QVariant>

/// The contract with settings generator modules: Python files with a class Settings.
///
/// Every function below runs Python, and so may let events through: what the caller holds may have
/// changed when it returns. Python errors are printed to the interpreter's error stream and end in
/// an empty value. So does text that could not stand in a Python statement without becoming code: it
/// is refused with a ValueError there.
namespace generator {

/// Maps each part number supported by a generator file, or by the files "settings_*.py" of a folder,
/// to the path of its file. Of two files of a folder with the same part number the first in
/// case-insensitive name order wins.
[[nodiscard]] QMap<QString, QString> findPartNumbers(const QString &path);

/// Why a generator file and a part number can't be used, as sentences for people: text in them would
/// become code in a Python statement. Empty when they can.
[[nodiscard]] QString refusal(const QString &path, const QString &partNumber);

/// Imports the module at \a path, or reloads it from its source. False when there is no such file
/// or it raised.
bool importGenerator(const QString &path);

/// The value of a Python expression, by way of json.dumps; a null document on any error.
[[nodiscard]] QJsonDocument evaluateJson(const QString &expression);

[[nodiscard]] QVariantList queryPartNumbers(const QString &moduleName);
/// Parameter name to descriptor.
[[nodiscard]] QVariantMap queryParameterList(const QString &moduleName, const QString &partNumber);
/// Group name to descriptor; empty unless the class itself defines parameter_group_list.
[[nodiscard]] QVariantMap queryParameterGroupList(const QString &moduleName,
                                                  const QString &partNumber);
/// The generation result for a map from parameter name to {value}; empty when it failed.
[[nodiscard]] QVariantMap
generate(const QString &moduleName, const QString &partNumber, const QVariantMap &values);

} // namespace generator
