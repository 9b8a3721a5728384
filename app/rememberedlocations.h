// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

/// The list stored under \a key, most recently chosen first, or the one entry \a fallback when there
/// is none. Never empty.
[[nodiscard]] QStringList rememberedLocations(const QString &key, const QString &fallback);

/// Puts \a item in front of \a list, drops its older copy and what goes beyond 15 entries, and
/// stores the list under \a key. An item that is in front already changes and stores nothing.
void rememberLocation(QStringList &list, const QString &item, const QString &key);

/// The folder in which generators are looked for first: "tarnwick_libraries" beside the program,
/// else in the current directory, else "./".
[[nodiscard]] QString librariesDirectory();
