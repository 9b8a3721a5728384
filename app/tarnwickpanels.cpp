// SPDX-License-Identifier: MIT
//
// The main window's console and code editor.

#include "app/tarnwick.h"

#include "python/pythonmodule.h"
#include "session/errorspane.h"
#include "session/session.h"
#include "session/sessionwindow.h"
#include "tools/pythonconsole.h"
#include "tools/pythoneditor.h"
#include "ui_tarnwick.h"

#include <QApplication>
#include <QDockWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPointer>

void Tarnwick::buildConsoleDock()
{
    m_console = new PythonConsole(m_python.get());
    m_consoleDock = new QDockWidget(m_console->windowTitle(), this);
    m_consoleDock->setObjectName(QStringLiteral("dockPythonConsole"));
    m_consoleDock->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea
                                   | Qt::BottomDockWidgetArea);
    addPanelDock(m_consoleDock, m_console, m_console->preferredSize(), m_ui->actionPython_Console);
    connect(m_console, &PythonConsole::errorOccurred, this, &Tarnwick::routeError);
}

void Tarnwick::buildEditorDock()
{
    m_editor = new PythonEditor;
    m_editorDock = new QDockWidget(tr("Python Editor"), this);
    m_editorDock->setObjectName(QStringLiteral("dockPythonEditor"));
    m_editorDock->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
    addPanelDock(m_editorDock, m_editor, m_editor->preferredSize(), m_ui->actionPython_Editor);
    connect(m_editor, &PythonEditor::modificationChanged, this, &Tarnwick::showEditorTitle);
    connect(m_editor, &PythonEditor::runClicked, this, &Tarnwick::runEditedGenerator);
}

/// Hidden and floating at first; \a action's check mark follows its visibility.
void Tarnwick::addPanelDock(QDockWidget *dock, QWidget *panel, const QSize &size, QAction *action)
{
    dock->setWidget(panel);
    dock->hide();
    dock->setFloating(true);
    addDockWidget(Qt::RightDockWidgetArea, dock);
    dock->resize(size);
    connect(dock, &QDockWidget::visibilityChanged, action, &QAction::setChecked);
}

void Tarnwick::on_actionPython_Console_triggered()
{
    if (m_consoleDock)
        m_consoleDock->setVisible(!m_consoleDock->isVisible());
}

void Tarnwick::on_actionPython_Editor_triggered()
{
    m_editorDock->setVisible(!m_editorDock->isVisible());
}

/// Shows a Python error where the user looks: the console has it already.
void Tarnwick::routeError(const QString &errMessage)
{
    if (m_console->isVisible())
        return;
    if (const SessionWindow *const active = activeSessionWindow())
        active->errorsPane()->setLines({errMessage});
    else
        m_consoleDock->show();
}

void Tarnwick::showEditorTitle(bool m)
{
    m_editorDock->setWindowTitle(m ? tr("Python Editor *") : tr("Python Editor"));
}

/// Reads the generator as it was just saved and generates every mode anew.
void Tarnwick::runEditedGenerator()
{
    // What the generator prints lets events through, in which modes and the session may go.
    const std::shared_ptr<Session> session = m_session;
    if (!session)
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    session->load();
    QVector<QPointer<SessionWindow>> windows;
    if (session == m_session) {
        for (SessionWindow *const window : modeWindows())
            windows.append(window);
    }
    for (const QPointer<SessionWindow> &window : qAsConst(windows)) {
        if (window && session == m_session && !PythonModule::stopRequested())
            window->reload();
    }
    const QList<QMdiSubWindow *> subWindows = m_mdiArea->subWindowList();
    for (QMdiSubWindow *const subWindow : subWindows)
        updateModeTitle(subWindow);
    updateModesMenu();
    QApplication::restoreOverrideCursor();
}
