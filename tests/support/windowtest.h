// SPDX-License-Identifier: MIT
#pragma once

#include "app/identity.h"
#include "app/sessionfile.h"
#include "app/tarnwick.h"
#include "files/rescuefolder.h"
#include "session/sessionwindow.h"
#include "support/generatorfolder.h"
#include "support/modaldriver.h"
#include "support/recordingconsole.h"
#include "support/table.h"
#include "support/testmain.h"
#include "tools/pythonconsole.h"

#include <QAction>
#include <QCheckBox>
#include <QDockWidget>
#include <QFileDialog>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTabBar>
#include <QThreadPool>
#include <QToolButton>

#include <csignal>

/// What the tests of the main window share: the window, a folder with a generator, and a user who
/// answers its dialogs. The interpreter lives once per process, and so does the window that owns it.
class WindowTest : public QObject
{
protected:
    /// Before each test: nothing is remembered, no session is open.
    void setUp(const QByteArray &generatorBody = "pass")
    {
        applyIdentity();
        QSettings().clear();
        QDir(RescueFolder().path()).removeRecursively();
        m_folder = std::make_unique<GeneratorFolder>();
        m_generator = m_folder->write("settings_test.py", GeneratorFolder::source(generatorBody));
        QSettings().setValue("pyLocations", QStringList{m_folder->path()});
        m_driver = std::make_unique<ModalDriver>();
        if (!m_window)
            m_window = std::make_unique<Tarnwick>();
        RecordingConsole::install({PythonConsole::writeText, PythonConsole::readLine});
        m_window->show();
    }
    void tearDown()
    {
        QCOMPARE(m_driver->unexpected(), 0);
        QCOMPARE(m_driver->pending(), 0);
        if (!m_window)
            return;
        // The console reports errors a moment after the last one.
        if (!RecordingConsole::text(1).isEmpty())
            QTest::qWait(150);
        for (QDockWidget *const dock : m_window->findChildren<QDockWidget *>())
            dock->hide();
        child<QPlainTextEdit>("edit")->document()->setModified(false);
        area()->closeAllSubWindows();
        QVERIFY(QTest::qWaitFor([this] { return sessionWindows() == 0; }));
        m_window->findChild<QThreadPool *>()->waitForDone();
    }

