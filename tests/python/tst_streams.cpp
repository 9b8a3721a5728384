// SPDX-License-Identifier: MIT
#include "recordingconsole.h"

#include <QtTest>

/// The standard streams, seen from scripts and from the console.
class tst_Streams : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void values_data();
    void values();
    void chunks();
    void library_data();
    void library();
    void subclass();
    void noConsole();

private:
    PythonModule m_python;
};

static QString value(const QByteArray &expression)
{
    return QString::fromStdString(CPython::evaluate(expression));
}

void tst_Streams::initTestCase()
{
    m_python.initialize(L"tst_streams");
    QVERIFY2(CPython::isLoaded(), "these tests need a Python 3 library");
    RecordingConsole::install();
    QCOMPARE(CPython::execute("def result(expression):\n"
                              "    try: return eval(expression)\n"
                              "    except Exception as error: return type(error).__name__\n"),
             0);
}

void tst_Streams::cleanup()
{
    CPython::execute("sys.stdout, sys.stderr = tarnwick.Console(0), tarnwick.Console(1)");
    RecordingConsole::clear();
}

void tst_Streams::values_data()
{
    QTest::addColumn<QString>("result"); // of the name as expression, or the type of its error
    QTest::newRow("tarnwick.__doc__") << "Tarnwick extensions";
    QTest::newRow("[n for n in dir(tarnwick) if n[0] != '_']") << "['Console']";
    QTest::newRow("tarnwick.Console.__doc__") << "Tarnwick Console objects";
    QTest::newRow("' '.join(n for n in dir(tarnwick.Console) if n[0] != '_')")
        << "close encoding errors fileno flush isatty readable readline seekable writable write";
    QTest::newRow("[getattr(sys.stdin, n).__doc__ for n in ('close', 'fileno', 'flush', 'isatty')]")
        << "['Close', 'fileno', 'Flush', 'isatty']";
    QTest::newRow("[sys.stdin.isatty(), sys.stdin.readable(), sys.stdin.writable()]")
        << "[True, True, True]";
    QTest::newRow("[sys.stdout.seekable(), sys.stdout.fileno(), sys.stdout.flush()]")
        << "[False, -1, None]";
    QTest::newRow("[sys.stdout.close(), sys.stdout.write('x')]") << "[None, None]";
    QTest::newRow("[sys.stdout.encoding, sys.stdout.errors]") << "['utf-8', 'strict']";
    QTest::newRow("[sys.stderr.encoding, sys.stderr.errors]") << "['utf-8', 'backslashreplace']";
    for (const char *attribute : {"encoding", "errors"})
        QTest::newRow(qPrintable(QString("setattr(sys.stdout, '%1', 'x')").arg(attribute)))
            << "AttributeError";
    for (const char *wrong : {"sys.stdout.isatty(1)",
                              "sys.stdout.write()",
                              "sys.stdout.write('a', 'b')",
                              "sys.stdout.write(text='a')",
                              "sys.stdout.write(b'a')",
                              "sys.stderr.write(5)",
                              "sys.stdin.readline('2')",
                              "sys.stdin.readline(size=2)",
                              "tarnwick.Console('x')",
                              "tarnwick.Console(0, 1)",
                              "tarnwick.Console(other=1)"})
        QTest::newRow(wrong) << "TypeError";
    QTest::newRow("sys.stdout.write('a\\0b')") << "ValueError";
    QTest::newRow("sys.stdout.write(chr(0xd800))") << "UnicodeEncodeError";

    // The answer has six bytes, three of them in one character.
    QTest::newRow("input()") << "a\u20acb";
    QTest::newRow("sys.stdin.readline()") << "a\u20acb\n";
    QTest::newRow("sys.stdin.readline(-2)") << "a\u20acb\n";
    QTest::newRow("sys.stdin.readline(0)") << "";
    QTest::newRow("sys.stdin.readline(1)") << "a";
    QTest::newRow("sys.stdin.readline(3)") << "a";
    QTest::newRow("sys.stdin.readline(4)") << "a\u20ac";
    QTest::newRow("sys.stdin.readline(5)") << "a\u20acb";
    QTest::newRow("sys.stdin.readline(6)") << "a\u20acb\n";
    QTest::newRow("sys.stdin.readline(7)") << "a\u20acb\n";
    QTest::newRow("sys.stderr.readline()") << "";
}

void tst_Streams::values()
{
    const QByteArray expression = QTest::currentDataTag();
    RecordingConsole::answers = QByteArrayList{"a\u20acb\n"};
    QTEST(value("result('''" + QByteArray(expression).replace('\\', "\\\\") + "''')"), "result");
    if (expression.startsWith("sys.stderr"))
        QCOMPARE(RecordingConsole::answers.size(), 1);
}

