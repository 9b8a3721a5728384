// SPDX-License-Identifier: MIT
#include "support/recordingconsole.h"
#include "support/table.h"

#include <QProcess>

#include <memory>
#include <thread>

/// The interpreter while it runs.
class tst_Interpreter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void start();
    void operations_data() { loadTable("python/operations"); }
    void operations();
    void editedModule();
    void staleByteCode();
    void nestedRuns();
    void otherThread();
    void secondWrapper();
    void timeLimit_data() { loadTable("python/timelimit"); }
    void timeLimit();
    void stopEndsAPrintingLoop();

private:
    bool write(const QString &fileName, const QByteArray &text);

    QTemporaryDir m_folder;
    std::unique_ptr<PythonModule> m_python = std::make_unique<PythonModule>();
};

static QString value(const QByteArray &expression)
{
    return QString::fromStdString(
        CPython::evaluate(expression.isNull() ? nullptr : expression.constData()));
}

void tst_Interpreter::initTestCase()
{
    QVERIFY(m_folder.isValid());
    m_python->initialize(L"tst_interpreter");
    QVERIFY2(CPython::isLoaded(), "these tests need a Python 3 library");
    RecordingConsole::install();
}

void tst_Interpreter::cleanup()
{
    CPython::execute("import sys\n"
                     "sys.excepthook = sys.__excepthook__\n"
                     "if 'firstPath' not in globals(): firstPath = sys.path\n"
                     "sys.path = list(firstPath)\n");
    RecordingConsole::clear();
    QVERIFY(!CPython::isRunning());
}

void tst_Interpreter::cleanupTestCase()
{
    m_python.reset();
    QVERIFY(!CPython::isLoaded());
    QCOMPARE(CPython::execute("print(1)"), -2);
}

void tst_Interpreter::start()
{
    QCOMPARE(value("[name for name in globals() if not name.startswith('__')]"),
             "['sys', 'tarnwick', 'json']");
    QCOMPARE(value("sys.argv"), "['']");
    QCOMPARE(value("sys.version.split()[0]"), CPython::versionString());
    QCOMPARE(CPython::addSysPath(m_folder.path().toUtf8()), 0);
    QCOMPARE(value("sys.path[0]"), m_folder.path());
}

/// The result of an operation as text.
static QString resultOf(const QString &operation, const char *text)
{
    if (operation == "execute")
        return QString::number(CPython::execute(text));
    if (operation == "runCode")
        return QString::number(PythonModule().runCode(text, "a"));
    if (operation == "line")
        return QString::number(CPython::runStatement(text));
    if (operation == "value")
        return value(text);
    if (operation == "path") {
        const QString result = QString::number(CPython::addSysPath(text));
        return result + ' ' + value("(getattr(__import__('sys'), 'path', None) or [''])[0]");
    }
    if (operation == "import") {
        const QString result = CPython::importOrReload(text) ? "true" : "false";
        const QByteArray name = "'" + QByteArray(text) + "'";
        return result + value("' imported' if sys.modules.get(" + name + ") else ''")
            + value("' bound' if " + name + " in globals() else ''");
    }
    CPython::reportError(text);
    return QString();
}

void tst_Interpreter::operations()
{
    QFETCH(QString, preparation);
    QFETCH(QString, operation);
    QFETCH(QString, text);
    QFETCH(QString, printed);
    QCOMPARE(CPython::execute(preparation.toUtf8()), 0);
    const QByteArray bytes = text.toUtf8();
    QFETCH(QString, result);
    QCOMPARE(resultOf(operation, bytes == "<null>" ? nullptr : bytes.constData()).trimmed(),
             result.trimmed());
    const QString all = RecordingConsole::text(0) + RecordingConsole::text(1);
    QVERIFY2(all.contains(printed), qPrintable(all));
    QCOMPARE(all.isEmpty(), printed.isEmpty());
}

/// Writes a file of the test's folder. All versions of one size look alike to a byte-code cache.
bool tst_Interpreter::write(const QString &fileName, const QByteArray &text)
{
    QFile file(m_folder.filePath(fileName));
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush()
        && file.setFileTime(QDateTime(QDate(2020, 2, 2), QTime(2, 2)), QFile::FileModificationTime);
}

void tst_Interpreter::editedModule()
{
    QVERIFY(write("m_edited.py", "x = 1"));
    QVERIFY(CPython::importOrReload("m_edited"));
    QVERIFY(write("m_edited.py", "x = 2"));
    QVERIFY(CPython::importOrReload("m_edited"));
    QCOMPARE(value("m_edited.x"), "2");
    QVERIFY(!QFile::exists(m_folder.filePath("__pycache__")));

    QVERIFY(write("m_edited.py", "x = 3; quit()"));
    QVERIFY(!CPython::importOrReload("m_edited"));
    QVERIFY(RecordingConsole::text(1).contains("SystemExit"));
    QCOMPARE(value("m_edited.x"), "3");
    QVERIFY(QFile::remove(m_folder.filePath("m_edited.py")));
    QVERIFY(!CPython::importOrReload("m_edited"));

    // A script may take its module away after it was imported.
    QVERIFY(write("m_edited.py", "x = 4"));
    QCOMPARE(CPython::execute("del sys.modules['m_edited']"), 0);
    QVERIFY(CPython::importOrReload("m_edited"));
    QCOMPARE(value("m_edited.x"), "4");
}

