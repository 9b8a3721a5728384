// SPDX-License-Identifier: MIT
//
// Saving, opening, exporting and running through the real menus and file choosers.

#include "session/modeswriter.h"
#include "support/windowtest.h"

#include <QJsonArray>
#include <QJsonDocument>

class tst_SessionCommands : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    /// The program is started in the folder of its source, and works in another one.
    void initTestCase()
    {
        const QString work = QDir::currentPath();
        QVERIFY(QDir::setCurrent(EXAMPLES_DIR "/.."));
        setUp();
        tearDown();
        QVERIFY(QDir::setCurrent(work));
    }
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void sessionFiles_data() { loadTable("app/openandsave"); }
    void sessionFiles() { playRow(); }

    void choosers_data() { loadTable("app/choosers"); }
    void choosers()
    {
        act("session P1 [{}]; choose session.txt; Open; cancel");
        trigger(QTest::currentDataTag());
        QTEST(m_driver->newest(), "shown");
    }

    /// The sessions that come with the program open, and are as the program saves them.
    void examples_data() { loadTable("app/examples"); }
    void examples()
    {
        const QString name = QString(QTest::currentDataTag()) + "_modes_def.txt";
        choose(EXAMPLES_DIR "/" + name);
        act("Open; choose copy.txt; Save_As");
        QTEST(titles(), "expected");
        QCOMPARE(read(m_folder->path("copy.txt")), read(EXAMPLES_DIR "/" + name));
        QCOMPARE(QSettings().value("sessionLocations").toStringList().first(),
                 m_folder->path("copy.txt"));
    }

    /// A relative path stays as it was given, and leads where it did when the program was started.
    void relativeArgument()
    {
        m_folder->write("settings_test.py",
                        "import os\nos.chdir('/')\n" + GeneratorFolder::source());
        const QString work = QDir::currentPath();
        QVERIFY(QDir::setCurrent(EXAMPLES_DIR "/.."));
        const QString path = QDir::current().relativeFilePath(m_generator);
        m_driver->expect(picking("P1"));
        QVERIFY(m_window->startSession(path));
        act("choose copy.txt; Save_As; press run; New_Mode");
        QDir::setCurrent(work);
        QCOMPARE(titles(), "P1_gain1, P1_gain1");
        QVERIFY(read(m_folder->path("copy.txt")).contains("_path\": \"" + path.toUtf8() + '"'));
    }

    void locationsAreRemembered()
    {
        // The generator's file, where the user pointed at its folder.
        QVERIFY(QDir(m_folder->path()).mkdir("other"));
        QVERIFY(QFile::rename(m_generator, m_folder->path("other/settings_test.py")));
        act("session P1 [{}]; choose session.txt; warn Couldn't find Python module\n\n"
            + m_generator);
        m_driver->expect([this](QDialog *chooser) {
            QCOMPARE(chooser->windowTitle(), QString("Select a Folder with settings_test.py"));
            ModalDriver::choose(chooser, m_folder->path("other"));
        });
        act("Open");
        QCOMPARE(QSettings().value("pyLocations").toStringList().first(),
                 m_folder->path("other/settings_test.py"));
        // The file of an INI export, the folders of the others.
        act("choose a.ini; Ini_File; choose a.txt; Json; choose a.py; Shared_Settings");
        const QString folder = m_folder->path();
        const QMap<QString, QString> expected{{"iniLocations", m_folder->path("a.ini")},
                                              {"jsonLocations", folder},
                                              {"shsLocations", folder}};
        for (auto it = expected.cbegin(); it != expected.cend(); ++it)
            QCOMPARE(QSettings().value(it.key()).toStringList().first(), it.value());
        // From now on the folder alone is where the chooser starts.
        m_driver->expect([folder](QDialog *chooser) {
            QCOMPARE(qobject_cast<QFileDialog *>(chooser)->directory(), QDir(folder));
            QCOMPARE(chooser->findChild<QLineEdit *>("fileNameEdit")->text(), QString());
            chooser->reject();
        });
        act("Json");
    }

    void exports()
    {
        act(R"(generator if gain == 7: raise ValueError('seven'); choose session.txt; )"
            R"(session P1 [{"gain": {"value": 4}}, {"gain": {"value": 7}}]; Open; )"
            R"(choose a.ini; Ini_File; choose a.txt; Json; choose a.py; Shared_Settings)");
        const QVariantList results{mode(0)->results(), QVariantMap()};
        const ModesWriter writer(results);
        QVERIFY(writer.iniText().startsWith("\n[P1_gain4]\n"));
        // The companion of a.py takes the place of the first.
        QCOMPARE(read(m_folder->path("a.ini")), writer.initializerIni());
        QCOMPARE(read(m_folder->path("a.py")), writer.initializerPython());
        QCOMPARE(read(m_folder->path("a.txt")),
                 QJsonDocument(QJsonArray::fromVariantList(results)).toJson());
        act("choose b.ini; Ini_File");
        QCOMPARE(read(m_folder->path("b.ini")), writer.iniText());
    }

    void failedExports()
    {
        act("session P1 [{}]; choose session.txt; Open");
        const QString full = m_folder->path("full.py");
        QVERIFY(QFile::link("/dev/full", full));
        const QMap<QString, QString> kinds{
            {"Ini_File", "INI file"},
            {"Json", "JSON file"},
            {"Shared_Settings", "Shared Settings Python file"},
        };
        for (auto it = kinds.cbegin(); it != kinds.cend(); ++it) {
            m_driver->expect([full](QDialog *chooser) {
                // Replacing is asked about inside the chooser.
                qobject_cast<QFileDialog *>(chooser)->setOption(QFileDialog::DontConfirmOverwrite);
                ModalDriver::choose(chooser, full);
            });
            expectBox("Tarnwick - " + it.value(),
                      "Couldn't write the " + it.value() + ".\n\n" + full);
            act(it.key());
        }
        // The companion is written all the same.
        QVERIFY(
            read(m_folder->path("full.ini")).contains("PYTHON= Initializer.P1_gain3(Device())"));
    }

    void companionName_data() { loadTable("app/companions"); }
    void companionName()
    {
        QFETCH(QString, file);
        QFETCH(QString, companion);
        QVERIFY(QDir(m_folder->path()).mkpath("a.python"));
        act("session P1 [{}]; choose session.txt; Open; choose " + file + "; Shared_Settings");
        QVERIFY(QFile::exists(m_folder->path(file)));
        QVERIFY(QFile::exists(m_folder->path(companion)));
    }

    /// Edited, broken and mended in the code editor.
    void runEditedGenerator()
    {
        act("press run");
        QCOMPARE(modeCount(), 0);
        const QString source = "print('imported')\n" + GeneratorFolder::source();
        m_folder->write("settings_test.py", source.toUtf8());
        act("session P1 [{\"gain\": {\"value\": 4}}, {}]; choose session.txt; Open");
        auto *const code = child<QPlainTextEdit>("edit");
        QCOMPARE(code->toPlainText(), source);
        const auto runEdited = [&](const QString &text) {
            code->selectAll();
            code->insertPlainText(text);
            RecordingConsole::clear();
            act("press run");
            QCOMPARE(read(m_generator), text.toUtf8());
            QVERIFY(!QApplication::overrideCursor());
        };
        QStringList order;
        for (int i = 0; i < 2; ++i)
            connect(mode(i), &SessionWindow::regenerated, code, [&order, i] {
                order.append(QString::number(i));
            });
        runEdited(QString(source).replace("_gain%d", "_g%d").replace("[0, 15]", "[0, 3]"));
        QCOMPARE(RecordingConsole::text(0), QString("imported\n"));
        QCOMPARE(titles(), QString("P1_g3, P1_g3"));
        QCOMPARE(gain(0)->maximum(), 3);
        QCOMPARE(order.join(' '), QString("0 0 1"));
        runEdited("raise RuntimeError('broken')\n" + source);
        QTRY_VERIFY(pane(mode(1), "errors").contains("RuntimeError: broken"));
        runEdited(source);
        QCOMPARE(titles(), QString("P1_gain3, P1_gain3"));
        QCOMPARE(pane(mode(1), "errors"), QString());
    }

    void rescue_data() { loadTable("app/rescue"); }
    void rescue()
    {
        QFETCH(const QString, steps);
        act(steps);
        QTEST(copies(), "copies");
        QTEST(RecordingConsole::text(1), "printed");
    }

    void rescuedSessionOpens()
    {
        act("pick P2; New; New_Mode; gain 0 9; click 1 mode_check; close 0; close 0; settle");
        QCOMPARE(copies(), QString("P2_modes_def.txt 9 1"));
        const QDir folder(RescueFolder().path());
        choose(folder.filePath(folder.entryList(QDir::Files).first()));
        act("Open");
        QCOMPARE(titles(), QString("P2_gain9, P2_gain1"));
        QVERIFY(!mode(0)->findChild<QCheckBox *>("mode_check")->isChecked());
        QVERIFY(mode(1)->findChild<QCheckBox *>("mode_check")->isChecked());
        QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
    }

    void errorRouting()
    {
        auto *const dock = child<QDockWidget>("dockPythonConsole");
        auto *const action = child<QAction>("actionPython_Console");
        QVERIFY(dock->isFloating() && !dock->isVisible() && !action->isChecked());
        QCOMPARE(dock->windowTitle(), QString("Python %1 Console").arg(CPython::versionString()));
        // Nobody sees a mode: the console shows itself.
        PythonModule::execute("1/0");
        QTRY_VERIFY(dock->isVisible());
        QVERIFY(action->isChecked());
        act("pick P1; New");
        PythonModule::execute("undefined");
        QTest::qWait(150);
        QCOMPARE(pane(mode(), "errors"), QString());
        act("Python_Console");
        QVERIFY(!dock->isVisible());
        PythonModule::execute("undefined");
        QTRY_VERIFY(pane(mode(), "errors").startsWith("Traceback"));
        QVERIFY(pane(mode(), "errors").endsWith("NameError: name 'undefined' is not defined\n"));
        // Of the tab that is shown, wherever the user moved it, and in a window that is not active.
        act("New_Mode; New_Mode; mode 0");
        area()->findChild<QTabBar *>()->moveTab(0, 2);
        act("hide");
        PythonModule::execute("1/0");
        QTRY_VERIFY(pane(mode(2), "errors").contains("ZeroDivisionError"));
    }
};

TARNWICK_TEST_MAIN(tst_SessionCommands)
#include "tst_sessioncommands.moc"
