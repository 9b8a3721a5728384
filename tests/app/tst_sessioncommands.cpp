// SPDX-License-Identifier: MIT
//
// Saving, opening, exporting and running through the real menus and file choosers.

#include "session/modeswriter.h"
#include "support/windowtest.h"

#include <QToolButton>

class tst_SessionCommands : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { setUp(); }
    void cleanup() { tearDown(); }
    void saveAndReopen();
    void examples_data() { loadTable("app/examples"); }
    void examples();
    void withoutSessionNothingIsWritten();
    void openingFails_data() { loadTable("app/openingfails"); }
    void openingFails();
    void generatorIsFoundAgain_data();
    void generatorIsFoundAgain();
    void oddSessionsOpen();
    void failedSave_data();
    void failedSave();
    void exports();
    void failedExports();
    void companionName_data() { loadTable("app/companions"); }
    void companionName();
    void runEditedGenerator();
    void errorRouting();

private:
    const QString m_title = "Tarnwick - Session file";
};

static const char twoModes[] = R"([{"gain": {"value": 4}, "mode": {"value": "s"}}, {}])";

void tst_SessionCommands::saveAndReopen()
{
    openFile(sessionFile(twoModes, m_generator, "P2"));
    QCOMPARE(titles(), QString("P2_gain4, P2_gain3"));
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
    QVERIFY(!QApplication::overrideCursor());

    const QString copy = m_folder->path("copy_modes_def.txt");
    choose(copy);
    trigger("actionSave_As");
    const QByteArray whole = R"({
    "all_parameters": [
        {
            "gain": {
                "value": 4
            },
            "mode": {
                "value": "s"
            }
        },
        {
        }
    ],
    "date": "$Date: $",
    "module_local_path": "%1",
    "module_name": "settings_test",
    "part_number": "P2",
    "revision": "$Revision: $"
}
)";
    const QByteArray expected = QString::fromUtf8(whole).arg(m_generator).toUtf8();
    QCOMPARE(read(copy), expected);
    QCOMPARE(QSettings().value("sessionLocations").toStringList().first(), copy);

    // Opening and saving without a change gives the same bytes; closing asks nothing.
    openFile(copy);
    QFile::remove(copy);
    trigger("actionSave");
    QCOMPARE(read(copy), expected);
    gain()->setValue(5);
    trigger("actionSave");
    QVERIFY(read(copy).contains("\"value\": 5"));

    // The recent list asks nothing either, and replaces the session.
    gain()->setValue(6);
    const QMenu *const recent = child<QMenu>("menuSession")->actions().first()->menu();
    QCOMPARE(recent->title(), QString("Recent Session Files"));
    QCOMPARE(recent->actions().first()->text(), QString("copy_modes_def.txt"));
    recent->actions().first()->trigger();
    QCOMPARE(titles(), QString("P2_gain5, P2_gain3"));
}

/// The sessions that come with the program open, and are as the program saves them.
void tst_SessionCommands::examples()
{
    const QString work = QDir::currentPath();
    QVERIFY(QDir::setCurrent(EXAMPLES_DIR "/.."));
    const QString name = QString(QTest::currentDataTag()) + "_modes_def.txt";
    openFile(QDir::current().filePath("examples/" + name));
    QTEST(titles(), "expected");
    choose(m_folder->path(name));
    trigger("actionSave_As");
    QCOMPARE(read(m_folder->path(name)), read(EXAMPLES_DIR "/" + name));
    QDir::setCurrent(work);
}

void tst_SessionCommands::withoutSessionNothingIsWritten()
{
    for (const char *const action :
         {"actionSave_As", "actionSave", "actionIni_File", "actionJson", "actionShared_Settings"})
        trigger(action);
    // A file name without a session: opening stopped half-way.
    const QByteArray text = "{\"module_local_path\": \"" + m_generator.toUtf8() + "\"}";
    const QString file = m_folder->write("empty.txt", text);
    choose(file);
    expectWarning(m_title, "No parameters in the session file.");
    trigger("actionOpen");
    trigger("actionSave");
    QCOMPARE(read(file), text);
}

/// The user sees why, nothing of the file runs, and the open session stays.
void tst_SessionCommands::openingFails()
{
    QFETCH(QString, session);
    QFETCH(const QString, warning);
    const QString crafted =
        m_folder->write("settings_x or print('ran').py", GeneratorFolder::source());
    openFile(sessionFile("[{}]", m_generator, "P1"));
    session.replace("@G", m_generator).replace("@C", crafted);
    choose(m_folder->write("faulty.txt", session.toLatin1()));
    expectWarning(m_title, warning);
    if (warning.startsWith("Couldn't find"))
        m_driver->expect([](QDialog *chooser) { chooser->reject(); });
    trigger("actionOpen");
    QCOMPARE(titles(), QString("P1_gain3"));
    QCOMPARE(ConsoleDouble::output, QString());
}

void tst_SessionCommands::generatorIsFoundAgain_data()
{
    QTest::addColumn<bool>("remembered");
    QTest::newRow("in a remembered folder") << true;
    QTest::newRow("where the user points") << false;
}