    /// Does as the user does, step by step: "pick P1; New; gain 0 9; Clone_Mode". Pick, choose, accept,
    /// cancel, warn and ask are about the next dialog; what is no verb is an entry of the menus. Files
    /// are those in the test's folder, which @F stands for.
    void act(QString steps)
    {
        for (const QString &step :
             steps.replace("@F", m_folder->path()).split("; ", Qt::SkipEmptyParts)) {
            const QString rest = step.section(' ', 1);
            const QString first = rest.section(' ', 0, 0);
            const QString second = rest.section(' ', 1);
            const int index = first.toInt();
            const QMap<QString, std::function<void()>> verbs{
                {"pick", [&] { m_driver->expect(picking(rest)); }},
                {"choose", [&] { choose(m_folder->path(rest)); }},
                {"accept", [&] { m_driver->expect([](QDialog *dialog) { dialog->accept(); }); }},
                {"cancel", [&] { m_driver->expect([](QDialog *dialog) { dialog->reject(); }); }},
                {"warn", [&] { expectBox("Tarnwick - Session file", rest); }},
                {"ask", [&] { expectBox("Tarnwick - Unsaved Changes", m_question.arg(rest)); }},
                {"proceed",
                 [&] {
                     m_driver->expect([](QDialog *box) {
                         qobject_cast<QMessageBox *>(box)->button(QMessageBox::Ok)->click();
                     });
                 }},
                {"rescued", [&] { QTRY_COMPARE(copies(), rest); }},
                {"lock",
                 [&] { QVERIFY(QFile::setPermissions(m_folder->path(rest), QFile::ReadOwner)); }},
                {"recent", [&] { recentFile()->trigger(); }},
                {"file", [&] { m_folder->write(first, second.toUtf8()); }},
                {"link",
                 [&] {
                     QVERIFY(QFile::remove(m_folder->path(first))
                             && QFile::link(second, m_folder->path(first)));
                 }},
                {"generator",
                 [&] {
                     m_folder->write("settings_test.py", GeneratorFolder::source(rest.toUtf8()));
                 }},
                {"session", [&] { sessionFile(second.toUtf8(), first); }},
                {"locations",
                 [&] {
                     QSettings().setValue("pyLocations", QStringList{"/no", rest});
                 }},
                {"start", [&] { std::ignore = m_window->startSession(m_folder->path(rest)); }},
                {"gain", [&] { gain(index)->setValue(second.toInt()); }},
                {"click", [&] { click(mode(index)->findChild<QCheckBox *>(second)); }},
                {"type", [&] { type(gain(index), second); }},
                {"up", [&] { index < modeCount() ? gain(index)->stepUp() : void(); }},
                {"close", [&] { index < modeCount() ? closeTab(index) : void(); }},
                {"press", [&] { child<QToolButton>(qPrintable(rest))->click(); }},
                {"enter", [&] { enter(rest); }},
                {"mode", [&] { child<QMenu>("menuModes")->actions().at(3 + index)->trigger(); }},
                {"edit", [&] { child<QPlainTextEdit>("edit")->insertPlainText(rest); }},
                {"hide", [&] { m_window->hide(); }},
                {"show", [&] { m_window->show(); }},
                {"interrupt",
                 [&] {
                     std::raise(SIGINT);
                     QTRY_COMPARE(m_driver->pending(), 0);
                 }},
                {"settle", [&] { QTest::qWait(1); }}};
            const auto verb = verbs.value(step.section(' ', 0, 0));
            verb ? verb() : trigger(qPrintable("action" + step));
        }
    }
    /// Plays the steps of the running row and compares the tabs, the current one marked with a star,
    /// their entries in the menu, the title, and what was printed.
    void playRow()
    {
        QFETCH(const QString, steps);
        act(steps);
        QVERIFY(m_window->isVisible());
        QTRY_COMPARE(sessionWindows(), modeCount());
        QStringList shown = titles().split(", ");
        QStringList entries;
        struct Connected : QObject
        {
            using QObject::receivers;
        };
        for (const QAction *const action : child<QMenu>("menuModes")->actions().mid(3)) {
            // However often it was mapped.
            QCOMPARE((action->*(&Connected::receivers))(SIGNAL(destroyed())), 1);
            if (action->isVisible())
                entries.append(action->text());
        }
        QCOMPARE(entries, modeCount() > 0 ? shown : QStringList());
        if (const auto *const current = area()->currentSubWindow()) {
            QVERIFY(current->isMaximized());
            QVERIFY(!(current->windowFlags() & Qt::WindowSystemMenuHint));
            shown[area()->subWindowList().indexOf(area()->currentSubWindow())].prepend('*');
        }
        QTEST(shown.join(", "), "titles");
        QFETCH(const QString, window);
        if (!window.isEmpty())
            QCOMPARE(m_window->windowTitle(), window);
        QVERIFY(!QApplication::overrideCursor());
        QCOMPARE(RecordingConsole::text(0), QString());
    }

