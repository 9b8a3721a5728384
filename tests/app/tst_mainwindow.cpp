// SPDX-License-Identifier: MIT
#include "app/aboutdlg.h"
#include "app/newsessiondlg.h"
#include "support/windowtest.h"
#include "tools/pythoninputdlg.h"

#include <QAccessible>
#include <QDesktopServices>
#include <QLabel>
#include <QMenuBar>

class tst_MainWindow : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { setUp(); }
    void cleanup() { tearDown(); }
    void menus_data() { loadTable("app/menus"); }
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
    void titlesFollowTheResults();
    void unsavedChanges_data();
    void unsavedChanges();
    void help();
    void everyFocusableWidgetHasAName();

private:
    QString modeEntries() const
    {
        QStringList texts;
        for (const QAction *const action : child<QMenu>("menuModes")->actions().mid(3)) {
            if (action->isVisible())
                texts.append(action->text());
        }
        return texts.join(", ");
    }
};

void tst_MainWindow::menus()
{
    const QMenu *const menu = child<QMenu>(QTest::currentDataTag());
    QStringList contents;
    for (const QAction *const action : menu->actions()) {
        if (action->isVisible())
            contents.append(action->isSeparator() ? QString("-") : action->text());
    }
    QTEST(menu->title(), "title");
    QTEST(contents.join(", "), "entries");
    QCOMPARE(menu->isEnabled(), menu->objectName() != "menuCamera");
    QCOMPARE(child<QMenuBar>("menubar")->actions().size(), 6);
    QVERIFY(child<QAction>("actionBug_Report")->isEnabled());
    QVERIFY(!child<QAction>("actionAbout")->icon().isNull());
    QCOMPARE(child<QAction>("actionSave_As")->iconText(), QString("Save As"));
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
        QVERIFY2(child<QAction>(qPrintable(name.mid(3).remove("_triggered"))), qPrintable(name));
    }
    QCOMPARE(slotCount, 14);
    QCOMPARE(m_window->findChildren<QAction *>(QRegularExpression("^action")).size(), 19);
}

void tst_MainWindow::newSession()
{
    openSession("P2");
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
    QCOMPARE(titles(), QString("P2_gain1"));
    QCOMPARE(modeEntries(), QString("P2_gain1"));
    const QMdiSubWindow *const subWindow = area()->currentSubWindow();
    QVERIFY(subWindow->isMaximized());
    QVERIFY(!(subWindow->windowFlags() & (Qt::WindowCloseButtonHint | Qt::WindowSystemMenuHint)));

    // Without changes the session is replaced without a question, its windows with it.
    const QPointer<SessionWindow> old = mode();
    m_driver->expect(picking("P1"));
    trigger("actionNew");
    QTRY_VERIFY(!old);
    QCOMPARE(titles(), QString("P1_gain1"));
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P1"));
    // The old window's end counts as a change.
    m_driver->expect([](QDialog *dialog) { dialog->reject(); });
    trigger("actionNew");
}

void tst_MainWindow::newSessionCancelledOrWithoutPart()
{
    const GeneratorFolder other;
    openSession();
    const QStringList before{m_folder->path()};
    m_driver->expect([](QDialog *dialog) { dialog->reject(); });
    trigger("actionNew");
    QCOMPARE(QSettings().value("pyLocations").toStringList(), before);

    m_driver->expect([&](QDialog *dialog) {
        choose(other.path());
        dialog->findChild<QPushButton *>("browseDir")->click();
        QCOMPARE(dialog->findChild<QListWidget *>("parts")->count(), 0);
        dialog->accept();
    });
    trigger("actionNew");
    QCOMPARE(QSettings().value("pyLocations").toStringList(), QStringList{other.path()} + before);
    QCOMPARE(titles(), QString("P1_gain1"));
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
    QCOMPARE(parts->item(0)->data(Qt::UserRole).toString(), a);
    QVERIFY(parts->isWrapping());
    QCOMPARE(dialog.partNumber() + dialog.moduleFile(), QString());
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
        QCOMPARE(files->nameFilters().join(", "),
                 QString("Sensor Settings Generator file (settings_*.py), All Files (*.*)"));
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
    QVERIFY(!m_window->startSession(m_folder->path()));
    QCOMPARE(modeCount(), 0);

    // Accepted without a part number: a mode without a generator.
    const GeneratorFolder empty;
    m_driver->expect([](QDialog *dialog) { dialog->accept(); });
    QVERIFY(m_window->startSession(empty.path()));
    QCOMPARE(titles(), QString("Untitled Mode"));
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick "));
    QVERIFY(mode()->findChildren<QCheckBox *>().isEmpty());
    QCOMPARE(QSettings().value("pyLocations").toStringList(), QStringList{m_folder->path()});
}

