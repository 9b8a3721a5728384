// SPDX-License-Identifier: MIT
#include "support/pattern.h"
#include "support/recordingconsole.h"
#include "support/table.h"

#include <QDir>

#include <memory>
#include <thread>

/// A wrapper that lets a run that takes too long go on as often as it is allowed to.
struct AskedModule final : PythonModule
{
    bool continueRunning() override { return asked++ < allowed; }
    static inline std::atomic<int> asked{0};
    static inline std::atomic<int> allowed{0};
};

/// Does a step, an operation and its text, and gives the result. "<null>" is no text at all. Most are
/// the wrapper's operations by their names; "answer" is what the user types next, "thread" does a
/// step on another thread.
static QString resultOf(const QString &step)
{
    static const QMap<QString, int (*)(const char *)> functions{
        {"execute", [](const char *text) { return CPython::execute(text); }},
        {"runCode", [](const char *text) { return AskedModule().runCode(text, "a"); }},
        {"line", CPython::runStatement},
        {"path", CPython::addSysPath},
        {"import", [](const char *text) { return int(CPython::importOrReload(text)); }},
        {"running", [](const char *) { return int(CPython::isRunning()); }},
        {"allow", [](const char *text) -> int { return AskedModule::allowed = std::atoi(text); }},
        {"asked", [](const char *) { return AskedModule::asked.exchange(0); }},
    };
    const QString operation = step.section(' ', 0, 0);
    const QString rest = step.section(' ', 1);
    const QByteArray bytes = rest.toUtf8().replace("<xff>", "\xff");
    const char *const text = bytes == "<null>" ? nullptr : bytes.constData();
    if (const auto function = functions.value(operation))
        return QString::number(function(text));
    if (operation == "value")
        return QString::fromStdString(CPython::evaluate(text));
    if (operation == "chunks")
        return RecordingConsole::chunks.join(' ');
    if (operation == "thread")
        std::thread([rest] { resultOf(rest); }).join();
    else if (operation == "report")
        CPython::reportError(text);
    else if (operation == "limit")
        CPython::setExecutionTimeLimit(bytes.toInt());
    else if (operation == "stop")
        CPython::requestStop();
    else if (operation == "answer")
        RecordingConsole::answers.append(bytes + '\n');
    else if (operation == "noConsole")
        PythonModule::setConsole({});
    else
        qFatal("unknown step: %s", qPrintable(step));
    return operation;
}

/// The interpreter while it runs, and its standard streams.
class tst_Interpreter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        {
            PythonModule first;
            first.initialize(L"tst_interpreter");
            m_python->initialize(L"second wrapper");
        }
        QVERIFY2(CPython::isLoaded(), "these tests need a Python 3 library");
        QVERIFY(QDir::setCurrent(m_folder.path()));
        QCOMPARE(CPython::addSysPath(m_folder.path().toUtf8()), 0);
        QCOMPARE(resultOf("value sys.version.split()[0]"), CPython::versionString());
        QCOMPARE(CPython::execute("exec(open('" TEST_DATA_DIR "/python/prelude.txt').read())"), 0);
        cleanup();
    }
    void cleanup()
    {
        RecordingConsole::clear();
        RecordingConsole::install();
        CPython::setExecutionTimeLimit(0);
        QCOMPARE(CPython::execute("reset()"), 0);
        QVERIFY(!CPython::isRunning());
    }
    void cleanupTestCase()
    {
        m_python.reset();
        QVERIFY(!CPython::isLoaded());
        QCOMPARE(RecordingConsole::text(0), "bye\n");
        QCOMPARE(CPython::execute("print(1)"), -2);
    }

    void values_data() { loadTable("python/streams"); }
    void values()
    {
        RecordingConsole::answers = QByteArrayList{"a\u20acb\n"};
        const QString result = resultOf(QString("value ") + QTest::currentDataTag());
        const QString error = RecordingConsole::text(1).section('\n', -2, -2).section(':', 0, 0);
        QTEST(result + error, "result");
    }

    /// The last one, as its last row stops the interpreter.
    void operations_data() { loadTable("python/operations"); }
    void operations()
    {
        QFETCH(QString, steps);
        QFETCH(QString, inside);
        QFETCH(QString, output);
        QFETCH(QString, errors);
        QStringList results;
        const auto perform = [&results](const QString &list) {
            for (const QString &step : list.split(" ;; ", Qt::SkipEmptyParts))
                results.append(resultOf(step));
        };
        RecordingConsole::onWrite = [perform, inside] {
            RecordingConsole::onWrite = nullptr;
            perform(inside);
        };
        perform(steps);
        const QString printed = RecordingConsole::text(0);
        QVERIFY2(matches(printed, output), qPrintable(printed));
        const QString printedErrors = RecordingConsole::text(1);
        QVERIFY2(matches(printedErrors, errors), qPrintable(printedErrors));
        QTEST(results.join("; ").trimmed(), "results");
        QVERIFY(RecordingConsole::answers.isEmpty());
    }

private:
    QTemporaryDir m_folder;
    std::unique_ptr<PythonModule> m_python = std::make_unique<PythonModule>();
};

QTEST_GUILESS_MAIN(tst_Interpreter)
#include "tst_interpreter.moc"
