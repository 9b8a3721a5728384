// SPDX-License-Identifier: MIT
#include "app/identity.h"
#include "app/newsessiondlg.h"
#include "app/tarnwick.h"
#include "params/parameterspane.h"
#include "session/sessionwindow.h"
#include "support/generatorfolder.h"
#include "support/modaldriver.h"
#include "support/testmain.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QSpinBox>
#include <QTabBar>
#include <QtTest>

class tst_MainWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void menus();
    void everyActionSlotIsMatched();
    void newSession();
    void newSessionCancelledOrWithoutPart();
    void newSessionDialog();
    void startSessionFromTheCommandLine();
    void modesAndTheirMenu();
    void closingTheLastTab();
    void cloneCopiesTickedParameters();
    void firstModeIsCurrentWhenTheWindowIsShown();
    void titles();
    void unsavedChanges_data();
    void unsavedChanges();

private:
    void trigger(const char *action) { m_window->findChild<QAction *>(action)->trigger(); }
    /// Answers the next New Session dialog with a part number.
    void pick(const QString &part);
    void openSession(const QString &part = "P1");
    QMdiArea *area() const { return m_window->findChild<QMdiArea *>(); }
    QStringList titlesOfModes() const;
    QStringList modeEntries() const;
    SessionWindow *mode(int index) const
    {
        return qobject_cast<SessionWindow *>(area()->subWindowList().at(index)->widget());
    }

    GeneratorFolder m_folder;
    std::unique_ptr<Tarnwick> m_window;
    std::unique_ptr<ModalDriver> m_driver;
};

void tst_MainWindow::initTestCase()
{
    applyIdentity();
    m_folder.write("settings_a.py", GeneratorFolder::source());
}

void tst_MainWindow::init()
{
    QSettings().clear();
    QSettings().setValue("pyLocations", QStringList{m_folder.path()});
    m_driver = std::make_unique<ModalDriver>();
    // The interpreter lives once per process, and so does the window that owns it.
    if (!m_window)
        m_window = std::make_unique<Tarnwick>();
    m_window->show();
}

void tst_MainWindow::cleanup()
{
    QCOMPARE(m_driver->unexpected(), 0);
    QCOMPARE(m_driver->pending(), 0);
    area()->closeAllSubWindows();
    QTRY_VERIFY(m_window->findChildren<SessionWindow *>().isEmpty());
}

void tst_MainWindow::pick(const QString &part)
{
    m_driver->expect([part](QDialog *dialog) {
        auto *const parts = dialog->findChild<QListWidget *>("parts");
        const QList<QListWidgetItem *> items = parts->findItems(part, Qt::MatchExactly);
        parts->setCurrentItem(items.value(0));
        dialog->accept();
    });
}

void tst_MainWindow::openSession(const QString &part)
{
    pick(part);
    trigger("actionNew");
}

QStringList tst_MainWindow::titlesOfModes() const
{
    QStringList titles;
    for (const QMdiSubWindow *const subWindow : area()->subWindowList())
        titles.append(subWindow->windowTitle());
    return titles;
}

QStringList tst_MainWindow::modeEntries() const
{
    QStringList texts;
    for (const QAction *const action :
         m_window->findChild<QMenu *>("menuModes")->actions().mid(3)) {
        if (action->isVisible())
            texts.append(action->text());
    }
    return texts;
}

