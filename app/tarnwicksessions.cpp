// SPDX-License-Identifier: MIT
//
// The main window's session and its modes.

#include "app/tarnwick.h"

#include "app/deferreddeletion.h"
#include "app/newsessiondlg.h"
#include "app/rememberedlocations.h"
#include "params/parameterspane.h"
#include "python/pythonmodule.h"
#include "session/generationresult.h"
#include "session/session.h"
#include "session/sessionwindow.h"
#include "tools/pythoneditor.h"
#include "ui_tarnwick.h"

#include <QDir>
#include <QFileInfo>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QSignalMapper>
#include <QTabBar>

bool Tarnwick::startSession(const QString &location)
{
    NewSessionDlg dialog(location);
    if (dialog.exec() == QDialog::Rejected)
        return false;
    openSession(dialog.moduleFile(), dialog.partNumber(), QVariant());
    return true;
}

void Tarnwick::on_actionNew_triggered()
{
    if (!PythonModule::isLoaded() || unsavedChangesCancelled())
        return;
    QStringList locations = rememberedLocations(generatorLocationsKey, librariesDirectory());
    NewSessionDlg dialog(locations.first(), this);
    if (dialog.exec() == QDialog::Rejected)
        return;
    rememberLocation(locations, dialog.location(), generatorLocationsKey);
    if (dialog.moduleFile().isEmpty())
        return;
    closeAllSessions();
    const int modifications = m_modifications;
    openSession(dialog.moduleFile(), dialog.partNumber(), QVariant());
    // The new mode counts as one.
    if (m_modifications <= modifications + 1) {
        m_modified = false;
        discardRescue();
    }
}

void Tarnwick::on_actionNew_Mode_triggered()
{
    if (m_session)
        addModeWindow(QVariant());
    else
        on_actionNew_triggered();
}

void Tarnwick::on_actionClone_Mode_triggered()
{
    if (!m_session) {
        on_actionNew_triggered();
        return;
    }
    const SessionWindow *const active = activeSessionWindow();
    addModeWindow(active ? QVariant(active->parametersPane()->values()) : QVariant());
}

void Tarnwick::openSession(const QString &modulePath,
                           const QString &partNumber,
                           const QVariant &values)
{
    if (!m_session) {
        ensurePython();
        if (!PythonModule::isLoaded())
            return;
        const int change = ++m_sessionChanges;
        const QString file = m_startFolder.absoluteFilePath(modulePath);
        const auto session = std::make_shared<Session>(modulePath, partNumber, m_startFolder);
        if (change != m_sessionChanges)
            return;
        m_session = session;
        m_editor->loadFile(file);
        setWindowTitle(tr("Tarnwick ") + m_session->partNumber());
    }
    addModeWindow(values);
}

void Tarnwick::addModeWindow(const QVariant &values)
{
    const std::shared_ptr<Session> session = m_session;
    if (!session)
        return;
    auto window = std::make_unique<SessionWindow>(session);
    if (values.type() == QVariant::Map)
        window->parametersPane()->setValues(values.toMap());
    if (session == m_session)
        window->regenerate();
    // A mode whose session was replaced while its generator printed does not join the new one.
    if (session == m_session)
        showModeWindow(window.release());
}

void Tarnwick::showModeWindow(SessionWindow *window)
{
    QMdiSubWindow *const subWindow = m_mdiArea->addSubWindow(
        window,
        Qt::CustomizeWindowHint | Qt::WindowMinimizeButtonHint | Qt::WindowMaximizeButtonHint);
    m_deferredDeletion->watch(subWindow);
    subWindow->installEventFilter(this);
    subWindow->setWindowState(Qt::WindowMaximized);
    updateModeTitle(subWindow);
    subWindow->show();
    connect(window, &QObject::destroyed, this, &Tarnwick::modeWindowDestroyed);
    connect(window, &SessionWindow::regenerated, this, &Tarnwick::modeRegenerated);
    connect(window, &SessionWindow::parameterChanged, this, &Tarnwick::modesChanged);
    updateModesMenu();
    modesChanged();
}

