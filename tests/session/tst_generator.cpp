// SPDX-License-Identifier: MIT
#include "session/generator.h"
#include "session/session.h"
#include "support/consoledouble.h"
#include "support/generatorfolder.h"
#include "support/testmain.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

class tst_Generator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void folderScan();
    void partNumbersOfOddKinds_data();
    void partNumbersOfOddKinds();
    void sessionFields();
    void groupListOnlyFromTheClassItself_data();
    void groupListOnlyFromTheClassItself();
    void valuesReachPython_data();
    void valuesReachPython();
    void failingStatementKeepsPreviousValues();
    void faultyGenerator_data();
    void faultyGenerator();
    void textThatWouldBecomeCode_data();
    void textThatWouldBecomeCode();
    void secondEditWithinASecondRuns();
    void loadAfterDeletionChangesNothing();
    void otherDirectoryAndLocale();
    void loadInsideALoad();

private:
    QString loadText(const QByteArray &source);

    PythonModule m_python;
    ConsoleDouble m_console;
    GeneratorFolder m_folder;
    int m_modules = 0;
};

void tst_Generator::initTestCase()
{
    m_python.initialize(L"tst_generator");
    QVERIFY2(PythonModule::isLoaded(), "these tests need a Python 3 library");
}

void tst_Generator::init()
{
    ConsoleDouble::output.clear();
    ConsoleDouble::errors.clear();
    ConsoleDouble::onChunk = nullptr;
}

/// Writes a module under a name not used before.
QString tst_Generator::loadText(const QByteArray &source)
{
    return m_folder.write(QString("settings_m%1.py").arg(++m_modules), source);
}

void tst_Generator::folderScan()
{
    const GeneratorFolder folder;
    const QString a =
        folder.write("settings_a.py", "class Settings:\n part_numbers = ['P2', 'P1']\n");
    const QString b =
        folder.write("settings_B.py", "class Settings:\n part_numbers = ['P1', 'A10', 'A9']\n");
    const QString upper =
        folder.write("SETTINGS_upper.py", "class Settings:\n part_numbers = ['U']\n");
    folder.write("settings_broken.py", "class Settings:\n part_numbers = nonsense\n");
    folder.write("other.py", "class Settings:\n part_numbers = ['X']\n");
    const QMap<QString, QString> expected{
        {"A10", b}, {"A9", b}, {"P1", a}, {"P2", a}, {"U", upper}};
    QCOMPARE(generator::findPartNumbers(folder.path()), expected);
    QVERIFY(ConsoleDouble::errors.contains("NameError"));
    QCOMPARE(generator::findPartNumbers(a), (QMap<QString, QString>{{"P1", a}, {"P2", a}}));
    QCOMPARE(generator::findPartNumbers(folder.path("missing.py")).size(), 0);
    QVERIFY(!QDir(folder.path("__pycache__")).exists());
}

void tst_Generator::partNumbersOfOddKinds_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("numbers") << QByteArray("[1000000, 2.5]") << QStringList{"1000000", "2.5"};
    QTest::newRow("tuple") << QByteArray("('T',)") << QStringList{"T"};
    QTest::newRow("property") << QByteArray("property(lambda self: ['Q'])") << QStringList{"Q"};
    QTest::newRow("text") << QByteArray("'P1'") << QStringList();
    QTest::newRow("null element") << QByteArray("[None]") << QStringList{""};
    QTest::newRow("not serialisable") << QByteArray("[object()]") << QStringList();
    QTest::newRow("not a number") << QByteArray("[float('nan')]") << QStringList();
}

void tst_Generator::partNumbersOfOddKinds()
{
    QFETCH(const QByteArray, value);
    const Session session(loadText("class Settings:\n part_numbers = " + value + "\n"), "P");
    QTEST(session.partNumbers(), "expected");
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
    QCOMPARE(session.parameterGroupList(), QVariantMap());

    const Session missing(m_folder.path("settings_gone.py"), "B");
    QCOMPARE(missing.moduleName(), QString());
    QCOMPARE(missing.partNumber(), QString("B"));
    QCOMPARE(missing.generate({}), QVariantMap());
    QCOMPARE(ConsoleDouble::errors, QString());
}