void tst_MainWindow::menus()
{
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick"));
    QCOMPARE(m_window->objectName(), QString("Tarnwick"));
    QStringList lines;
    for (const QAction *const entry : m_window->findChild<QMenuBar *>("menubar")->actions()) {
        const QMenu *const menu = entry->menu();
        QStringList contents;
        for (const QAction *const action : menu->actions())
            contents.append(action->isSeparator() ? QString("-") : action->text());
        lines.append(menu->objectName() + " " + entry->text() + ": " + contents.join(", "));
    }
    const QStringList expected{
        "menuSession Session: Recent Session Files, -, New Session..., Open Session..., Save Session, "
        "Save Session As..., -, Exit",
        "menuModes Modes: New Mode, Clone Current Mode, -",
        "menuExport Export: Shared Settings..., INI File..., JSON...",
        "menuCamera Camera: Connect to Demo Camera, Connect to Brindle, Write to Camera, -, "
        "Disconnect",
        "menuPython Python: Code Editor, Console Window",
        "menuHelp Help: Bug Report..., -, UserGuide, -, About...",
    };
    QCOMPARE(lines, expected);
    QVERIFY(!m_window->findChild<QMenu *>("menuCamera")->isEnabled());
    QVERIFY(m_window->findChild<QAction *>("actionBug_Report")->isEnabled());
    QVERIFY(!m_window->findChild<QAction *>("actionAbout")->icon().isNull());
    QCOMPARE(m_window->findChild<QAction *>("actionSave_As")->iconText(), QString("Save As"));
    QVERIFY(m_window->findChild<QAction *>("actionPython_Editor")->isCheckable());
    QVERIFY(m_window->findChild<QAction *>("actionPython_Console")->isCheckable());

    QCOMPARE(area()->viewMode(), QMdiArea::TabbedView);
    QVERIFY(area()->tabsClosable());
    QVERIFY(area()->tabsMovable());
    QCOMPARE(area()->minimumHeight(), 1);
}

void tst_MainWindow::everyActionSlotIsMatched()
{
    int slotCount = 0;
    const QMetaObject *const meta = m_window->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
        const QString name = QString::fromLatin1(meta->method(i).name());
        if (!name.startsWith("on_"))
            continue;
        ++slotCount;
        const QString action = name.mid(3).remove("_triggered");
        QVERIFY2(m_window->findChild<QAction *>(action), qPrintable(name));
    }
    QCOMPARE(slotCount, 14);
    QCOMPARE(m_window->findChildren<QAction *>(QRegularExpression("^action")).size(), 19);
}

void tst_MainWindow::newSession()
{
    openSession("P2");
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
    QCOMPARE(titlesOfModes(), QStringList{"P2_gain1"});
    QCOMPARE(modeEntries(), QStringList{"P2_gain1"});
    const QMdiSubWindow *const subWindow = area()->currentSubWindow();
    QVERIFY(subWindow->isMaximized());
    QVERIFY(!(subWindow->windowFlags() & (Qt::WindowCloseButtonHint | Qt::WindowSystemMenuHint)));

    // Without changes the session is replaced without a question, its windows with it.
    const QPointer<SessionWindow> old = mode(0);
    openSession("P1");
    QCOMPARE(titlesOfModes(), QStringList{"P1_gain1"});
    QTRY_VERIFY(!old);
    QCOMPARE(titlesOfModes(), QStringList{"P1_gain1"});
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P1"));
    // The old window's end counts as a change.
    m_driver->expect([](QDialog *dialog) { dialog->reject(); });
    trigger("actionNew");
}

void tst_MainWindow::newSessionCancelledOrWithoutPart()
{
    const GeneratorFolder other;
    openSession();
    const QStringList before{m_folder.path()};
    m_driver->expect([](QDialog *dialog) { dialog->reject(); });
    trigger("actionNew");
    QCOMPARE(QSettings().value("pyLocations").toStringList(), before);

    m_driver->expect([&](QDialog *dialog) {
        m_driver->expect([&](QDialog *chooser) { ModalDriver::choose(chooser, other.path()); });
        dialog->findChild<QPushButton *>("browseDir")->click();
        QCOMPARE(dialog->findChild<QListWidget *>("parts")->count(), 0);
        dialog->accept();
    });
    trigger("actionNew");
    QCOMPARE(QSettings().value("pyLocations").toStringList(), QStringList{other.path()} + before);
    QCOMPARE(titlesOfModes(), QStringList{"P1_gain1"});
}

