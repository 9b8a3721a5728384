// SPDX-License-Identifier: MIT
#pragma once

#include "app/recentfilelist.h"
#include "python/platform.h"

#include <QDir>
#include <QMainWindow>
#include <QThreadPool>
#include <QTimer>
#include <QVector>

#include <memory>

class DeferredDeletion;
class PythonConsole;
class PythonEditor;
class PythonModule;
class QDockWidget;
class QMdiArea;
class QMdiSubWindow;
class QSignalMapper;
class Session;
class SessionWindow;
struct SessionDescription;
namespace Ui {
class Tarnwick;
}

/// The program's window. It owns the interpreter, the open session and a tab per mode; each entry
/// of the menus is a slot here.
class Tarnwick : public QMainWindow
{
    Q_OBJECT

public:
    /// Starts the interpreter of \a platform, and warns when there is none.
    explicit Tarnwick(Platform &platform = Platform::native(), QWidget *parent = nullptr);
    ~Tarnwick() override;

    /// Lets the user pick a part number at \a location, a generator file or folder, and opens a
    /// session. False when the user cancelled.
    [[nodiscard]] bool startSession(const QString &location);

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private Q_SLOTS:
    void on_actionAbout_triggered();
    void on_actionUserGuide_triggered();
    void on_actionClone_Mode_triggered();
    void on_actionExit_triggered();
    void on_actionIni_File_triggered();
    void on_actionJson_triggered();
    void on_actionNew_triggered();
    void on_actionNew_Mode_triggered();
    void on_actionOpen_triggered();
    void on_actionPython_Console_triggered();
    void on_actionPython_Editor_triggered();
    void on_actionSave_triggered();
    void on_actionSave_As_triggered();
    void on_actionShared_Settings_triggered();

private:
    void buildModeArea();
    void buildRecentFilesMenu();
    void ensurePython();
    void closeOnInterruption();
    void warn(const QString &title, const QString &text);

    void buildConsoleDock();
    void buildEditorDock();
    void addPanelDock(QDockWidget *dock, QWidget *panel, const QSize &size, QAction *action);
    void routeError(const QString &errMessage);
    void showEditorTitle(bool m);
    void runEditedGenerator();

    void openSessionFile(const QString &fileName);
    [[nodiscard]] QString findGenerator(const QString &storedPath, const QString &moduleName);
    void openModes(const QString &modulePath,
                   const QString &partNumber,
                   const QVariantList &allParameters);
    [[nodiscard]] QStringList sessionLocations() const;
    void warnOfSessionFile(const QString &text);
    [[nodiscard]] bool canBeSaved() const;
    [[nodiscard]] SessionDescription sessionDescription() const;
    [[nodiscard]] QVariantList collectedResults() const;

    void prepareRescue();
    void modesChanged();
    void rescueSession();
    void leaveRescuedModes();
    void discardRescue();

    void openSession(const QString &modulePath, const QString &partNumber, const QVariant &values);
    void addModeWindow(const QVariant &values);
    void showModeWindow(SessionWindow *window);
    void closeAllSessions();
    [[nodiscard]] SessionWindow *activeSessionWindow() const;
    /// In the order in which they were created, unless the user moved tabs.
    [[nodiscard]] QVector<SessionWindow *> modeWindows() const;
    [[nodiscard]] bool unsavedChangesCancelled();
    [[nodiscard]] bool cancelsLossOf(const QString &question);
    void updateModeTitle(QMdiSubWindow *subWindow);
    void updateModesMenu();
    void markModified();
    void modeWindowDestroyed();
    void modeRegenerated(SessionWindow *sessionWin);

    // Destroyed before the child widgets: the interpreter goes before the panels that it prints to.
    Platform &m_platform;
    /// Where relative paths of generators lead; these may change the current folder.
    const QDir m_startFolder{QDir::currentPath()};
    const std::unique_ptr<Ui::Tarnwick> m_ui;
    QMdiArea *m_mdiArea = nullptr;
    /// The mode entries at the end of the Modes menu; those not needed are hidden.
    QVector<QAction *> m_modeActions;
    QSignalMapper *m_modeMapper = nullptr;
    DeferredDeletion *m_deferredDeletion = nullptr;
    // The console and its dock exist only with Python.
    QDockWidget *m_consoleDock = nullptr;
    PythonConsole *m_console = nullptr;
    QDockWidget *m_editorDock = nullptr;
    PythonEditor *m_editor = nullptr;
    std::unique_ptr<PythonModule> m_python;
    std::shared_ptr<Session> m_session;
    /// The session's file; empty while it was neither saved nor opened from one.
    QString m_sessionFileName;
    RecentFileList m_recentFiles;
    /// The session's file in the rescue folder; empty while it needs none.
    QString m_rescueFile;
    QTimer m_rescueTimer;
    /// Of one thread, so that copies are written one after another. Its end waits for the last.
    QThreadPool m_rescueWriter{this};
    /// The session's parameter lists differ from what was saved last.
    bool m_modified = false;
    /// Counts the changes, so that those which the user makes while a session is being opened are
    /// told from those that opening it makes.
    int m_modifications = 0;
    /// Session files that are being opened; more than one when the user opens another meanwhile.
    int m_openings = 0;
    /// Counts the sessions opened and closed, so that one whose generator is still being loaded when
    /// another takes its place is dropped.
    int m_sessionChanges = 0;
};