void tst_SessionCommands::generatorIsFoundAgain()
{
    QFETCH(const bool, remembered);
    const QString file = sessionFile(twoModes, "/nowhere/settings_test.py", "P1");
    QSettings().setValue("pyLocations",
                         QStringList{"/other", remembered ? m_folder->path() : QString("/no")});
    choose(file);
    if (!remembered) {
        expectWarning(m_title, "Couldn't find Python module\n\n/nowhere/settings_test.py");
        m_driver->expect([this](QDialog *chooser) {
            QCOMPARE(chooser->windowTitle(), QString("Select a Folder with settings_test.py"));
            ModalDriver::choose(chooser, m_folder->path());
        });
    }
    trigger("actionOpen");
    QCOMPARE(titles(), QString("P1_gain4, P1_gain3"));
    QCOMPARE(QSettings().value("pyLocations").toStringList().contains(m_generator), !remembered);
}

void tst_SessionCommands::oddSessionsOpen()
{
    openFile(sessionFile(R"([{"gain": {"value": 400}, "gone": {"value": 1}},
                             {"gain": {"value": "7"}, "mode": {"value": "unknown"}},
                             {"gain": 7}])",
                         m_generator,
                         "P1"));
    QCOMPARE(titles(), QString("P1_gain15, P1_gain7, P1_gain3"));
    const QString broken = m_folder->write("settings_broken.py", "raise RuntimeError('broken')\n");
    openFile(sessionFile(R"([{"gain": {"value": 4}}, 17, null])", broken, "P1"));
    QCOMPARE(titles(), QString("Untitled Mode, Untitled Mode, Untitled Mode"));
}

void tst_SessionCommands::failedSave_data()
{
    QTest::addColumn<QString>("target");
    QTest::newRow("missing folder") << "missing/file.txt";
    QTest::newRow("a folder of that name") << "folder";
    QTest::newRow("disk full") << "/dev/full";
}

void tst_SessionCommands::failedSave()
{
    QFETCH(const QString, target);
    openFile(sessionFile("[{}]", m_generator, "P1"));
    // The chooser refuses a folder or a missing one itself, so the name comes from a rename.
    const QString file = m_folder->path("session.txt");
    const QString moved = m_folder->path("moved.txt");
    QVERIFY(QFile::rename(file, moved));
    QVERIFY(target == "folder" ? QDir().mkdir(file)
                               : QFile::link(QDir(m_folder->path()).filePath(target), file));
    expectWarning(m_title, "Couldn't write the session file.\n\n" + file);
    trigger("actionSave");
    QVERIFY(QFile::exists(moved));
    QCOMPARE(titles(), QString("P1_gain3"));
    QCOMPARE(QSettings().value("recentSessionList").toStringList().first(), file);
    QVERIFY(m_window->close());
}

void tst_SessionCommands::exports()
{
    m_folder->write("settings_test.py",
                    GeneratorFolder::source("if gain == 7: raise ValueError('seven')"));
    openFile(sessionFile(R"([{"gain": {"value": 4}}, {"gain": {"value": 7}}])", m_generator, "P1"));
    const QVariantList results{mode(0)->results(), mode(1)->results()};
    QCOMPARE(results.last(), QVariant(QVariantMap()));
    const ModesWriter writer(results);

    const QString ini = m_folder->path("out.ini");
    m_driver->expect([ini](QDialog *chooser) {
        auto *const files = qobject_cast<QFileDialog *>(chooser);
        QCOMPARE(files->windowTitle(), QString("Select a Sensor INI file"));
        QCOMPARE(files->nameFilters().join(", "),
                 QString("Initialization file (*.ini), All Files (*.*)"));
        ModalDriver::choose(chooser, ini);
    });
    trigger("actionIni_File");
    QCOMPARE(read(ini), writer.iniText());
    QVERIFY(read(ini).startsWith("\n[P1_gain4]\n"));
    QCOMPARE(QSettings().value("iniLocations").toStringList().first(), ini);

    const QString json = m_folder->path("out_results.txt");
    choose(json);
    trigger("actionJson");
    QCOMPARE(read(json),
             QJsonDocument(QJsonArray::fromVariantList(results)).toJson(QJsonDocument::Indented));
    QCOMPARE(QSettings().value("jsonLocations").toStringList().first(), m_folder->path());
    // From now on the folder alone is where the chooser starts.
    m_driver->expect([this](QDialog *chooser) {
        QCOMPARE(qobject_cast<QFileDialog *>(chooser)->directory(), QDir(m_folder->path()));
        QCOMPARE(chooser->findChild<QLineEdit *>("fileNameEdit")->text(), QString());
        chooser->reject();
    });
    trigger("actionJson");

    const QString python = m_folder->path("P1_initializer.py");
    choose(python);
    trigger("actionShared_Settings");
    QCOMPARE(read(python), writer.initializerPython());
    QCOMPARE(read(m_folder->path("P1_initializer.ini")), writer.initializerIni());
    QCOMPARE(QSettings().value("shsLocations").toStringList().first(), m_folder->path());
}