void tst_MainWindow::newSessionDialog()
{
    const GeneratorFolder folder;
    const QString a =
        folder.write("settings_da.py", "class Settings:\n part_numbers = ['P2', 'P1']\n");
    folder.write("settings_dB.py", "class Settings:\n part_numbers = ['P1', 'P3']\n");
    NewSessionDlg dialog(folder.path());
    auto *const parts = dialog.findChild<QListWidget *>("parts");
    QCOMPARE(dialog.windowTitle(), QString("New Session"));
    QCOMPARE(parts->count(), 3);
    QCOMPARE(parts->item(0)->text(), QString("P1"));
    QCOMPARE(parts->item(0)->data(Qt::UserRole).toString(), a);
    QVERIFY(parts->isWrapping());
    QCOMPARE(dialog.partNumber(), QString());
    QCOMPARE(dialog.moduleFile(), QString());
    QCOMPARE(dialog.location(), folder.path());

    dialog.show();
    const QPoint third = parts->visualItemRect(parts->item(2)).center();
    QTest::mouseClick(parts->viewport(), Qt::LeftButton, {}, third);
    QTest::mouseDClick(parts->viewport(), Qt::LeftButton, {}, third);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.partNumber(), QString("P3"));

    m_driver->expect([&](QDialog *chooser) {
        auto *const files = qobject_cast<QFileDialog *>(chooser);
        QCOMPARE(files->windowTitle(), QString("Select a Sensor Settings Generator file"));
        QCOMPARE(
            files->nameFilters(),
            (QStringList{"Sensor Settings Generator file (settings_*.py)", "All Files (*.*)"}));
        ModalDriver::choose(files, a);
    });
    dialog.findChild<QPushButton *>("browseFile")->click();
    QCOMPARE(dialog.location(), a);
    QCOMPARE(parts->count(), 2);
    // From a file, the folder chooser starts in the file's folder.
    m_driver->expect([&](QDialog *chooser) {
        QCOMPARE(qobject_cast<QFileDialog *>(chooser)->directory(), QDir(folder.path()));
        chooser->reject();
    });
    dialog.findChild<QPushButton *>("browseDir")->click();
    QCOMPARE(dialog.location(), a);
}

void tst_MainWindow::startSessionFromTheCommandLine()
{
    m_driver->expect([](QDialog *dialog) { dialog->reject(); });
    QVERIFY(!m_window->startSession(m_folder.path()));
    QVERIFY(area()->subWindowList().isEmpty());

    // Accepted without a part number: a mode without a generator.
    const GeneratorFolder empty;
    m_driver->expect([](QDialog *dialog) { dialog->accept(); });
    QVERIFY(m_window->startSession(empty.path()));
    QCOMPARE(titlesOfModes(), QStringList{"Untitled Mode"});
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick "));
    QVERIFY(mode(0)->findChildren<QCheckBox *>().isEmpty());
    QCOMPARE(QSettings().value("pyLocations").toStringList(), QStringList{m_folder.path()});
}

void tst_MainWindow::modesAndTheirMenu()
{
    openSession();
    trigger("actionNew_Mode");
    trigger("actionNew_Mode");
    for (int i = 0; i < 3; ++i)
        mode(i)->findChild<QSpinBox *>("gain")->setValue(i + 4);
    QCOMPARE(modeEntries(), (QStringList{"P1_gain4", "P1_gain5", "P1_gain6"}));
    QCOMPARE(titlesOfModes(), modeEntries());
    const QList<QAction *> entries = m_window->findChild<QMenu *>("menuModes")->actions();
    entries.at(3)->trigger();
    QCOMPARE(area()->currentSubWindow(), area()->subWindowList().at(0));

    auto *const tabs = area()->findChild<QTabBar *>();
    Q_EMIT tabs->tabCloseRequested(1);
    QTRY_COMPARE(modeEntries(), (QStringList{"P1_gain4", "P1_gain6"}));
    trigger("actionNew_Mode");
    QCOMPARE(modeEntries(), (QStringList{"P1_gain4", "P1_gain6", "P1_gain1"}));
    QCOMPARE(m_window->findChild<QMenu *>("menuModes")->actions().size(), entries.size());
    entries.at(4)->trigger();
    QCOMPARE(area()->currentSubWindow()->windowTitle(), QString("P1_gain6"));
}