/// Byte code that the user's own Python left beside the files.
void tst_Interpreter::staleByteCode()
{
    const QString python = value("sys.executable");
    QVERIFY(QDir(m_folder.path()).mkpath("other"));
    for (const char *file : {"m_stale.py", "other/m_stale.py"}) {
        QVERIFY(write(file, "x = 1"));
        QCOMPARE(QProcess::execute(python, {"-m", "py_compile", m_folder.filePath(file)}), 0);
        QVERIFY(write(file, "x = 2"));
    }
    QVERIFY(CPython::importOrReload("m_stale"));
    QCOMPARE(value("m_stale.x"), "2");

    // Another folder's file of that name takes over.
    QVERIFY(write("other/m_stale.py", "x = 3"));
    QCOMPARE(CPython::addSysPath(m_folder.filePath("other").toUtf8()), 0);
    QVERIFY(CPython::importOrReload("m_stale"));
    QCOMPARE(value("m_stale.x"), "3");
}

void tst_Interpreter::nestedRuns()
{
    QString inner;
    RecordingConsole::onWrite = [&inner] {
        RecordingConsole::onWrite = nullptr;
        QVERIFY(CPython::isRunning());
        inner = value("[print('inner'), 6*7][1]");
        QCOMPARE(CPython::execute("undefined"), -1);
        QVERIFY(CPython::importOrReload("m_fine"));
        QVERIFY(CPython::isRunning());
    };
    QCOMPARE(CPython::execute("try:\n"
                              "    1/0\n"
                              "except ZeroDivisionError:\n"
                              "    print('a', 'b')\n"
                              "    raise\n"),
             -1);
    QCOMPARE(inner, "42");
    QCOMPARE(RecordingConsole::text(0), "ainner\n b\n");
    QCOMPARE(RecordingConsole::text(1).count("NameError: "), 1);
    QVERIFY(RecordingConsole::text(1).endsWith("ZeroDivisionError: division by zero\n"));
}

void tst_Interpreter::otherThread()
{
    bool running = true;
    RecordingConsole::onWrite = [&running] { running = CPython::isRunning(); };
    std::thread([] { CPython::execute("print(1)"); }).join();
    QCOMPARE(RecordingConsole::text(0), "1\n");
    QVERIFY(!running);
}

void tst_Interpreter::secondWrapper()
{
    auto second = std::make_unique<PythonModule>();
    second->initialize(L"second");
    m_python.swap(second);
    second.reset();
    QVERIFY(CPython::isLoaded());
    QCOMPARE(value("type(sys.stdout).__name__"), "Console");
}

/// A wrapper that is asked whether a run may take longer.
class AskedModule final : public PythonModule
{
public:
    explicit AskedModule(bool answer)
        : m_answer(answer)
    {
    }
    bool continueRunning() override
    {
        ++asked;
        return m_answer;
    }
    std::atomic<int> asked{0};

private:
    const bool m_answer;
};

void tst_Interpreter::timeLimit()
{
    QFETCH(QString, limit);
    QFETCH(QString, mayContinue);
    QFETCH(QString, code);
    AskedModule module(mayContinue == "yes");
    CPython::setExecutionTimeLimit(limit.toInt());
    RecordingConsole::onWrite = [] { CPython::setExecutionTimeLimit(0); };
    const int status = module.runCode(code.toUtf8(), nullptr);
    CPython::setExecutionTimeLimit(0);
    const QString error = RecordingConsole::text(1).section('\n', -2, -2);
    QTEST(QStringLiteral("%1 %2 %3").arg(status).arg(module.asked).arg(error).trimmed(), "outcome");
    // A late interruption would hit this one.
    QCOMPARE(value("sum(range(100000)) and 1"), "1");
}

/// The last one: the request holds until the interpreter is shut down.
void tst_Interpreter::stopEndsAPrintingLoop()
{
    RecordingConsole::onWrite = [] {
        if (RecordingConsole::chunks.size() == 5)
            CPython::requestStop();
    };
    QCOMPARE(CPython::execute("unseen = []\n"
                              "sys.excepthook = lambda *error: unseen.append(error)\n"
                              "while True:\n"
                              "    try: print(1)\n"
                              "    except Exception: pass\n"),
             -1);
    QCOMPARE(RecordingConsole::chunks.size(), 5);
    QCOMPARE(CPython::execute("input()"), -1);
    QCOMPARE(value("unseen"), "[]");
}

QTEST_GUILESS_MAIN(tst_Interpreter)
#include "tst_interpreter.moc"