void tst_Generator::groupListOnlyFromTheClassItself_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<bool>("seen");
    const QByteArray method = " def parameter_group_list(self, part): return {'g': {}}\n";
    QTest::newRow("own") << "class Settings:\n" + method << true;
    QTest::newRow("inherited") << "class Base:\n" + method + "class Settings(Base): pass\n"
                               << false;
    QTest::newRow("none") << QByteArray("class Settings: pass\n") << false;
    QTest::newRow("list") << QByteArray(
        "class Settings:\n def parameter_group_list(self, part): return ['g']\n")
                          << false;
}

void tst_Generator::groupListOnlyFromTheClassItself()
{
    QFETCH(const QByteArray, source);
    QFETCH(const bool, seen);
    const Session session(loadText(source), "P");
    QCOMPARE(session.parameterGroupList().contains("g"), seen);
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
    const Session session(
        loadText("class Settings:\n def generate(self, part, parameters):\n"
                 "  return {'name': repr(parameters['p']['value']), 'part': part}\n"),
        "Ä1");
    const QVariantMap result = session.generate({{"p", QVariantMap{{"value", value}}}});
    QTEST(result.value("name").toString(), "expected");
    QCOMPARE(result.value("part").toString(), QString("Ä1"));
}

void tst_Generator::failingStatementKeepsPreviousValues()
{
    const Session session(loadText("class Settings:\n def generate(self, part, parameters):\n"
                                   "  return {'name': str(parameters)}\n"),
                          "P");
    QCOMPARE(session.generate({}).value("name").toString(), QString("{}"));
    // JSON's escape of the quote is taken as one of the Python literal, so that the text breaks.
    const QVariantMap breaking{{"p", QVariantMap{{"value", "a\"b"}}}};
    QCOMPARE(session.generate(breaking).value("name").toString(), QString("{}"));
    QVERIFY2(ConsoleDouble::errors.contains("File \"Tarnwick\", line 1"),
             qPrintable(ConsoleDouble::errors));
    const QVariantMap closing{{"p", QVariantMap{{"value", "''');print('ran');('''"}}}};
    QCOMPARE(session.generate(closing).value("name").toString(), QString("{}"));
    QCOMPARE(ConsoleDouble::output, QString());
}

void tst_Generator::faultyGenerator_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QString>("error");
    const auto generate = [](const QByteArray &body) {
        return "import sys\nclass Settings:\n def generate(self, part, parameters):\n  " + body
            + "\n";
    };
    QTest::newRow("does not import") << QByteArray("1/0\n") << "ZeroDivisionError";
    QTest::newRow("syntax error") << QByteArray("class Settings\n") << "SyntaxError";
    QTest::newRow("exits on import") << QByteArray("import sys; sys.exit(4)\n") << "SystemExit: 4";
    QTest::newRow("without Settings") << QByteArray("pass\n") << "AttributeError";
    QTest::newRow("constructor raises")
        << QByteArray("class Settings:\n def __init__(self): raise KeyError('init')\n") << "init";
    QTest::newRow("generate raises") << generate("raise OSError('broken')") << "broken";
    QTest::newRow("exits") << generate("sys.exit('leaving')") << "SystemExit: leaving";
    QTest::newRow("wrong type") << generate("return ['list']") << "";
    QTest::newRow("not a number") << generate("return {'name': float('nan')}") << "";
    QTest::newRow("recursion") << generate("return self.generate(part, parameters)")
                               << "RecursionError";
    QTest::newRow("too deep") << generate(
        "x = {}\n  for i in range(2000): x = {'k': x}\n  return x")
                              << "";
    QTest::newRow("lone surrogate on stderr")
        << generate("raise ValueError('\\ud800\\0')") << "ValueError: \\ud800\\x00";
}

