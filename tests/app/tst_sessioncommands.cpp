// SPDX-License-Identifier: MIT
//
// Saving, opening and exporting through the real menus and file choosers.

#include "app/identity.h"
#include "app/tarnwick.h"
#include "params/parameterspane.h"
#include "session/modeswriter.h"
#include "session/sessionwindow.h"
#include "support/consoledouble.h"
#include "support/generatorfolder.h"
#include "support/modaldriver.h"
#include "support/testmain.h"

#include <QAction>
#include <QCheckBox>
#include <QFileDialog>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMenu>
#include <QMessageBox>
#include <QSettings>
#include <QSpinBox>
#include <QtTest>

class tst_SessionCommands : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void saveAndReopen();
    void examples_data();
    void examples();
    void saveAsWithoutSessionDoesNothing();
    void openingFails_data();
    void openingFails();
    void generatorIsFoundAgain_data();
    void generatorIsFoundAgain();
    void strangeValuesAreFitted();
    void brokenGeneratorOpensEmptyModes();
    void failedSave_data();
    void failedSave();
    void openedWhileAGeneratorPrints();
    void exports();
    void failedExports();
    void companionName_data();
    void companionName();

private:
    void trigger(const char *action) { m_window->findChild<QAction *>(action)->trigger(); }
    void choose(const QString &file)
    {
        m_driver->expect([file](QDialog *chooser) { ModalDriver::choose(chooser, file); });
    }
    void expectWarning(const QString &title, const QString &text);
    void openFile(const QString &file);
    QString sessionFile(const QByteArray &modes, const QString &generator, const QString &part);
    QStringList titles() const;
    SessionWindow *mode(int index) const
    {
        return qobject_cast<SessionWindow *>(area()->subWindowList().at(index)->widget());
    }
    QMdiArea *area() const { return m_window->findChild<QMdiArea *>(); }
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }

    ConsoleDouble m_console;
    std::unique_ptr<GeneratorFolder> m_folder;
    QString m_generator;
    std::unique_ptr<Tarnwick> m_window;
    std::unique_ptr<ModalDriver> m_driver;
    QStringList m_warnings;
};

void tst_SessionCommands::initTestCase()
{
    applyIdentity();
    m_window = std::make_unique<Tarnwick>();
}

void tst_SessionCommands::init()
{
    QSettings().clear();
    ConsoleDouble::onChunk = nullptr;
    ConsoleDouble::output.clear();
    m_folder = std::make_unique<GeneratorFolder>();
    m_generator = m_folder->write("settings_files.py", GeneratorFolder::source());
    m_driver = std::make_unique<ModalDriver>();
    m_window->show();
}

void tst_SessionCommands::cleanup()
{
    QCOMPARE(m_driver->unexpected(), 0);
    QCOMPARE(m_driver->pending(), 0);
    area()->closeAllSubWindows();
    QTRY_VERIFY(m_window->findChildren<SessionWindow *>().isEmpty());
}

void tst_SessionCommands::expectWarning(const QString &title, const QString &text)
{
    m_driver->expect([title, text](QDialog *dialog) {
        const auto *const box = qobject_cast<QMessageBox *>(dialog);
        dialog->accept();
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), title);
        QCOMPARE(box->text(), text);
        QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
    });
}

void tst_SessionCommands::openFile(const QString &file)
{
    choose(file);
    trigger("actionOpen");
}

QString tst_SessionCommands::sessionFile(const QByteArray &modes,
                                         const QString &generator,
                                         const QString &part)
{
    const QJsonObject object{{"all_parameters", QJsonDocument::fromJson(modes).array()},
                             {"module_local_path", generator},
                             {"module_name", QFileInfo(generator).baseName()},
                             {"part_number", part}};
    return m_folder->write("session.txt", QJsonDocument(object).toJson());
}

QStringList tst_SessionCommands::titles() const
{
    QStringList titles;
    for (const QMdiSubWindow *const subWindow : area()->subWindowList())
        titles.append(subWindow->windowTitle());
    return titles;
}

static const char twoModes[] = R"([{"gain": {"value": 4}, "mode": {"value": "s"}}, {}])";

void tst_SessionCommands::saveAndReopen()
{
    openFile(sessionFile(twoModes, m_generator, "P2"));
    QCOMPARE(titles(), (QStringList{"P2_gain4", "P2_gain3"}));
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
    QVERIFY(QApplication::overrideCursor() == nullptr);

    const QString copy = m_folder->path("copy_modes_def.txt");
    choose(copy);
    trigger("actionSave_As");
    const QByteArray expected = R"({
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
    "module_name": "settings_files",
    "part_number": "P2",
    "revision": "$Revision: $"
}
)";
    const QByteArray whole = QString::fromUtf8(expected).arg(m_generator).toUtf8();
    QCOMPARE(read(copy), whole);
    QCOMPARE(QSettings().value("sessionLocations").toStringList().first(), copy);

    // Opening and saving without a change gives the same bytes; closing asks nothing.
    openFile(copy);
    QFile::remove(copy);
    trigger("actionSave");
    QCOMPARE(read(copy), whole);
    mode(0)->findChild<QSpinBox *>("gain")->setValue(5);
    trigger("actionSave");
    QVERIFY(read(copy).contains("\"value\": 5"));

    // The recent list asks nothing either, and replaces the session.
    mode(0)->findChild<QSpinBox *>("gain")->setValue(6);
    const QMenu *const recent =
        m_window->findChild<QMenu *>("menuSession")->actions().first()->menu();
    QCOMPARE(recent->title(), QString("Recent Session Files"));
    QCOMPARE(recent->actions().first()->text(), QString("copy_modes_def.txt"));
    recent->actions().first()->trigger();
    QCOMPARE(titles(), (QStringList{"P2_gain5", "P2_gain3"}));
}

