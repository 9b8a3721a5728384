// SPDX-License-Identifier: MIT
#include "recordingconsole.h"

#include <QtTest>

namespace {

/// A machine with no Python library, or with one that lacks an export.
class IncompleteMachine final : public Platform
{
public:
    explicit IncompleteMachine(const QByteArray &missing)
        : m_missing(missing)
    {
    }

    Library loadedPython() override { return nullptr; }
    Library loadDefaultPython() override { return m_missing.isEmpty() ? nullptr : this; }
    void *findExport(Library, const char *name) override
    {
        return m_missing == name ? nullptr : this;
    }
    bool fileExists(const std::string &) override { return false; }
    std::optional<std::string> environmentVariable(const char *) override { return std::nullopt; }
    void setEnvironmentVariable(const char *, const std::optional<std::string> &) override { }
    void useUtf8Locale() override { }
    void ignoreWriteSignals() override { }
    long processId() override { return 1; }
    void writeToDescriptor(int, const char *, std::size_t) override { }
    void endProcess(int status) override { std::exit(status); }

private:
    const QByteArray m_missing;
};

} // namespace

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
    QTest::addColumn<QByteArray>("missing");
    QTest::newRow("no library") << QByteArray();
    QTest::newRow("first function") << QByteArray("PyArg_ParseTuple");
    QTest::newRow("last function") << QByteArray("Py_SetProgramName");
    QTest::newRow("singleton") << QByteArray("_Py_FalseStruct");
    QTest::newRow("error type") << QByteArray("PyExc_ValueError");
}

void tst_MissingLibrary::everyOperationAnswers()
{
    QFETCH(QByteArray, missing);
    IncompleteMachine machine(missing);
    PythonModule python(machine);
    python.initialize(L"tst_missinglibrary");
    RecordingConsole::install();
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