void tst_MainWindow::modesAndTheirMenu()
{
    openSession();
    trigger("actionNew_Mode");
    trigger("actionNew_Mode");
    for (int i = 0; i < 3; ++i)
        gain(i)->setValue(i + 4);
    QCOMPARE(modeEntries(), QString("P1_gain4, P1_gain5, P1_gain6"));
    QCOMPARE(titles(), modeEntries());
    const QList<QAction *> entries = child<QMenu>("menuModes")->actions();
    entries.at(3)->trigger();
    QCOMPARE(area()->currentSubWindow(), area()->subWindowList().at(0));

    closeTab(1);
    QTRY_COMPARE(modeEntries(), QString("P1_gain4, P1_gain6"));
    trigger("actionNew_Mode");
    QCOMPARE(modeEntries(), QString("P1_gain4, P1_gain6, P1_gain1"));
    QCOMPARE(child<QMenu>("menuModes")->actions().size(), entries.size());
    entries.at(4)->trigger();
    QCOMPARE(area()->currentSubWindow()->windowTitle(), QString("P1_gain6"));
}

void tst_MainWindow::closingTheLastTab()
{
    openSession("P2");
    closeTab(0);
    QTRY_COMPARE(modeEntries(), QString());
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
    // Without a session the mode commands begin a new one.
    m_driver->expect(picking("P1"));
    trigger("actionClone_Mode");
    QCOMPARE(titles(), QString("P1_gain1"));
}

void tst_MainWindow::cloneCopiesTickedParameters()
{
    openSession();
    QTest::mouseClick(mode()->findChild<QCheckBox *>("mode_check"), Qt::LeftButton);
    gain()->setValue(9);
    QTest::mouseClick(mode()->findChild<QCheckBox *>("gain_check"), Qt::LeftButton);
    trigger("actionClone_Mode");
    const QVariantMap expected{{"mode", QVariantMap{{"value", "f"}}}};
    QCOMPARE(mode(1)->parametersPane()->values(), expected);
    QCOMPARE(mode(1)->results().value("inputs").toMap(), expected);
    QCOMPARE(area()->currentSubWindow(), area()->subWindowList().at(1));
}

void tst_MainWindow::firstModeIsCurrentWhenTheWindowIsShown()
{
    m_window->hide();
    m_driver->expect(picking("P1"));
    QVERIFY(m_window->startSession(m_folder->path()));
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    QVERIFY(area()->currentSubWindow());
    gain()->setValue(8);
    trigger("actionClone_Mode");
    QCOMPARE(titles(), QString("P1_gain8, P1_gain8"));
}

void tst_MainWindow::titlesFollowTheResults()
{
    m_folder->write("settings_test.py",
                    GeneratorFolder::source("if gain > 4: raise ValueError()\n"
                                            "        if gain == 3: del result['name']"));
    openSession();
    gain()->setValue(2);
    QCOMPARE(titles(), QString("P1_gain2"));
    gain()->setValue(7);
    QCOMPARE(titles(), QString("P1_gain2"));
    trigger("actionClone_Mode");
    QCOMPARE(titles(), QString("P1_gain2, Untitled Mode"));
    gain()->setValue(3);
    QCOMPARE(titles(), QString(", Untitled Mode"));
}

