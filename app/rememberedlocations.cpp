// SPDX-License-Identifier: MIT
#include "app/rememberedlocations.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>

QStringList rememberedLocations(const QString &key, const QString &fallback)
{
    const QStringList stored = QSettings().value(key).toStringList();
    return stored.isEmpty() ? QStringList{fallback} : stored;
}

void rememberLocation(QStringList &list, const QString &item, const QString &key)
{
    constexpr int mostLocations = 15;
    if (!list.isEmpty() && list.first() == item)
        return;
    list.removeOne(item);
    list.prepend(item);
    while (list.size() > mostLocations)
        list.removeLast();
    QSettings().setValue(key, list);
}

QString settingsFile(const QString &partNumber, const char *suffix)
{
    return QLatin1String("./settings_files/") + partNumber + QLatin1String(suffix);
}

QString librariesDirectory()
{
    const QString beside =
        QCoreApplication::applicationDirPath() + QLatin1String("/tarnwick_libraries");
    if (QDir(beside).exists())
        return beside;
    const QString current = QStringLiteral("./tarnwick_libraries");
    return QDir(current).exists() ? current : QStringLiteral("./");
}
