// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QVariant>

/// The indented JSON text of a list or a map, byte for byte what QJsonDocument prints for it.
[[nodiscard]] QByteArray indentedJson(const QVariant &value);

/// The results as one JSON array.
[[nodiscard]] inline QByteArray resultsJson(const QVariantList &results)
{
    return indentedJson(results);
}
