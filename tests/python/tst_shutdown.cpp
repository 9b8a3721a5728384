// SPDX-License-Identifier: MIT
#include <QDir>
#include <QProcess>
#include <QtTest>

/// Start and end of the interpreter, each in a process of its own.
class tst_Shutdown : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void script_data();
    void script();
    void home_data();
    void home();
    void otherLibrary_data();
    void otherLibrary();
};

/// The output of a process that runs a script and ends, or how it failed.
static QString outputOf(const QString &script, const char *variable = "", const QString &value = {})
{
    auto environment = QProcessEnvironment::systemEnvironment();
    if (*variable)
        environment.insert(variable, value);
    // The interpreter abandons what a daemon thread held, and what numpy keeps. A sanitizer that
    // was not preloaded itself minds every preloaded library.
    QString options = environment.value("ASAN_OPTIONS") + ":verify_asan_link_order=0";
    if (script.contains("daemon") || script.contains("numpy"))
        options += ":detect_leaks=0";
    environment.insert("ASAN_OPTIONS", options);

    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationDirPath() + "/runscript", {script});
    if (!process.waitForFinished(60000))
        return "hangs";
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return "fails: " + process.readAllStandardError();
    return process.readAllStandardOutput();
}

void tst_Shutdown::script_data()
{
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("script");
    const QString end = "returned\nended\n";
    const QString farewell = "returned\nbye\nended\n";

    QTest::newRow("exit()") << end << "exit(3)";
    QTest::newRow("atexit") << farewell << "import atexit; atexit.register(print, 'bye')";
    QTest::newRow("atexit exits") << end << "import atexit; atexit.register(exit, 3)";
    QTest::newRow("daemon thread runs") << end << R"(
import threading
def spin():
    while True: sum(range(100))
threading.Thread(target=spin, daemon=True).start())";
    QTest::newRow("thread prints") << end << R"(
import threading
def spin():
    while True: print(end='')
threading.Thread(target=spin).start())";
    QTest::newRow("thread runs") << farewell << R"(
import atexit, threading, time
atexit.register(print, 'bye')
def spin():
    while True: time.sleep(0.01)
threading.Thread(target=spin).start())";
    QTest::newRow("thread renews itself") << end << R"(
import threading
def renew(): threading.Timer(0.01, renew).start()
renew())";
    QTest::newRow("thread ends soon") << farewell << R"(
import atexit, threading, time
def work():
    time.sleep(0.1)
    atexit.register(print, 'bye')
threading.Thread(target=work).start())";
    QTest::newRow("idle pool") << farewell << R"(
import concurrent.futures
class Last:
    def __del__(self): print('bye')
last = Last()
pool = concurrent.futures.ThreadPoolExecutor(2)
pool.submit(len, ()).result())";
    for (const char *daemon : {"True", "False"})
        QTest::newRow(qPrintable(QString("thread asks, daemon %1").arg(daemon)))
            << end
            << QString("import threading\nthreading.Thread(target=input, daemon=%1).start()")
                   .arg(daemon);
    QTest::newRow("last wrapper goes inside a run")
        << "destroy the wrapper\n" + end << "print('destroy the wrapper')";
    QTest::newRow("fork") << "child\n''\n0\n" + end << R"(
import os
if os.fork():
    print(os.wait()[1])
else:
    print('child')
    print(repr(sys.stdin.readline())))";
    QTest::newRow("fork at the end") << end << R"(
import atexit, os
atexit.register(lambda: os.fork() and os.wait()))";
    QTest::newRow("closed pipe") << "refused\n" + end << R"(
import os
reader, writer = os.pipe()
os.close(reader)
try: os.write(writer, b'x')
except BrokenPipeError: print('refused'))";
    for (const char *module : {"math", "_ctypes", "_decimal", "_sqlite3", "numpy"})
        QTest::newRow(module) << "imported\n" + end
                              << QString(R"(
import importlib.util
if importlib.util.find_spec('%1'): import %1
print('imported'))")
                                     .arg(module);
}

void tst_Shutdown::script()
{
    QFETCH(QString, script);
    QTEST(outputOf(script), "output");
}

void tst_Shutdown::home_data()
{
    QTest::addColumn<QString>("home");
    QTest::addColumn<QString>("kept"); // as the script sees it
    const QString own = outputOf("print(sys.prefix)").section('\n', 0, 0);
    QTest::newRow("missing folder") << "/nowhere" << QString("None");
    QTest::newRow("folder without Python") << QDir::tempPath() << "None";
    QTest::newRow("empty") << QString() << "None";
    QTest::newRow("own") << own << own;
    QTest::newRow("two of them") << own + ':' + own << own + ':' + own;
}

void tst_Shutdown::home()
{
    QFETCH(QString, home);
    QFETCH(QString, kept);
    QCOMPARE(outputOf("import os\nprint(os.environ.get('PYTHONHOME'))", "PYTHONHOME", home),
             kept + "\nreturned\nended\n");
}

void tst_Shutdown::otherLibrary_data()
{
    QTest::addColumn<QString>("library");
    const QString libraries = qEnvironmentVariable("TARNWICK_TEST_PYTHON_LIBRARIES");
    for (const QString &library : libraries.split(':'))
        QTest::newRow(qPrintable(library)) << library;
}

/// Preloaded, and as the home of the one that is not.
void tst_Shutdown::otherLibrary()
{
    QFETCH(QString, library);
    if (library.isEmpty())
        QSKIP("TARNWICK_TEST_PYTHON_LIBRARIES names no other Python libraries (path:path...)");
    const QString version = QFileInfo(library).fileName().section('.', 1, 1).remove('m');
    QCOMPARE(outputOf("import math; print(sys.version_info[1])", "LD_PRELOAD", library),
             version + "\nreturned\nended\n");
    QCOMPARE(outputOf("print(1)", "PYTHONHOME", QFileInfo(library).absolutePath() + "/.."),
             "1\nreturned\nended\n");
}

QTEST_GUILESS_MAIN(tst_Shutdown)
#include "tst_shutdown.moc"
