// SPDX-License-Identifier: MIT
#include "app/tarnwick.h"

#include "app/deferreddeletion.h"
#include "app/modearea.h"
#include "python/pythonmodule.h"
#include "session/sessionwindow.h"
#include "tools/pythonconsole.h"
#include "ui_tarnwick.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QCloseEvent>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QSettings>
#include <QSignalMapper>
#include <QSocketNotifier>
#include <QTabBar>

static const QString geometryKey = QStringLiteral("windowGeometry");

Tarnwick::Tarnwick(Platform &platform, QWidget *parent)
    : QMainWindow(parent)
    , m_platform(platform)
    , m_ui(std::make_unique<Ui::Tarnwick>())
    , m_recentFiles(this, QStringLiteral("recentSessionList"))
{
    m_ui->setupUi(this);
    // Without one, or with that of another screen, the size stays.
    restoreGeometry(QSettings().value(geometryKey).toByteArray());
    buildRecentFilesMenu();
    m_ui->menuCamera->setEnabled(false);
    buildModeArea();
    closeOnInterruption();
    prepareRescue();
    ensurePython();
    if (PythonModule::isLoaded())
        buildConsoleDock();
    buildEditorDock();
    connect(m_modeMapper, &QSignalMapper::mappedWidget, this, [this](QWidget *subWindow) {
        m_mdiArea->setActiveSubWindow(qobject_cast<QMdiSubWindow *>(subWindow));
    });
}

Tarnwick::~Tarnwick()
{
    closeAllSessions();
    // The interpreter's end would wait for a thread that waits for an answer.
    if (m_console)
        m_console->endInput();
    // The mode windows are children from here on, and must not report to half a main window.
    for (SessionWindow *const window : findChildren<SessionWindow *>())
        window->disconnect(this);
}

void Tarnwick::buildModeArea()
{
    m_mdiArea = new ModeArea(this);
    setCentralWidget(m_mdiArea);
    connect(
        m_mdiArea->findChild<QTabBar *>(), &QTabBar::tabMoved, this, &Tarnwick::updateModesMenu);
    m_modeMapper = new QSignalMapper(this);
    m_deferredDeletion = new DeferredDeletion(this);
}

void Tarnwick::ensurePython()
{
    if (m_python)
        return;
    m_python = std::make_unique<PythonModule>(m_platform);
    m_python->initialize(QCoreApplication::applicationName().toStdWString());
    if (!PythonModule::isLoaded())
        warn(tr("Tarnwick Requires Python!"),
             tr("Tarnwick requires Python.\n"
                "Please exit Tarnwick and install Python per Pallowin Quick Start Guide."));
}

/// While no Python code runs; that which does is interrupted instead.
void Tarnwick::closeOnInterruption()
{
    m_platform.catchInterrupts(nullptr);
    if (m_platform.interruptDescriptor() < 0)
        return;
    auto *const notifier =
        new QSocketNotifier(m_platform.interruptDescriptor(), QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        while (m_platform.takeInterrupt()) { }
        // A question that is open already is cancelled.
        QWidget *const dialog = QApplication::activeModalWidget();
        dialog ? dialog->close() : close();
    });
}

void Tarnwick::warn(const QString &title, const QString &text)
{
    QMessageBox box(QMessageBox::Warning, title, text, QMessageBox::Ok, this);
    // Paths may look like markup.
    box.setTextFormat(Qt::PlainText);
    box.exec();
}

void Tarnwick::closeEvent(QCloseEvent *event)
{
    // What is being typed counts: hiding the window would commit it when nobody is asked any more.
    if (auto *const box = qobject_cast<QAbstractSpinBox *>(focusWidget()))
        box->interpretText();
    if (unsavedChangesCancelled()) {
        event->ignore();
        return;
    }
    event->accept();
    if (m_rescueTimer.isActive())
        rescueSession();
    QSettings().setValue(geometryKey, saveGeometry());
    // Nobody could see or end a script that prints on behind a closed window.
    if (!PythonModule::isRunning())
        return;
    PythonModule::requestStop();
    if (m_console)
        m_console->endInput();
}

void Tarnwick::on_actionExit_triggered()
{
    close();
}