void tst_SessionCommands::examples_data()
{
    QTest::addColumn<QStringList>("titles");
    QTest::newRow("kg1200") << QStringList{"KG1200M_1280x1024_60fps_12bit",
                                           "KG1200M_640x480_150fps_10bit",
                                           "KG1200M_640x480_60fps_8bit",
                                           "KG1200M_1280x1024_390fps_12bit"};
    QTest::newRow("kh4000") << QStringList{"KH4000_1920x1080_30fps_hdr3_12bit",
                                           "KH4000_1920x1080_60fps_linear_10bit",
                                           "KH4000_1280x720_30fps_hdr2_12bit"};
    QTest::newRow("pico") << QStringList{"PICO1_30p0fps_250lines_gain1_flip0",
                                         "PICO1_12p5fps_600lines_gain4_flip0",
                                         "PICO1_30p0fps_158lines_gain8_flip1"};
}

// The sessions that come with the program open, and are as the program saves them.
void tst_SessionCommands::examples()
{
    const QString work = QDir::currentPath();
    QVERIFY(QDir::setCurrent(EXAMPLES_DIR "/.."));
    const QString name = QString(QTest::currentDataTag()) + "_modes_def.txt";
    openFile(QDir::current().filePath("examples/" + name));
    QTEST(titles(), "titles");
    choose(m_folder->path(name));
    trigger("actionSave_As");
    QCOMPARE(read(m_folder->path(name)), read(EXAMPLES_DIR "/" + name));
    QDir::setCurrent(work);
}

void tst_SessionCommands::saveAsWithoutSessionDoesNothing()
{
    for (const char *const action :
         {"actionSave_As", "actionSave", "actionIni_File", "actionJson", "actionShared_Settings"})
        trigger(action);
    // A file name without a session: opening stopped half-way.
    const QByteArray text = "{\"module_local_path\": \"" + m_generator.toUtf8() + "\"}";
    const QString file = m_folder->write("empty.txt", text);
    choose(file);
    expectWarning("Tarnwick - Session file", "No parameters in the session file.");
    trigger("actionOpen");
    trigger("actionSave");
    QCOMPARE(read(file), text);
}

void tst_SessionCommands::openingFails_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("warning");
    const QString nowhere = "Couldn't find Python module\n\n";
    QTest::newRow("empty") << QByteArray() << nowhere;
    QTest::newRow("binary") << QByteArray("\0\xff\xfe\x01", 4) << nowhere;
    QTest::newRow("array") << QByteArray("[1]") << nowhere;
    QTest::newRow("200 levels deep") << QByteArray(200, '[') + QByteArray(200, ']') << nowhere;
    QTest::newRow("a folder for a generator")
        << QByteArray(R"({"all_parameters": [{}], "module_local_path": "/"})") << nowhere + "/";
    QTest::newRow("wrong types") << QByteArray(
        R"({"all_parameters": 1, "module_local_path": [], "module_name": {}})")
                                 << nowhere;
    QTest::newRow("no parameters")
        << QByteArray(R"({"all_parameters": [], "module_local_path": "%1"})")
        << "No parameters in the session file.";
    QTest::newRow("part number that is code")
        << QByteArray(R"({"all_parameters": [{}], "module_local_path": "%1",
                          "part_number": "');print('ran');str('"})")
        << "The part number cannot be used, because it would end its Python text literal: "
           "');print('ran');str('";
    QTest::newRow("module name that is code")
        << QByteArray(R"({"all_parameters": [{}], "module_local_path": "%2",
                          "part_number": "P1"})")
        << "The generator cannot be used, because its module name is no Python identifier: "
           "settings_x or print('ran')";
}