void tst_SessionCommands::failedExports()
{
    openFile(sessionFile("[{}]", m_generator, "P1"));
    const QString full = m_folder->path("full.py");
    QVERIFY(QFile::link("/dev/full", full));
    const auto fails = [&](const char *action, const QString &kind) {
        m_driver->expect([full](QDialog *chooser) {
            // Replacing is asked about inside the chooser.
            qobject_cast<QFileDialog *>(chooser)->setOption(QFileDialog::DontConfirmOverwrite);
            ModalDriver::choose(chooser, full);
        });
        expectWarning("Tarnwick - " + kind, "Couldn't write the " + kind + ".\n\n" + full);
        trigger(action);
    };
    fails("actionIni_File", "INI file");
    fails("actionJson", "JSON file");
    fails("actionShared_Settings", "Shared Settings Python file");
    // The companion is written all the same.
    QVERIFY(read(m_folder->path("full.ini")).contains("PYTHON= Initializer.P1_gain3(Device())"));
}

void tst_SessionCommands::companionName()
{
    QFETCH(const QString, file);
    QFETCH(const QString, companion);
    QVERIFY(QDir(m_folder->path()).mkpath("a.python"));
    openFile(sessionFile("[{}]", m_generator, "P1"));
    choose(m_folder->path(file));
    trigger("actionShared_Settings");
    QVERIFY(QFile::exists(m_folder->path(file)));
    QVERIFY(QFile::exists(m_folder->path(companion)));
}

/// Edited, broken and mended in the code editor.
void tst_SessionCommands::runEditedGenerator()
{
    auto *const run = child<QToolButton>("run");
    run->click();
    QCOMPARE(modeCount(), 0);
    m_folder->write("settings_test.py", "print('imported')\n" + GeneratorFolder::source());
    openFile(sessionFile(twoModes, m_generator, "P1"));
    auto *const code = child<QPlainTextEdit>("edit");
    auto *const dock = child<QDockWidget>("dockPythonEditor");
    QCOMPARE(code->toPlainText().toUtf8(), read(m_generator));
    QCOMPARE(dock->windowTitle(), QString("Python Editor"));

    ConsoleDouble::install();
    const QString before = code->toPlainText();
    const auto edit = [code](const QString &text) {
        code->selectAll();
        code->insertPlainText(text);
    };
    edit(QString(before).replace("_gain%d", "_g%d").replace("range': [0, 15]", "range': [0, 3]"));
    QCOMPARE(dock->windowTitle(), QString("Python Editor *"));
    QStringList order;
    for (int i = 0; i < 2; ++i)
        connect(mode(i), &SessionWindow::regenerated, code, [&order, i] {
            order.append(QString::number(i));
        });
    run->click();
    QCOMPARE(dock->windowTitle(), QString("Python Editor"));
    QCOMPARE(read(m_generator), code->toPlainText().toUtf8());
    QCOMPARE(ConsoleDouble::output, QString("imported\n"));
    QCOMPARE(titles(), QString("P1_g3, P1_g3"));
    QCOMPARE(gain(0)->maximum(), 3);
    QCOMPARE(order.join(' '), QString("0 0 1"));

    edit("raise RuntimeError('broken')\n" + before);
    run->click();
    QTRY_VERIFY(pane(mode(1), "errors").contains("RuntimeError: broken"));
    QVERIFY(!QApplication::overrideCursor());
    edit(before);
    run->click();
    QCOMPARE(titles(), QString("P1_gain3, P1_gain3"));
    QCOMPARE(pane(mode(1), "errors"), QString());
}

void tst_SessionCommands::errorRouting()
{
    auto *const dock = child<QDockWidget>("dockPythonConsole");
    auto *const action = child<QAction>("actionPython_Console");
    QVERIFY(dock->isFloating() && !dock->isVisible() && !action->isChecked());
    QVERIFY(QRegularExpression("^Python 3[.0-9]+ Console$").match(dock->windowTitle()).hasMatch());

    // Nobody sees a mode: the console shows itself.
    PythonModule::execute("1/0");
    QTRY_VERIFY(dock->isVisible());
    QVERIFY(action->isChecked());
    openSession();
    PythonModule::execute("undefined");
    QTest::qWait(150);
    QCOMPARE(pane(mode(), "errors"), QString());
    trigger("actionPython_Console");
    QVERIFY(!dock->isVisible());
    PythonModule::execute("undefined");
    QTRY_VERIFY(pane(mode(), "errors").startsWith("Traceback"));
    QVERIFY(pane(mode(), "errors").endsWith("NameError: name 'undefined' is not defined\n"));
    trigger("actionPython_Editor");
    QVERIFY(child<QDockWidget>("dockPythonEditor")->isVisible());
    trigger("actionPython_Editor");
}

TARNWICK_TEST_MAIN(tst_SessionCommands)
#include "tst_sessioncommands.moc"
