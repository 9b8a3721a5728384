// SPDX-License-Identifier: MIT
#include "support/madeupmachine.h"
#include "support/recordingconsole.h"
#include "support/table.h"

/// The wrapper without an interpreter.
class tst_MissingLibrary : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyOperationAnswers_data();
    void everyOperationAnswers();
};

void tst_MissingLibrary::everyOperationAnswers_data()
{
    QTest::addColumn<QString>("lacking");
    for (const char *name :
         {"", "PyArg_ParseTuple", "Py_SetProgramName", "_Py_FalseStruct", "PyExc_ValueError"})
        QTest::newRow(*name ? name : "no library") << QString(name);
}

void tst_MissingLibrary::everyOperationAnswers()
{
    QFETCH(QString, lacking);
    MadeUpMachine machine;
    if (!lacking.isEmpty()) {
        machine.keys["LM Software\\Python\\PythonCore\\3.8\\InstallPath\\"] = "C:\\a";
        machine.libraries["C:\\a\\python3.dll"] = lacking;
    }
    PythonModule python(machine);
    python.initialize(L"tst_missinglibrary");
    RecordingConsole::install();
    QCOMPARE(machine.kept.isEmpty(), lacking.isEmpty());
    QVERIFY(!CPython::isLoaded());
    QVERIFY(!CPython::isRunning());
    QCOMPARE(CPython::versionString(), "");
    QCOMPARE(CPython::execute("1"), -2);
    QCOMPARE(CPython::execute(nullptr), -2);
    QCOMPARE(python.runCode("1", nullptr), -2);
    QCOMPARE(CPython::runStatement("1\n"), -2);
    QCOMPARE(CPython::evaluate("1"), std::string());
    QCOMPARE(CPython::addSysPath("/a"), -1);
    QCOMPARE(CPython::addSysPath(""), -1);
    QVERIFY(!CPython::importOrReload("sys"));
    CPython::reportError("nobody hears this");
    QCOMPARE(RecordingConsole::chunks, Chunks());
}

QTEST_GUILESS_MAIN(tst_MissingLibrary)
#include "tst_missinglibrary.moc"
