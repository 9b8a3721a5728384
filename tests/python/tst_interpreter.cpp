// SPDX-License-Identifier: MIT
#include "recordingconsole.h"

#include <QProcess>
#include <QtTest>

#include <memory>
#include <thread>

/// One of the wrapper's operations on a text, with its result as text.
using Operation = QString (*)(const char *text);
Q_DECLARE_METATYPE(Operation)

/// The interpreter while it runs.
class tst_Interpreter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void start();
    void operations_data();
    void operations();
    void editedModule();
    void staleByteCode();
    void nestedRuns();
    void otherThread();
    void secondWrapper();
    void timeLimit_data();
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
    QCOMPARE(value("json.dumps({'a': [1.5, None]})"), R"({"a": [1.5, null]})");
    QCOMPARE(CPython::addSysPath(m_folder.path().toUtf8()), 0);
    QCOMPARE(value("sys.path[0]"), m_folder.path());
}

void tst_Interpreter::operations_data()
{
    QTest::addColumn<QByteArray>("preparation"); // code that runs first
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("printed"); // a part of it; empty for nothing
    QByteArray preparation;
    Operation operation = nullptr;
    const auto row = [&](const char *name,
                         const QByteArray &text,
                         const QString &result,
                         const QString &printed = {}) {
        QTest::newRow(name) << preparation << operation << text << result << printed;
    };

    operation = [](const char *text) { return QString::number(CPython::execute(text)); };
    row("statements", "x = 1\nx\nprint(x)", "0", "1\n");
    row("null", {}, "-1");
    row("error", "1/0", "-1", "  File \"<string>\", line 1");
    row("quit()", "quit(4)", "-1", "SystemExit: 4\n");
    row("sys.exit()", "sys.exit('why')", "-1", "SystemExit: why\n");
    row("interrupt", "raise KeyboardInterrupt", "-1", "KeyboardInterrupt");
    row("hook exits", "sys.excepthook = lambda *e: exit(5)\n1/0", "-1", "Exit: 5\n\nOriginal exc");
    row("hook prints", "sys.excepthook = lambda *e: print(e[1])\n1/0", "-1", "division by zero\n");
    row("no hook", "del sys.excepthook\n1/0", "-1", "sys.excepthook is missing\nTraceback");
    row("odd error", "class E(Exception): __str__ = exit\nraise E", "-1", "E: <exception str()");
    row("recursion", "def f(): f()\nf()", "-1", "RecursionError: ");
    row("no __main__", "import sys\ndel sys.modules['__main__']\nprint(1)", "0", "1\n");
    row("new __main__", "import sys, json, tarnwick\nprint(2)", "0", "2\n");

    operation = [](const char *text) { return QString::number(PythonModule().runCode(text, "a")); };
    row("run code", "print(2)", "0", "2\n");
    row("run code, error", "\n1/0", "-1", "  File \"a\", line 2");

    operation = [](const char *text) { return QString::number(CPython::runStatement(text)); };
    row("line", "1+1\n", "0", "2\n");
    row("line, null", {}, "-1");
    row("line, error", "1/0\n", "-1", "  File \"<console>\", line 1");
    row("line, compound", "for i in range(3): print(i)\n", "0", "0\n1\n2\n");
    row("line, compound, unfinished", "for i in range(3):", "-1", "Error: ");
    row("line, two of them", "1\n2\n", "-1", "SyntaxError: multiple statements");
    row("line, exit()", "exit()\n", "-1", "SystemExit");

    operation = [](const char *text) { return value(text); };
    row("value, null", {}, "");
    row("value, integer", "2**70", "1180591620717411303424");
    row("value, not ASCII", "'a' + chr(0x20ac)", "a\u20ac");
    row("value, NUL", "'a\\0b'", QString::fromUtf8("a\0b", 3));
    row("value, own str class", "type('S', (str,), {'__str__': lambda s: 'no'})('x')", "x");
    row("value, own program",
        "__import__('subprocess').check_output([sys.executable, '-c', "
        "'import sys; print(sys.version)']).decode().strip() == sys.version",
        "True");
    row("value, syntax error", "1+", "", "SyntaxError: ");
    row("value, exit", "exit()", "", "SystemExit");
    row("value, half a surrogate pair", "chr(0xd800)", "", "UnicodeEncodeError: ");
    row("value, text fails", "type('F', (), {'__str__': lambda s: 1/0})()", "", "ZeroDivision");
    row("value, text is none", "type('F', (), {'__str__': lambda s: 1})()", "", "TypeError: ");

    operation = [](const char *text) {
        const QString result = QString::number(CPython::addSysPath(text));
        return result + ' ' + value("(getattr(__import__('sys'), 'path', None) or [''])[0]");
    };
    row("path, new", "/a b/\"c\"", "0 /a b/\"c\"");
    row("path, backslashes", "C:\\new\\temp\\", "0 C:\\new\\temp\\");
    row("path, not ASCII", "/\u00e9/\u20ac", "0 /\u00e9/\u20ac");
    preparation = "sys.path[:0] = ['first', '/a', \"/it's\"]";
    row("path, empty", "", "0 first");
    row("path, null", {}, "0 first");
    row("path, there already", "/a", "0 first");
    row("path, there in another case", "/A", "0 /A");
    row("path, quote, there already", "/it's", "0 first");
    row("path, quote", "', print('run')) #", "-1 first", "ValueError: The folder cannot be put");
    row("path, line break", "/a\nb", "-1 first", "ValueError: The folder cannot be put");
    row("path, not UTF-8", "/\xff", "-1 first");
    preparation = "sys.path = ('tuple',)";
    row("path is no list", "/a", "-1 tuple");
    preparation = "del sys.path";
    row("path is missing", "/a", "-1 ");
    preparation = "sys.path[0] = 'first'\ndel sys";
    row("path without sys", "/a", "-1 first");
    preparation = "class Bad(str):\n  def __eq__(self, other): 1/0\n  __hash__ = str.__hash__\n"
                  "sys.path.append(Bad('/b'))";
    row("path, items that can't be compared", "/a", "0 /a");

    operation = [](const char *text) {
        const QString result = CPython::importOrReload(text) ? "true" : "false";
        const QByteArray name = "'" + QByteArray(text) + "'";
        return result + value("' imported' if sys.modules.get(" + name + ") else ''")
            + value("' bound' if " + name + " in globals() else ''");
    };
    const auto source = [](const char *name, const char *text) {
        return QStringLiteral("open(sys.path[0] + '/%1.py', 'w').write('''%2''')")
            .arg(name, text)
            .toUtf8();
    };
    preparation = source("m_fine", "x = 1");
    row("import", "m_fine", "true imported bound");
    preparation = source("m_broken", "x = (");
    row("import, syntax error", "m_broken", "false", "SyntaxError: ");
    preparation = source("m_exits", "quit(3)");
    row("import exits", "m_exits", "false", "SystemExit: 3\n");
    preparation = source("m_gone", "import sys\ndel sys.modules[__name__]");
    row("import that goes away", "m_gone", "false", "'m_gone'");
    preparation = source("m-x", "x = 1");
    row("import, no name", "m-x", "true imported", "ValueError: The module cannot be named");
    preparation = source("m as n; quit()", "x = 1");
    row("import, code as name", "m as n; quit()", "true imported", "ValueError: The module cannot");
    preparation.clear();
    row("import, missing", "m_missing", "false", "'m_missing'");
    row("import, not UTF-8", "m_\xff", "false", "UnicodeDecodeError: ");
    row("import, empty", "", "false");
    row("import, null", {}, "false");

    operation = [](const char *text) { return CPython::reportError(text), QString(); };
    row("report", "why \u20ac", "", "ValueError: why \u20ac\n");
}