void tst_MainWindow::closingTheLastTab()
{
    openSession("P2");
    Q_EMIT area()->findChild<QTabBar *>()->tabCloseRequested(0);
    QTRY_COMPARE(modeEntries(), QStringList());
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
    // Without a session the mode commands begin a new one.
    pick("P1");
    trigger("actionClone_Mode");
    QCOMPARE(titlesOfModes(), QStringList{"P1_gain1"});
}

void tst_MainWindow::cloneCopiesTickedParameters()
{
    openSession();
    QTest::mouseClick(mode(0)->findChild<QCheckBox *>("mode_check"), Qt::LeftButton);
    mode(0)->findChild<QSpinBox *>("gain")->setValue(9);
    QTest::mouseClick(mode(0)->findChild<QCheckBox *>("gain_check"), Qt::LeftButton);
    trigger("actionClone_Mode");
    const QVariantMap expected{{"mode", QVariantMap{{"value", "f"}}}};
    QCOMPARE(mode(1)->parametersPane()->values(), expected);
    QCOMPARE(mode(1)->results().value("inputs").toMap(), expected);
    QCOMPARE(area()->currentSubWindow(), area()->subWindowList().at(1));
}

void tst_MainWindow::firstModeIsCurrentWhenTheWindowIsShown()
{
    m_window->hide();
    pick("P1");
    QVERIFY(m_window->startSession(m_folder.path()));
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QVERIFY(area()->currentSubWindow());
    mode(0)->findChild<QSpinBox *>("gain")->setValue(8);
    trigger("actionClone_Mode");
    QCOMPARE(titlesOfModes(), (QStringList{"P1_gain8", "P1_gain8"}));
}

void tst_MainWindow::titles()
{
    const GeneratorFolder folder;
    folder.write("settings_titles.py",
                 GeneratorFolder::source("if gain > 4: raise ValueError()\n"
                                         "        if gain == 3: del result['name']"));
    m_driver->expect([](QDialog *dialog) {
        dialog->findChild<QListWidget *>("parts")->setCurrentRow(0);
        dialog->accept();
    });
    QVERIFY(m_window->startSession(folder.path()));
    auto *const gain = mode(0)->findChild<QSpinBox *>("gain");
    gain->setValue(2);
    QCOMPARE(titlesOfModes(), QStringList{"P1_gain2"});
    gain->setValue(7);
    QCOMPARE(titlesOfModes(), QStringList{"P1_gain2"});
    trigger("actionClone_Mode");
    QCOMPARE(titlesOfModes(), (QStringList{"P1_gain2", "Untitled Mode"}));
    gain->setValue(3);
    QCOMPARE(titlesOfModes(), (QStringList{"", "Untitled Mode"}));
}

void tst_MainWindow::unsavedChanges_data()
{
    QTest::addColumn<QString>("action");
    QTest::newRow("closing") << "actionExit";
    QTest::newRow("new session") << "actionNew";
}

void tst_MainWindow::unsavedChanges()
{
    QFETCH(const QString, action);
    openSession();
    QVERIFY(m_window->close());
    m_window->show();
    mode(0)->findChild<QSpinBox *>("gain")->setValue(9);
    m_driver->expect([](QDialog *dialog) {
        auto *const box = qobject_cast<QMessageBox *>(dialog);
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), QString("Tarnwick - Unsaved Changes"));
        QCOMPARE(box->text(),
                 QString("Unsaved changes in the session parameter list(s) will be "
                         "lost. Do you want to proceeed?"));
        QCOMPARE(box->standardButtons(), QMessageBox::Ok | QMessageBox::Cancel);
        box->button(QMessageBox::Cancel)->click();
    });
    trigger(qPrintable(action));
    QVERIFY(m_window->isVisible());
    QCOMPARE(titlesOfModes(), QStringList{"P1_gain9"});
}

TARNWICK_TEST_MAIN(tst_MainWindow)
#include "tst_mainwindow.moc"