void tst_Streams::chunks()
{
    QCOMPARE(CPython::execute("print('a', 'b')\n"
                              "print()\n"
                              "sys.stderr.write(chr(0x20ac))\n"
                              "tarnwick.Console(unit=1).write('by keyword')\n"
                              "console = tarnwick.Console(2)\n"
                              "console.write('other unit')\n"
                              "console.__init__()\n"
                              "console.write('no unit')\n"
                              "sys.stderr.write('a\\0b' + chr(0xd800))\n"),
             0);
    const Chunks expected = {{0, "a"},
                             {0, " "},
                             {0, "b"},
                             {0, "\n"},
                             {0, "\n"},
                             {1, "\u20ac"},
                             {1, "by keyword"},
                             {2, "other unit"},
                             {0, "no unit"},
                             {1, "a\\x00b\\ud800"}};
    QCOMPARE(RecordingConsole::chunks, expected);
}

void tst_Streams::library_data()
{
    QTest::addColumn<QByteArray>("code");
    QTest::addColumn<QString>("output"); // a part of it; empty for nothing
    QTest::addColumn<QString>("error"); // the same
    const auto row =
        [](const char *name, const char *code, const QString &output, const QString &error) {
            QTest::newRow(name) << QByteArray(code) << output << error;
        };
    row("error", "print(1)\n1/0", "1\n", "ZeroDivisionError: division by zero\n");
    row("odd error", "raise Exception('a\\0b ' + chr(0xd800))", "", "Exception: a\\x00b \\ud800\n");
    row("logging", "import logging\nlogging.warning('hot')", "", "WARNING:root:hot\n");
    row("warnings", "import warnings\nwarnings.warn('old')", "", "UserWarning: old\n");
    row("traceback",
        "import traceback\ntraceback.print_stack()",
        "",
        "  File \"<string>\", line 2");
    row("help", "help(len)", "len(obj, /)\n", "");
    row("help, asked", "help()", "help> ", "");
    row("input", "input('who? ')", "who? ", "EOFError");
    row("no stderr", "sys.stderr = None\n1/0", "", "");
    row("redirection",
        "import contextlib, io\n"
        "with contextlib.redirect_stdout(io.StringIO()): print('unseen')",
        "",
        "");
    row("unittest",
        "import unittest\n"
        "class T(unittest.TestCase):\n"
        "    def test(self): pass\n"
        "unittest.main(exit=False)",
        "",
        "\nRan 1 test");
    row("pdb",
        "import pdb\n"
        "seen = 41\n"
        "pdb.set_trace()\n"
        "print('on')\n"
        "print('end')",
        "(Pdb) 41\n(Pdb) ",
        "");
    row("thread",
        "import threading\n"
        "thread = threading.Thread(target=print, args=('thread',))\n"
        "thread.start()\n"
        "thread.join()",
        "thread\n",
        "");
}

void tst_Streams::library()
{
    QFETCH(QByteArray, code);
    QFETCH(QString, output);
    QFETCH(QString, error);
    if (code.contains("pdb"))
        RecordingConsole::answers = QByteArrayList{"p seen\n", "next\n", "continue\n"};
    CPython::execute(code + "\n");
    QVERIFY2(RecordingConsole::text(0).contains(output), qPrintable(RecordingConsole::text(0)));
    QVERIFY2(RecordingConsole::text(1).contains(error), qPrintable(RecordingConsole::text(1)));
    QCOMPARE(RecordingConsole::text(0).isEmpty(), output.isEmpty());
    QCOMPARE(RecordingConsole::text(1).isEmpty(), error.isEmpty());
    QVERIFY(RecordingConsole::answers.isEmpty());
}

void tst_Streams::subclass()
{
    QCOMPARE(CPython::execute("class Shout(tarnwick.Console):\n"
                              "    __slots__ = ('last',)\n"
                              "    def write(self, text):\n"
                              "        self.last = text\n"
                              "        return super().write(text.upper())\n"
                              "class Plain(tarnwick.Console): pass\n"
                              "def growth(kind):\n"
                              "    before = sys.getrefcount(kind)\n"
                              "    for i in range(100): kind(unit=i)\n"
                              "    return sys.getrefcount(kind) - before\n"
                              "sys.stdout = Shout()\n"
                              "print('loud')\n"),
             0);
    QCOMPARE(RecordingConsole::chunks, (Chunks{{0, "LOUD"}, {0, "\n"}}));
    // Their objects come and go without a trace in them.
    QCOMPARE(value("[growth(Shout), growth(Plain)]"), "[0, 0]");
    QCOMPARE(value("growth(tarnwick.Console) if sys.version_info >= (3, 8) else 0"), "0");
}

void tst_Streams::noConsole()
{
    PythonModule::setConsole({});
    QCOMPARE(CPython::execute("print('dropped')\nsys.stderr.write('dropped')"), 0);
    QCOMPARE(value("[input(), sys.stdin.readline()]"), "['', '\\n']");
    RecordingConsole::install();
    QCOMPARE(RecordingConsole::chunks, Chunks());
}

QTEST_GUILESS_MAIN(tst_Streams)
#include "tst_streams.moc"
