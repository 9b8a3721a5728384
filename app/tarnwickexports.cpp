// SPDX-License-Identifier: MIT
//
// The main window's exports.

#include "app/tarnwick.h"

#include "app/rememberedlocations.h"
#include "files/textfile.h"
#include "session/indentedjson.h"
#include "session/modeswriter.h"
#include "session/session.h"
#include "session/sessionwindow.h"

#include <QFileDialog>
#include <QFileInfo>

/// Remembers the folder of a chosen file.
static void rememberFolder(QStringList &locations, const QString &file, const QString &key)
{
    rememberLocation(locations, QFileInfo(file).absolutePath(), key);
}

/// The INI file that belongs to a Shared Settings file.
static QString companionFile(const QString &file)
{
    const QLatin1String suffix(".py");
    const QString base =
        file.endsWith(suffix, Qt::CaseInsensitive) ? file.chopped(suffix.size()) : file;
    return base + QLatin1String(".ini");
}

QVariantList Tarnwick::collectedResults() const
{
    QVariantList results;
    for (const SessionWindow *const window : modeWindows())
        results.append(window->results());
    return results;
}

void Tarnwick::on_actionIni_File_triggered()
{
    if (!canBeSaved())
        return;
    const QString key = QStringLiteral("iniLocations");
    QStringList locations =
        rememberedLocations(key, settingsFile(m_session->partNumber(), "_modes.ini"));
    const QString file =
        QFileDialog::getSaveFileName(this,
                                     tr("Select a Sensor INI file"),
                                     locations.first(),
                                     tr("Initialization file (*.ini);;All Files (*.*)"));
    if (file.isEmpty())
        return;
    rememberLocation(locations, file, key);
    if (!writeTextFile(file, ModesWriter(collectedResults()).iniText()))
        warn(tr("Tarnwick - INI file"), tr("Couldn't write the INI file.\n\n%1").arg(file));
}

void Tarnwick::on_actionJson_triggered()
{
    if (!canBeSaved())
        return;
    const QString key = QStringLiteral("jsonLocations");
    QStringList locations =
        rememberedLocations(key, settingsFile(m_session->partNumber(), "_results.txt"));
    const QString file =
        QFileDialog::getSaveFileName(this,
                                     tr("Select a JSON data text file"),
                                     locations.first(),
                                     tr("Sensor Settings JSON data text file (*.txt);;"
                                        "All Files (*.*)"));
    if (file.isEmpty())
        return;
    rememberFolder(locations, file, key);
    if (!writeTextFile(file, resultsJson(collectedResults())))
        warn(tr("Tarnwick - JSON file"), tr("Couldn't write the JSON file.\n\n%1").arg(file));
}

void Tarnwick::on_actionShared_Settings_triggered()
{
    if (!canBeSaved())
        return;
    const QString key = QStringLiteral("shsLocations");
    QStringList locations = rememberedLocations(key, librariesDirectory());
    const QString suggestion = locations.first() + QLatin1Char('/') + m_session->partNumber()
        + QLatin1String("_initializer.py");
    const QString file = QFileDialog::getSaveFileName(this,
                                                      tr("Select a Shared Settings file"),
                                                      suggestion,
                                                      tr("Python file (*.py);;All Files (*.*)"));
    if (file.isEmpty())
        return;
    rememberFolder(locations, file, key);
    const ModesWriter writer(collectedResults());
    if (!writeTextFile(file, writer.initializerPython()))
        warn(tr("Tarnwick - Shared Settings Python file"),
             tr("Couldn't write the Shared Settings Python file.\n\n%1").arg(file));
    const QString companion = companionFile(file);
    if (!writeTextFile(companion, writer.initializerIni()))
        warn(tr("Tarnwick - Shared Settings INI file"),
             tr("Couldn't write the Shared Settings INI file.\n\n%1").arg(companion));
}