    template <typename Widget> Widget *child(const char *name) const
    {
        return m_window->findChild<Widget *>(name);
    }
    void trigger(const char *action) { child<QAction>(action)->trigger(); }
    QMdiArea *area() const { return m_window->findChild<QMdiArea *>(); }
    /// Those on their way out included.
    int sessionWindows() const { return m_window->findChildren<SessionWindow *>().size(); }
    int modeCount() const { return area()->subWindowList().size(); }
    SessionWindow *mode(int index = 0) const
    {
        return qobject_cast<SessionWindow *>(area()->subWindowList().at(index)->widget());
    }
    QSpinBox *gain(int index = 0) const { return mode(index)->findChild<QSpinBox *>("gain"); }
    static QString pane(const SessionWindow *window, const char *name)
    {
        return window->findChild<QPlainTextEdit *>(name)->toPlainText();
    }
    void closeTab(int index) { Q_EMIT area()->findChild<QTabBar *>()->tabCloseRequested(index); }
    /// The titles of the tabs, joined by ", ".
    QString titles() const
    {
        QStringList titles;
        for (const QMdiSubWindow *const subWindow : area()->subWindowList())
            titles.append(subWindow->windowTitle());
        return titles.join(", ");
    }

    static ModalDriver::Answer picking(const QString &part)
    {
        return [part](QDialog *dialog) {
            auto *const parts = dialog->findChild<QListWidget *>("parts");
            if (!parts)
                dialog->reject();
            QVERIFY2(parts, "this is no list of parts");
            parts->setCurrentItem(parts->findItems(part, Qt::MatchExactly).value(0));
            dialog->accept();
        };
    }
    /// The next dialog is such a message; it is cancelled where it can be.
    void expectBox(const QString &title, const QString &text)
    {
        m_driver->expect([=](QDialog *dialog) {
            const QString shown =
                dialog->windowTitle() + ": " + dialog->property("text").toString();
            dialog->reject();
            QCOMPARE(shown, title + ": " + text);
        });
    }
    /// Writes a session file with the JSON of its modes' values.
    QString sessionFile(const QByteArray &modes, const QString &part = "P1")
    {
        return m_folder->write("session.txt",
                               "{\"all_parameters\": " + modes + ", \"module_local_path\": \""
                                   + m_generator.toUtf8() + "\", \"module_name\": "
                                   + "\"settings_test\", \"part_number\": \"" + part.toUtf8()
                                   + "\"}");
    }
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }

    /// What is in the rescue folder, the oldest first: the names without the time, with the gains of
    /// a session's modes or the first line of another file.
    QString copies() const
    {
        m_window->findChild<QThreadPool *>()->waitForDone();
        QStringList copies;
        const QDir folder(RescueFolder().path());
        for (const QFileInfo &copy :
             folder.entryInfoList(QDir::Files, QDir::Time | QDir::Reversed)) {
            const QByteArray content = read(copy.filePath());
            copies.append(copy.fileName().section(' ', -1));
            for (const QVariant &mode : readSessionFileText(content).allParameters) {
                const QVariantMap gain = mode.toMap().value("gain").toMap();
                copies.last() += ' ' + gain.value("value").toString();
            }
            if (!copies.last().contains(' '))
                copies.last() += ' ' + content.split('\n').first();
        }
        return copies.join(", ");
    }
    void choose(const QString &file)
    {
        m_driver->expect([file](QDialog *chooser) { ModalDriver::choose(chooser, file); });
    }
    QAction *recentFile() const
    {
        return child<QMenu>("menuSession")->actions().first()->menu()->actions().first();
    }
    /// Runs a statement in the console.
    void enter(const QString &statement)
    {
        child<QLineEdit>("prompt")->setText(statement);
        QTest::keyClick(child<QLineEdit>("prompt"), Qt::Key_Return);
    }
    static void type(QSpinBox *spin, const QString &text)
    {
        spin->setFocus();
        spin->selectAll();
        QTest::keyClicks(spin, text);
    }
    static void click(QWidget *widget) { QTest::mouseClick(widget, Qt::LeftButton); }

    const QString m_question = "Unsaved changes in the %1 will be lost. Do you want to proceeed?";
    std::unique_ptr<GeneratorFolder> m_folder;
    QString m_generator;
    std::unique_ptr<Tarnwick> m_window;
    std::unique_ptr<ModalDriver> m_driver;
};
