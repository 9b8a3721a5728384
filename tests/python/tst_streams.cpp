// SPDX-License-Identifier: MIT
#include "support/recordingconsole.h"
#include "support/table.h"

/// The standard streams, seen from scripts and from the console.
class tst_Streams : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void cleanup();

    void values_data() { loadTable("python/streams"); }
    void values();
    void chunks();
    void library_data() { loadTable("python/library"); }
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

void tst_Streams::library()
{
    QFETCH(QString, code);
    QFETCH(QString, output);
    QFETCH(QString, error);
    if (code.contains("pdb"))
        RecordingConsole::answers = QByteArrayList{"p seen\n", "next\n", "continue\n"};
    CPython::execute(code.toUtf8() + "\n");
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
