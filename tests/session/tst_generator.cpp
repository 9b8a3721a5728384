// SPDX-License-Identifier: MIT
#include "session/generator.h"
#include "session/session.h"
#include "support/generatorfolder.h"
#include "support/recordingconsole.h"
#include "support/table.h"

#include <QDir>

class tst_Generator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { RecordingConsole::clear(); }
    void folderScan();
    void loading_data() { loadTable("session/sources"); }
    void loading();
    void sessionFields();
    void valuesReachPython_data();
    void valuesReachPython();
    void failingStatementKeepsPreviousValues();
    void faultyGenerator_data() { loadTable("session/generators"); }
    void faultyGenerator();
    void textThatWouldBecomeCode_data() { loadTable("session/code"); }
    void textThatWouldBecomeCode();
    void editsAndDeletion();
    void otherDirectoryAndLocale();
    void loadInsideALoad();

private:
    /// Writes a module under a name not used before.
    QString write(const QByteArray &source)
    {
        return m_folder.write(QString("settings_m%1.py").arg(++m_modules), source);
    }
    static QString nameFrom(const Session &session, const QVariant &value = {})
    {
        return session.generate({{"p", QVariantMap{{"value", value}}}}).value("name").toString();
    }

    PythonModule m_python;
    GeneratorFolder m_folder;
    int m_modules = 0;
};

void tst_Generator::initTestCase()
{
    m_python.initialize(L"tst_generator");
    QVERIFY2(PythonModule::isLoaded(), "these tests need a Python 3 library");
    RecordingConsole::install();
}

void tst_Generator::folderScan()
{
    const GeneratorFolder folder;
    const auto add = [&folder](const char *name, const QByteArray &parts) {
        return folder.write(name, "class Settings:\n part_numbers = " + parts + "\n");
    };
    const QString a = add("settings_a.py", "['P2', 'P1']");
    const QString b = add("settings_B.py", "['P1', 'A10', 'A9']");
    const QString upper = add("SETTINGS_upper.py", "['U']");
    add("settings_broken.py", "nonsense");
    add("other.py", "['X']");
    const QMap<QString, QString> expected{
        {"A10", b}, {"A9", b}, {"P1", a}, {"P2", a}, {"U", upper}};
    QCOMPARE(generator::findPartNumbers(folder.path()), expected);
    QVERIFY(RecordingConsole::text(1).contains("NameError"));
    QCOMPARE(generator::findPartNumbers(a), (QMap<QString, QString>{{"P1", a}, {"P2", a}}));
    QCOMPARE(generator::findPartNumbers(folder.path("missing.py")).size(), 0);
    QVERIFY(!QDir(folder.path("__pycache__")).exists());
}

void tst_Generator::loading()
{
    QFETCH(const QString, source);
    QFETCH(const QString, expression);
    const Session session(write(source.toUtf8() + '\n'), "P");
    const QStringList found =
        expression == "parts" ? session.partNumbers() : session.parameterGroupList().keys();
    QTEST(found.join(", "), "expected");
    QCOMPARE(session.partNumber(), QString("P"));
}

void tst_Generator::sessionFields()
{
    const QString path = m_folder.write("settings_ab.v2.py", "");
    // The base name ends at the first dot, so another module is imported: the one of that name.
    m_folder.write("settings_ab.py",
                   "class Settings:\n part_numbers = ['B', 'A']\n"
                   " def parameter_list(self, part): return {part: {}}\n");
    const Session session(path, "");
    QCOMPARE(session.modulePath(), path);
    QCOMPARE(session.moduleName(), QString("settings_ab"));
    QCOMPARE(session.partNumber(), QString("B"));
    QCOMPARE(session.parameterList().keys(), QStringList{"B"});

    const Session missing(m_folder.path("settings_gone.py"), "B");
    QCOMPARE(missing.moduleName(), QString());
    QCOMPARE(missing.partNumber(), QString("B"));
    QCOMPARE(missing.generate({}), QVariantMap());
    QCOMPARE(RecordingConsole::text(1), QString());
}

void tst_Generator::valuesReachPython_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("expected");
    QTest::newRow("whole number") << QVariant(1000000) << "1000000";
    QTest::newRow("fraction") << QVariant(0.1) << "0.1";
    QTest::newRow("text") << QVariant("µ") << "'µ'";
    QTest::newRow("apostrophes") << QVariant("a''b") << "\"a''b\"";
    QTest::newRow("not set") << QVariant() << "None";
}

void tst_Generator::valuesReachPython()
{
    QFETCH(const QVariant, value);
    const Session session(write("class Settings:\n def generate(self, part, parameters):\n"
                                "  return {'name': repr(parameters['p']['value']) + part}\n"),
                          "Ä1");
    QFETCH(const QString, expected);
    QCOMPARE(nameFrom(session, value), expected + "Ä1");
}