void tst_Interpreter::operations()
{
    QFETCH(QByteArray, preparation);
    QFETCH(Operation, operation);
    QFETCH(QByteArray, text);
    QFETCH(QString, printed);
    QCOMPARE(CPython::execute(preparation), 0);
    QTEST(operation(text.isNull() ? nullptr : text.constData()), "result");
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

void tst_Interpreter::timeLimit_data()
{
    QTest::addColumn<int>("limit");
    QTest::addColumn<bool>("mayContinue");
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QString>("outcome"); // status, times asked, what was printed
    const QByteArray loop = "while True: pass";
    const QByteArray wait = "import time\nend = time.time() + 1.3\nwhile time.time() < end: pass";
    QTest::newRow("endless loop") << 1 << false << loop << "-1 1 KeyboardInterrupt";
    QTest::newRow("loop that catches errors")
        << 1 << false << QByteArray("while True:\n  try: sum(range(99))\n  except Exception: pass")
        << "-1 1 KeyboardInterrupt";
    QTest::newRow("may go on") << 1 << true << wait << "0 1 ";
    QTest::newRow("ends in time") << 2 << false << wait << "0 0 ";
    QTest::newRow("no limit") << 0 << false << wait << "0 0 ";
    QTest::newRow("limit is taken back")
        << 1 << false << "__import__('tarnwick').Console().write('off')\n" + wait << "0 0 ";
}

void tst_Interpreter::timeLimit()
{
    QFETCH(int, limit);
    QFETCH(bool, mayContinue);
    QFETCH(QByteArray, code);
    AskedModule module(mayContinue);
    CPython::setExecutionTimeLimit(limit);
    RecordingConsole::onWrite = [] { CPython::setExecutionTimeLimit(0); };
    const int status = module.runCode(code, nullptr);
    CPython::setExecutionTimeLimit(0);
    const QString error = RecordingConsole::text(1).section('\n', -2, -2);
    QTEST(QStringLiteral("%1 %2 %3").arg(status).arg(module.asked).arg(error), "outcome");
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
