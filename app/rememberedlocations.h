// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

/// Where generators were chosen or found: files and folders.
inline const QString generatorLocationsKey = QStringLiteral("pyLocations");

/// The list stored under \a key, most recently chosen first, or the one entry \a fallback when there
/// is none. Never empty.
[[nodiscard]] QStringList rememberedLocations(const QString &key, const QString &fallback);

/// Puts \a item in front of \a list, drops its older copy and what goes beyond 15 entries, and
/// stores the list under \a key. An item that is in front already changes and stores nothing.
void rememberLocation(QStringList &list, const QString &item, const QString &key);

/// The file that is suggested for a part number, such as "./settings_files/AB12_modes.ini".
[[nodiscard]] QString settingsFile(const QString &partNumber, const char *suffix);

/// The folder in which generators are looked for first: "tarnwick_libraries" beside the program,
/// else in the current directory, else "./".
[[nodiscard]] QString librariesDirectory();