void tst_Generator::failingStatementKeepsPreviousValues()
{
    const Session session(write("class Settings:\n def generate(self, part, parameters):\n"
                                "  return {'name': str(parameters['p']['value'])}\n"),
                          "P");
    QCOMPARE(nameFrom(session, 5), QString("5"));
    // JSON's escape of the quote is taken as one of the Python literal, so that the text breaks.
    QCOMPARE(nameFrom(session, "a\"b"), QString("5"));
    QVERIFY(RecordingConsole::text(1).contains("File \"Tarnwick\", line 1"));
    QCOMPARE(nameFrom(session, "''');print('ran');('''"), QString("5"));
    QCOMPARE(RecordingConsole::text(0), QString());
}

void tst_Generator::faultyGenerator()
{
    QFETCH(const QString, source);
    QFETCH(const QString, error);
    const Session session(write(source.toUtf8() + '\n'), "P");
    QCOMPARE(session.parameterList(), QVariantMap());
    QCOMPARE(session.generate({}), QVariantMap());
    QVERIFY2(RecordingConsole::text(1).contains(error), qPrintable(RecordingConsole::text(1)));
    QCOMPARE(nameFrom(Session(write(GeneratorFolder::source()), "P1")), QString("P1_gain3"));
}

void tst_Generator::textThatWouldBecomeCode()
{
    QFETCH(const QString, folder);
    QFETCH(const QString, file);
    QFETCH(const QString, part);
    QVERIFY(QDir(m_folder.path()).mkpath("./" + folder));
    const Session session(m_folder.write("./" + folder + "/" + file, GeneratorFolder::source()),
                          part);
    QCOMPARE(session.parameterList(), QVariantMap());
    QCOMPARE(session.generate({}), QVariantMap());
    QCOMPARE(RecordingConsole::text(0), QString());
    QVERIFY(RecordingConsole::text(1).contains("ValueError: The "));
    // An even number of backslashes leaves the literal's end alone.
    QVERIFY(!Session(write(GeneratorFolder::source()), "P\\\\").parameterList().isEmpty());
}

void tst_Generator::editsAndDeletion()
{
    const QString path = write("class Settings:\n part_numbers = ['A1']\n");
    Session session(path, "");
    // Within one second and of one length.
    for (const QString part : {"A2", "A3", "A4"}) {
        m_folder.write(QFileInfo(path).fileName(),
                       "class Settings:\n part_numbers = ['" + part.toUtf8() + "']\n");
        session.load();
        QCOMPARE(session.partNumbers(), QStringList{part});
    }
    QCOMPARE(session.partNumber(), QString("A1"));
    QVERIFY(!QDir(m_folder.path("__pycache__")).exists());
    QVERIFY(QFile::remove(path));
    session.load();
    QCOMPARE(session.partNumbers(), QStringList{"A4"});
}

void tst_Generator::otherDirectoryAndLocale()
{
    const QString previous = QDir::currentPath();
    QVERIFY(QDir::setCurrent(m_folder.path()));
    m_folder.write("settings_moves.py",
                   "import os, sys, locale\n"
                       + GeneratorFolder::source(
                           "os.chdir('/'); del sys.modules['settings_moves']; sys.stdout = None\n"
                           "        try: locale.setlocale(locale.LC_ALL, 'de_DE.UTF-8')\n"
                           "        except locale.Error: pass"));
    Session session("settings_moves.py", "P1");
    QCOMPARE(nameFrom(session), QString("P1_gain3"));
    QCOMPARE(QDir::currentPath(), QString("/"));
    session.load();
    QCOMPARE(session.partNumbers(), (QStringList{"P1", "P2"}));
    QCOMPARE(session.modulePath(), QString("settings_moves.py"));
    CPython::execute("sys.stdout = tarnwick.Console(0)");
    QDir::setCurrent(previous);
}

/// The descriptors are those of the load that was started last.
void tst_Generator::loadInsideALoad()
{
    Session session(write("import itertools\n"
                          "loads = globals().get('loads', itertools.count())\n"
                          "load = next(loads)\n"
                          "class Settings:\n part_numbers = ['P']\n"
                          " def parameter_list(self, part):\n"
                          "  print('loading')\n  return {'load%d' % load: {}}\n"),
                    "P");
    QCOMPARE(session.parameterList().keys(), QStringList{"load0"});
    RecordingConsole::onWrite = [&] {
        RecordingConsole::onWrite = nullptr;
        session.load();
    };
    session.load();
    QCOMPARE(session.parameterList().keys(), QStringList{"load2"});
}

QTEST_GUILESS_MAIN(tst_Generator)
#include "tst_generator.moc"