SessionWindow *Tarnwick::activeSessionWindow() const
{
    const QMdiSubWindow *current = m_mdiArea->activeSubWindow();
    // In a window that is not active the area takes another for the current one once a tab was moved.
    if (!current)
        current =
            m_mdiArea->subWindowList().value(m_mdiArea->findChild<QTabBar *>()->currentIndex());
    return current ? qobject_cast<SessionWindow *>(current->widget()) : nullptr;
}

QVector<SessionWindow *> Tarnwick::modeWindows() const
{
    QVector<SessionWindow *> windows;
    const QList<QMdiSubWindow *> subWindows = m_mdiArea->subWindowList();
    for (const QMdiSubWindow *const subWindow : subWindows) {
        if (auto *const window = qobject_cast<SessionWindow *>(subWindow->widget()))
            windows.append(window);
    }
    return windows;
}

void Tarnwick::closeAllSessions()
{
    leaveRescuedModes();
    ++m_sessionChanges;
    // Hidden, a mode commits what is being typed in it. Nobody wants that generated any more, and events
    // that the generator lets through would find the session half closed.
    for (const SessionWindow *const window : modeWindows())
        window->parametersPane()->blockSignals(true);
    const QList<QMdiSubWindow *> subWindows = m_mdiArea->subWindowList();
    // The area drops each at once and deletes it later. Removing them would take each out of the
    // window's chain of focus as well, which grows with the modes.
    for (QMdiSubWindow *const subWindow : subWindows)
        subWindow->close();
    m_session.reset();
}

/// Asks at most one question; its answer goes for the session and the editor.
bool Tarnwick::unsavedChangesCancelled()
{
    if (m_session && m_modified)
        return cancelsLossOf(tr("Unsaved changes in the session parameter list(s) will be lost. "
                                "Do you want to proceeed?"));
    if (m_editor->isModified())
        return cancelsLossOf(tr("Unsaved changes in the Python code will be lost. "
                                "Do you want to proceeed?"));
    return false;
}

bool Tarnwick::cancelsLossOf(const QString &question)
{
    return QMessageBox::warning(this,
                                tr("Tarnwick - Unsaved Changes"),
                                question,
                                QMessageBox::Ok | QMessageBox::Cancel)
        != QMessageBox::Ok;
}

void Tarnwick::updateModeTitle(QMdiSubWindow *subWindow)
{
    const auto *const window =
        subWindow ? qobject_cast<SessionWindow *>(subWindow->widget()) : nullptr;
    if (!window)
        return;
    const QVariantMap results = window->results();
    subWindow->setWindowTitle(results.contains(generationresult::name)
                                  ? results.value(generationresult::name).toString()
                                  : tr("Untitled Mode"));
}

void Tarnwick::updateModesMenu()
{
    const QList<QMdiSubWindow *> subWindows =
        m_session ? m_mdiArea->subWindowList() : QList<QMdiSubWindow *>();
    while (m_modeActions.size() < subWindows.size()) {
        auto *const action = new QAction(this);
        m_modeActions.append(action);
        m_ui->menuModes->addAction(action);
        connect(action, &QAction::triggered, m_modeMapper, qOverload<>(&QSignalMapper::map));
    }
    for (int i = 0; i < m_modeActions.size(); ++i) {
        QAction *const action = m_modeActions.at(i);
        action->setVisible(i < subWindows.size());
        if (i >= subWindows.size())
            continue;
        m_modeMapper->removeMappings(action);
        // The mapper forgets the entry but not that it waits for its end, once for each mapping.
        disconnect(action, &QObject::destroyed, m_modeMapper, nullptr);
        m_modeMapper->setMapping(action, subWindows.at(i));
        action->setText(subWindows.at(i)->windowTitle());
    }
}

void Tarnwick::markModified()
{
    m_modified = true;
    ++m_modifications;
}

void Tarnwick::modeWindowDestroyed()
{
    if (m_mdiArea->subWindowList().isEmpty()) {
        ++m_sessionChanges;
        m_session.reset();
        m_sessionFileName.clear();
    }
    updateModesMenu();
    markModified();
}

void Tarnwick::modeRegenerated(SessionWindow *sessionWin)
{
    const QList<QMdiSubWindow *> subWindows = m_mdiArea->subWindowList();
    for (QMdiSubWindow *const subWindow : subWindows) {
        if (subWindow->widget() == sessionWin) {
            updateModeTitle(subWindow);
            break;
        }
    }
    updateModesMenu();
}