void tst_Generator::faultyGenerator()
{
    QFETCH(const QByteArray, source);
    QFETCH(const QString, error);
    const Session session(loadText(source), "P");
    QCOMPARE(session.parameterList(), QVariantMap());
    QCOMPARE(session.generate({}), QVariantMap());
    QVERIFY2(ConsoleDouble::errors.contains(error), qPrintable(ConsoleDouble::errors));
    const Session sound(loadText(GeneratorFolder::source()), "P1");
    QCOMPARE(sound.generate({}).value("name").toString(), QString("P1_gain3"));
}

void tst_Generator::textThatWouldBecomeCode_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("partNumber");
    QTest::newRow("part with an apostrophe") << ""
                                             << "settings_inj1.py"
                                             << "P')+print('ran')+str('";
    QTest::newRow("part with a line break") << ""
                                            << "settings_inj2.py"
                                            << "P\n')";
    QTest::newRow("part that escapes its end") << ""
                                               << "settings_inj3.py"
                                               << "P\\";
    QTest::newRow("module name") << ""
                                 << "settings_x or print('ran').py"
                                 << "P1";
    QTest::newRow("folder") << "a'+print('ran')+'b"
                            << "settings_inj5.py"
                            << "P1";
}

void tst_Generator::textThatWouldBecomeCode()
{
    QFETCH(const QString, folder);
    QFETCH(const QString, fileName);
    QFETCH(const QString, partNumber);
    QVERIFY(QDir(m_folder.path()).mkpath("./" + folder));
    const QString path = m_folder.write("./" + folder + "/" + fileName, GeneratorFolder::source());
    const Session session(path, partNumber);
    QCOMPARE(session.parameterList(), QVariantMap());
    QCOMPARE(session.generate({}), QVariantMap());
    QCOMPARE(ConsoleDouble::output, QString());
    QVERIFY2(ConsoleDouble::errors.contains("ValueError: The "), qPrintable(ConsoleDouble::errors));
    // An even number of backslashes leaves the literal's end alone.
    QVERIFY(!Session(loadText(GeneratorFolder::source()), "P\\\\").parameterList().isEmpty());
}

void tst_Generator::secondEditWithinASecondRuns()
{
    const QString path = loadText("class Settings:\n part_numbers = ['A1']\n");
    Session session(path, "");
    for (const char *const part : {"A2", "A3", "A4"}) {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("class Settings:\n part_numbers = ['" + QByteArray(part) + "']\n");
        file.close();
        session.load();
        QCOMPARE(session.partNumbers(), QStringList{part});
    }
    QCOMPARE(session.partNumber(), QString("A1"));
    QVERIFY(!QDir(m_folder.path("__pycache__")).exists());
}

void tst_Generator::loadAfterDeletionChangesNothing()
{
    const QString path = loadText(GeneratorFolder::source());
    Session session(path, "P2");
    const QVariantMap before = session.parameterList();
    QCOMPARE(before.keys(), (QStringList{"gain", "mode"}));
    QVERIFY(QFile::remove(path));
    session.load();
    QCOMPARE(session.parameterList(), before);
    QCOMPARE(session.partNumbers(), (QStringList{"P1", "P2"}));
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
    QCOMPARE(session.generate({}).value("name").toString(), QString("P1_gain3"));
    QCOMPARE(QDir::currentPath(), QString("/"));
    session.load();
    QCOMPARE(session.partNumbers(), (QStringList{"P1", "P2"}));
    QCOMPARE(session.modulePath(), QString("settings_moves.py"));
    CPython::execute("sys.stdout = tarnwick.Console(0)");
    QDir::setCurrent(previous);
}

// The descriptors are those of the load that was started last.
void tst_Generator::loadInsideALoad()
{
    const QString path = loadText(
        "import itertools\nloads = globals().get('loads', itertools.count())\nload = next(loads)\n"
        "class Settings:\n part_numbers = ['P']\n"
        " def parameter_list(self, part):\n  print('loading')\n  return {'load%d' % load: {}}\n");
    Session session(path, "P");
    QCOMPARE(session.parameterList().keys(), QStringList{"load0"});
    ConsoleDouble::once([&] { session.load(); });
    session.load();
    QCOMPARE(session.parameterList().keys(), QStringList{"load2"});
}

TARNWICK_TEST_MAIN(tst_Generator)
#include "tst_generator.moc"
