// SPDX-License-Identifier: MIT
#pragma once

#include "app/identity.h"
#include "app/tarnwick.h"
#include "params/parameterspane.h"
#include "session/sessionwindow.h"
#include "support/consoledouble.h"
#include "support/generatorfolder.h"
#include "support/modaldriver.h"
#include "support/table.h"
#include "support/testmain.h"

#include <QAction>
#include <QCheckBox>
#include <QDockWidget>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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
        m_folder = std::make_unique<GeneratorFolder>();
        m_generator = m_folder->write("settings_test.py", GeneratorFolder::source(generatorBody));
        QSettings().setValue("pyLocations", QStringList{m_folder->path()});
        m_driver = std::make_unique<ModalDriver>();
        if (!m_window)
            m_window = std::make_unique<Tarnwick>();
        ConsoleDouble::install();
        m_window->show();
    }
    void tearDown()
    {
        QCOMPARE(m_driver->unexpected(), 0);
        QCOMPARE(m_driver->pending(), 0);
        if (!m_window)
            return;
        // The console reports errors a moment after the last one.
        if (!ConsoleDouble::errors.isEmpty())
            QTest::qWait(150);
        for (QDockWidget *const dock : m_window->findChildren<QDockWidget *>())
            dock->hide();
        area()->closeAllSubWindows();
        QVERIFY(QTest::qWaitFor([this] { return sessionWindows() == 0; }));
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
            parts->setCurrentItem(parts->findItems(part, Qt::MatchExactly).value(0));
            dialog->accept();
        };
    }
    /// Opens a session, discarding changes where that is asked about.
    void openSession(const QString &part = "P1")
    {
        m_driver->expect([this, part](QDialog *dialog) {
            auto *const box = qobject_cast<QMessageBox *>(dialog);
            if (!box)
                return picking(part)(dialog);
            m_driver->expect(picking(part));
            box->button(QMessageBox::Ok)->click();
        });
        trigger("actionNew");
    }
    void choose(const QString &file)
    {
        m_driver->expect([file](QDialog *chooser) { ModalDriver::choose(chooser, file); });
    }
    void openFile(const QString &file)
    {
        choose(file);
        trigger("actionOpen");
    }
    void expectBox(const QString &title, const QString &text, QMessageBox::StandardButton answer)
    {
        m_driver->expect([=](QDialog *dialog) {
            auto *const box = qobject_cast<QMessageBox *>(dialog);
            QVERIFY(box);
            const QString shownTitle = box->windowTitle();
            const QString shownText = box->text();
            box->button(answer)->click();
            QCOMPARE(shownTitle, title);
            QCOMPARE(shownText, text);
        });
    }
    void expectWarning(const QString &title, const QString &text)
    {
        expectBox(title, text, QMessageBox::Ok);
    }
    /// Writes a session file with the JSON of its modes' values.
    QString sessionFile(const QByteArray &modes, const QString &generator, const QString &part)
    {
        const QJsonObject object{{"all_parameters", QJsonDocument::fromJson(modes).array()},
                                 {"module_local_path", generator},
                                 {"module_name", QFileInfo(generator).baseName()},
                                 {"part_number", part}};
        return m_folder->write("session.txt", QJsonDocument(object).toJson());
    }
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }

    std::unique_ptr<GeneratorFolder> m_folder;
    QString m_generator;
    std::unique_ptr<Tarnwick> m_window;
    std::unique_ptr<ModalDriver> m_driver;
};