void tst_MainWindow::unsavedChanges_data()
{
    QTest::addColumn<bool>("inSession");
    for (const char *action : {"actionExit", "actionNew", "actionOpen"}) {
        QTest::newRow(action) << true;
        QTest::newRow(qPrintable(QString(action) + ", editor only")) << false;
    }
}

void tst_MainWindow::unsavedChanges()
{
    QFETCH(const bool, inSession);
    openSession();
    QVERIFY(m_window->close());
    m_window->show();
    auto *const code = child<QPlainTextEdit>("edit");
    code->insertPlainText("# edited\n");
    if (inSession)
        gain()->setValue(9);
    expectBox("Tarnwick - Unsaved Changes",
              QString("Unsaved changes in the %1 will be lost. Do you want to proceeed?")
                  .arg(inSession ? "session parameter list(s)" : "Python code"),
              QMessageBox::Cancel);
    trigger(qPrintable(QString(QTest::currentDataTag()).section(',', 0, 0)));
    QVERIFY(m_window->isVisible());
    QCOMPARE(titles(), QString(inSession ? "P1_gain9" : "P1_gain1"));
    code->undo();
    QVERIFY(!code->document()->isModified());
}

/// A browser that isn't there.
class NoBrowser : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void open(const QUrl &url) { opened = url; }

public:
    QUrl opened;
};

void tst_MainWindow::help()
{
    m_driver->expect([](QDialog *about) {
        QCOMPARE(about->windowTitle(), QString("About Tarnwick Tool"));
        const QString build = about->findChild<QLabel *>("build")->text();
        QCOMPARE(build.section('\n', 0, 0), QString("Version :  6.1.63.61641"));
        QVERIFY(QRegularExpression("^Build Date : [A-Z][a-z]{2} [ 1-3][0-9] 20[0-9]{2}$")
                    .match(build.section("\n\n", 1))
                    .hasMatch());
        QCOMPARE(about->findChild<QLabel *>("logo")->pixmap(Qt::ReturnByValue).size(),
                 QSize(154, 55));
        about->reject();
    });
    trigger("actionAbout");

    NoBrowser browser;
    QDesktopServices::setUrlHandler("https", &browser, "open");
    trigger("actionUserGuide");
    QVERIFY(browser.opened.isValid());
    QDesktopServices::unsetUrlHandler("https");
    // The offscreen platform opens nothing.
    expectWarning("Help File Failure",
                  "Unable to Open the Help file - network access required to "
                      + browser.opened.host() + '.');
    trigger("actionUserGuide");
}

/// Walks the accessibility tree of the whole program: with a screen reader each stop has a name.
void tst_MainWindow::everyFocusableWidgetHasAName()
{
    openSession();
    trigger("actionPython_Console");
    trigger("actionPython_Editor");
    QTest::keyClick(child<QPlainTextEdit>("edit"), Qt::Key_H, Qt::ControlModifier);
    NewSessionDlg newSession(m_folder->path(), m_window.get());
    AboutDlg about(m_window.get());
    PythonInputDlg input("Python: Name", m_window.get());
    QStringList nameless;
    int count = 0;
    for (const QWidget *const widget : m_window->findChildren<QWidget *>()) {
        // A widget that hands its focus to another one is no stop.
        if (widget->focusPolicy() == Qt::NoFocus || widget->focusProxy())
            continue;
        ++count;
        auto *const face = QAccessible::queryAccessibleInterface(const_cast<QWidget *>(widget));
        if (!face || face->text(QAccessible::Name).isEmpty())
            nameless.append(
                QString("%1 %2").arg(widget->metaObject()->className(), widget->objectName()));
    }
    QVERIFY(count > 25);
    QCOMPARE(nameless.join(", "), QString());
    child<QDialog>("PythonReplaceDlg")->hide();
}

TARNWICK_TEST_MAIN(tst_MainWindow)
#include "tst_mainwindow.moc"