// The user sees why, nothing of the file runs, and the open session stays.
void tst_SessionCommands::openingFails()
{
    QFETCH(QByteArray, text);
    QFETCH(const QString, warning);
    const QString crafted =
        m_folder->write("settings_x or print('ran').py", GeneratorFolder::source());
    openFile(sessionFile("[{}]", m_generator, "P1"));
    text.replace("%1", m_generator.toUtf8()).replace("%2", crafted.toUtf8());
    choose(m_folder->write("faulty.txt", text));
    expectWarning("Tarnwick - Session file", warning);
    if (warning.startsWith("Couldn't find"))
        m_driver->expect([](QDialog *chooser) { chooser->reject(); });
    trigger("actionOpen");
    QCOMPARE(titles(), QStringList{"P1_gain3"});
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
    const QString file = sessionFile(twoModes, "/nowhere/settings_files.py", "P1");
    QSettings().setValue("pyLocations",
                         QStringList{"/other", remembered ? m_folder->path() : QString("/no")});
    choose(file);
    if (!remembered) {
        expectWarning("Tarnwick - Session file",
                      "Couldn't find Python module\n\n/nowhere/settings_files.py");
        m_driver->expect([this](QDialog *chooser) {
            QCOMPARE(chooser->windowTitle(), QString("Select a Folder with settings_files.py"));
            ModalDriver::choose(chooser, m_folder->path());
        });
    }
    trigger("actionOpen");
    QCOMPARE(titles(), (QStringList{"P1_gain4", "P1_gain3"}));
    QCOMPARE(QSettings().value("pyLocations").toStringList().contains(m_generator), !remembered);
}

void tst_SessionCommands::strangeValuesAreFitted()
{
    openFile(sessionFile(R"([{"gain": {"value": 400}, "gone": {"value": 1}},
                             {"gain": {"value": "7"}, "mode": {"value": "unknown"}},
                             {"gain": 7}])",
                         m_generator,
                         "P1"));
    QCOMPARE(titles(), (QStringList{"P1_gain15", "P1_gain7", "P1_gain3"}));
}

void tst_SessionCommands::brokenGeneratorOpensEmptyModes()
{
    const QString broken = m_folder->write("settings_broken.py", "raise RuntimeError('broken')\n");
    openFile(sessionFile(R"([{"gain": {"value": 4}}, 17, null])", broken, "P1"));
    QCOMPARE(titles(), (QStringList{"Untitled Mode", "Untitled Mode", "Untitled Mode"}));
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
    QVERIFY(QDir(m_folder->path()).mkpath("folder"));
    openFile(sessionFile("[{}]", m_generator, "P1"));
    const QString path = QDir(m_folder->path()).filePath(target);
    // The chooser refuses a folder or a missing one itself, so the name comes from a rename.
    const QString file = m_folder->path("session.txt");
    const QString moved = m_folder->path("moved.txt");
    if (target == "folder") {
        QVERIFY(QFile::rename(file, moved));
        QVERIFY(QDir().mkdir(file));
    } else {
        QVERIFY(QFile::rename(file, moved));
        QVERIFY(QFile::link(path, file));
    }
    expectWarning("Tarnwick - Session file", "Couldn't write the session file.\n\n" + file);
    trigger("actionSave");
    QVERIFY(QFile::exists(moved));
    QCOMPARE(titles(), QStringList{"P1_gain3"});
    QCOMPARE(QSettings().value("recentSessionList").toStringList().first(), file);
    QVERIFY(m_window->close());
}

void tst_SessionCommands::openedWhileAGeneratorPrints()
{
    const QString file = sessionFile(twoModes, m_generator, "P2");
    openFile(file);
    m_folder->write("settings_talk.py", GeneratorFolder::source("print('talking')"));
    openFile(sessionFile("[{}]", m_folder->path("settings_talk.py"), "P1"));
    sessionFile(twoModes, m_generator, "P2");
    const QAction *const recent =
        m_window->findChild<QMenu *>("menuSession")->actions().first()->menu()->actions().first();
    ConsoleDouble::once([recent] { const_cast<QAction *>(recent)->trigger(); });
    QTest::mouseClick(mode(0)->findChild<QCheckBox *>("gain_check"), Qt::LeftButton);
    QCOMPARE(titles(), (QStringList{"P2_gain4", "P2_gain3"}));
    QTRY_COMPARE(m_window->findChildren<SessionWindow *>().size(), 2);
}

void tst_SessionCommands::exports()
{
    m_folder->write("settings_files.py",
                    GeneratorFolder::source("if gain == 7: raise ValueError('seven')"));
    openFile(sessionFile(R"([{"gain": {"value": 4}}, {"gain": {"value": 7}}])", m_generator, "P1"));
    const QVariantList results{mode(0)->results(), mode(1)->results()};
    QCOMPARE(results.last(), QVariant(QVariantMap()));
    const ModesWriter writer(results);

    const QString ini = m_folder->path("out.ini");
    m_driver->expect([ini](QDialog *chooser) {
        auto *const files = qobject_cast<QFileDialog *>(chooser);
        QCOMPARE(files->windowTitle(), QString("Select a Sensor INI file"));
        QCOMPARE(files->nameFilters(),
                 (QStringList{"Initialization file (*.ini)", "All Files (*.*)"}));
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

void tst_SessionCommands::companionName_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("companion");
    QTest::newRow("upper case suffix") << "x_initializer.PY"
                                       << "x_initializer.ini";
    QTest::newRow("no suffix") << "x_initializer"
                               << "x_initializer.ini";
    QTest::newRow("other suffix") << "x.txt"
                                  << "x.txt.ini";
    QTest::newRow("suffix in the folder") << "a.python/b.py"
                                          << "a.python/b.ini";
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

TARNWICK_TEST_MAIN(tst_SessionCommands)
#include "tst_sessioncommands.moc"
