// SPDX-License-Identifier: MIT
//
// The main window's session files.

#include "app/tarnwick.h"

#include "app/rememberedlocations.h"
#include "app/sessionfile.h"
#include "files/textfile.h"
#include "params/parameterspane.h"
#include "python/pythonmodule.h"
#include "session/generator.h"
#include "session/session.h"
#include "session/sessionwindow.h"
#include "ui_tarnwick.h"

#include <QApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMdiArea>
#include <QMdiSubWindow>

static const QString sessionLocationsKey = QStringLiteral("sessionLocations");

namespace {

/// Shows the wait cursor while it lives, paints \a area once at the end instead of once per mode, and
/// counts in \a openings.
class Waiting final
{
public:
    Waiting(QWidget *area, int *openings)
        : m_area(area)
        , m_openings(openings)
    {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        m_area->setUpdatesEnabled(false);
        ++*m_openings;
    }
    ~Waiting()
    {
        --*m_openings;
        m_area->setUpdatesEnabled(true);
        QApplication::restoreOverrideCursor();
    }
    Waiting(const Waiting &) = delete;
    Waiting &operator=(const Waiting &) = delete;

private:
    QWidget *const m_area;
    int *const m_openings;
};

} // namespace

void Tarnwick::buildRecentFilesMenu()
{
    m_ui->menuSession->insertMenu(m_ui->actionNew, m_recentFiles.menu(tr("Recent Session Files")));
    m_ui->menuSession->insertSeparator(m_ui->actionNew);
    connect(&m_recentFiles, &RecentFileList::fileSelected, this, &Tarnwick::openSessionFile);
}

QStringList Tarnwick::sessionLocations() const
{
    const QString partNumber = m_session ? m_session->partNumber() : QString();
    return rememberedLocations(sessionLocationsKey, settingsFile(partNumber, "_modes_def.txt"));
}

static QString sessionFileFilter()
{
    return Tarnwick::tr("Mode Parameters JSON data text file (*.txt);;All Files (*.*)");
}

void Tarnwick::warnOfSessionFile(const QString &text)
{
    warn(tr("Tarnwick - Session file"), text);
}

void Tarnwick::on_actionOpen_triggered()
{
    if (unsavedChangesCancelled())
        return;
    QStringList locations = sessionLocations();
    const QString file =
        QFileDialog::getOpenFileName(this,
                                     tr("Select a text file of saved mode parameters"),
                                     locations.first(),
                                     sessionFileFilter());
    if (file.isEmpty())
        return;
    rememberLocation(locations, file, sessionLocationsKey);
    openSessionFile(file);
}

void Tarnwick::openSessionFile(const QString &fileName)
{
    QByteArray text;
    if (!readTextFile(fileName, &text)) {
        warnOfSessionFile(tr("Couldn't read the session file.\n\n%1").arg(fileName));
        return;
    }
    m_sessionFileName = fileName;
    m_recentFiles.addFile(fileName);

    const SessionDescription description = readSessionFileText(text);
    const QString modulePath = findGenerator(description.modulePath, description.moduleName);
    if (modulePath.isEmpty())
        return;
    if (description.allParameters.isEmpty()) {
        warnOfSessionFile(tr("No parameters in the session file."));
        return;
    }
    const QString refusal =
        generator::refusal(m_startFolder.absoluteFilePath(modulePath), description.partNumber);
    if (!refusal.isEmpty()) {
        warnOfSessionFile(refusal);
        return;
    }
    openModes(modulePath, description.partNumber, description.allParameters);
}

/// The generator's path: as stored, or found by its name in the remembered folders, or in a folder
/// that the user points at. Empty when it is nowhere.
QString Tarnwick::findGenerator(const QString &storedPath, const QString &moduleName)
{
    if (!storedPath.isEmpty() && QFileInfo(m_startFolder, storedPath).isFile())
        return storedPath;
    const QString moduleFile = moduleName + QLatin1String(".py");
    QStringList locations = rememberedLocations(generatorLocationsKey, librariesDirectory());
    for (const QString &location : qAsConst(locations)) {
        const QString path = location + QLatin1Char('/') + moduleFile;
        if (QFileInfo(m_startFolder, path).isFile())
            return path;
    }
    warnOfSessionFile(tr("Couldn't find Python module\n\n%1").arg(storedPath));
    const QString folder =
        QFileDialog::getExistingDirectory(this,
                                          tr("Select a Folder with %1").arg(moduleFile),
                                          locations.first(),
                                          QFileDialog::ShowDirsOnly);
    if (folder.isEmpty())
        return QString();
    const QString path = folder + QLatin1Char('/') + moduleFile;
    rememberLocation(locations, path, generatorLocationsKey);
    return QFileInfo(path).isFile() ? path : QString();
}

/// Replaces the open session by one with a mode for each element of \a allParameters.
void Tarnwick::openModes(const QString &modulePath,
                         const QString &partNumber,
                         const QVariantList &allParameters)
{
    // While the new modes are being opened nothing is rescued.
    leaveRescuedModes();
    const Waiting waiting(m_mdiArea, &m_openings);
    closeAllSessions();
    // Opening the session counts as one change; any other means that a generator's output let an
    // event through which replaced the session or closed it.
    const int change = m_sessionChanges + 1;
    const int modifications = m_modifications;
    for (const QVariant &parameters : allParameters) {
        openSession(modulePath, partNumber, parameters);
        if (m_sessionChanges != change || PythonModule::stopRequested())
            return;
    }
    // Each mode counts as one.
    if (m_modifications <= modifications + allParameters.size()) {
        m_modified = false;
        discardRescue();
    }
}

/// False while the modes are not all there: none before the first is built and after the last was
/// closed, some while a session file is being opened. What is there would replace what the file has.
bool Tarnwick::canBeSaved() const
{
    return m_session && m_openings == 0 && !m_mdiArea->subWindowList().isEmpty();
}

SessionDescription Tarnwick::sessionDescription() const
{
    SessionDescription description;
    description.modulePath = m_session->modulePath();
    description.moduleName = m_session->moduleName();
    description.partNumber = m_session->partNumber();
    for (const SessionWindow *const window : modeWindows())
        description.allParameters.append(window->parametersPane()->values());
    return description;
}

void Tarnwick::on_actionSave_triggered()
{
    if (m_sessionFileName.isEmpty()) {
        on_actionSave_As_triggered();
        return;
    }
    if (!canBeSaved())
        return;
    if (writeTextFile(m_sessionFileName, sessionFileText(sessionDescription()))) {
        discardRescue();
    } else {
        // From here on the session counts as saved, and nobody asks before it goes.
        rescueSession();
        warnOfSessionFile(tr("Couldn't write the session file.\n\n%1").arg(m_sessionFileName));
    }
    m_recentFiles.addFile(m_sessionFileName);
    m_modified = false;
}

void Tarnwick::on_actionSave_As_triggered()
{
    if (!canBeSaved())
        return;
    QStringList locations = sessionLocations();
    const QString file =
        QFileDialog::getSaveFileName(this,
                                     tr("Select a text file to save all mode parameters"),
                                     locations.first(),
                                     sessionFileFilter());
    if (file.isEmpty())
        return;
    m_sessionFileName = file;
    m_recentFiles.addFile(file);
    rememberLocation(locations, file, sessionLocationsKey);
    on_actionSave_triggered();
}
