// SPDX-License-Identifier: MIT
#include "support/table.h"

#include <QDir>
#include <QProcess>

#include <pwd.h>
#include <unistd.h>

/// What scripts do to the interpreter, its start and its end, each in a process of its own.
class tst_Faults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void script_data() { loadTable("python/faults"); }
    void script();
    void home_data();
    void home();
    void environment_data();
    void environment();
    void everyVersion_data();
    void everyVersion();
};

using Variables = QMap<QString, QString>;

/// The output of a process, or how it failed.
static QString
outputOf(const QString &program, const QStringList &arguments, const Variables &variables = {})
{
    auto environment = QProcessEnvironment::systemEnvironment();
    for (auto it = variables.cbegin(); it != variables.cend(); ++it)
        environment.insert(it.key(), it.value());
    // The interpreter abandons what a daemon thread held, and what some modules keep. A sanitizer
    // that was not preloaded itself minds every preloaded library.
    QString options = environment.value("ASAN_OPTIONS") + ":verify_asan_link_order=0";
    if (arguments.join(' ').contains(
            QRegularExpression("daemon|concurrent|numpy|ssl|sqlite3|ctypes|excepthook")))
        options += ":detect_leaks=0";
    environment.insert("ASAN_OPTIONS", options);

    QProcess process;
    process.setProcessEnvironment(environment);
    const QString own = QCoreApplication::applicationDirPath() + '/' + program;
    process.start(QFile::exists(own) ? own : program, arguments);
    if (!process.waitForFinished(120000))
        return "hangs";
    const QString output = QString::fromUtf8(process.readAllStandardOutput());
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return "fails: " + output + process.readAllStandardError();
    return output;
}

void tst_Faults::script()
{
    QFETCH(QString, steps);
    QFETCH(QString, output);
    const QString all = outputOf("runscript", steps.split(" ;; "));
    QVERIFY2(all.endsWith("ended\n") && all.contains("returned\n"), qPrintable(all));
    // Each expected line begins a later line of the output.
    int from = 0;
    const QStringList expected = output.split('\n', Qt::SkipEmptyParts);
    for (const QString &line : expected) {
        const QRegularExpression start("^" + QRegularExpression::escape(line),
                                       QRegularExpression::MultilineOption);
        const int found = all.indexOf(start, from);
        QVERIFY2(found >= 0, qPrintable(line + "\nis not in\n" + all));
        from = found + line.size();
    }
    if (!output.contains("Error"))
        QVERIFY2(!all.contains("Error"), qPrintable(all));
}

void tst_Faults::home_data()
{
    QTest::addColumn<QString>("home");
    QTest::addColumn<QString>("output");
    const QString own = outputOf("runscript", {"print(sys.prefix)"}).section('\n', 0, 0);
    QTest::newRow("missing folder") << "/nowhere" << QString("no Python");
    QTest::newRow("folder without Python") << QDir::tempPath() << "no Python";
    QTest::newRow("empty") << QString() << "None";
    QTest::newRow("own") << own << own;
    QTest::newRow("two of them") << own + ':' + own << own + ':' + own;
}

void tst_Faults::home()
{
    QFETCH(QString, home);
    QFETCH(QString, output);
    if (output == "no Python" && qEnvironmentVariableIsSet("LD_PRELOAD"))
        output = "None";
    QCOMPARE(outputOf("runscript",
                      {"import os\nprint(os.environ.get('PYTHONHOME'))"},
                      {{"PYTHONHOME", home}}),
             output + "\nreturned\nended\n");
}

void tst_Faults::environment_data()
{
    QTest::addColumn<bool>("systemPackages");
    QTest::newRow("its own packages") << false;
    QTest::newRow("the system's too") << true;
}

/// A real environment of the default Python with a package of its own.
void tst_Faults::environment()
{
    QFETCH(bool, systemPackages);
    const QTemporaryDir folder;
    const QString directory = folder.filePath("my env");
    const QString python = outputOf("runscript", {"print(sys.executable)"}).section('\n', 0, 0);
    QStringList arguments{"-m", "venv", "--without-pip", directory};
    if (systemPackages)
        arguments.append("--system-site-packages");
    if (const QString output = outputOf(python, arguments); !output.isEmpty())
        QSKIP(qPrintable("no environment can be made: " + output));
    const QString packages = QDir(directory + "/lib").entryList({"python3.*"}).value(0);
    QFile package(directory + "/lib/" + packages + "/site-packages/only_here.py");
    QVERIFY(package.open(QIODevice::WriteOnly));

    const QString script = "import importlib.util, os, only_here\n"
                           "print(sys.prefix == os.environ['VIRTUAL_ENV'] != sys.base_prefix)\n"
                           "print(sys.executable)\n"
                           "print(importlib.util.find_spec('numpy') is not None)\n"
                           "import subprocess\n"
                           "print(subprocess.call([sys.executable, '-c', 'import only_here']))\n";
    const bool hasNumpy =
        outputOf(python, {"-c", "import numpy"}, {{"PYTHONDONTWRITEBYTECODE", "1"}}).isEmpty();
    QCOMPARE(outputOf("runscript", {script}, {{"TARNWICK_TEST_ENVIRONMENT", directory}}),
             "True\n" + directory + "/bin/python\n"
                 + (systemPackages && hasNumpy ? "True" : "False") + "\n0\nreturned\nended\n");
}

void tst_Faults::everyVersion_data()
{
    QTest::addColumn<QString>("library");
    // Not HOME, which is the test's own.
    const passwd *const user = getpwuid(getuid());
    const QDir versions(QString::fromLocal8Bit(user ? user->pw_dir : "") + "/.pyenv/versions");
    for (const QString &version : versions.entryList({"3.*"}, QDir::Dirs)) {
        const QDir libraries(versions.filePath(version) + "/lib");
        for (const QString &name : libraries.entryList({"libpython3.*.so.1.0"}))
            QTest::newRow(qPrintable(version)) << libraries.filePath(name);
    }
    QTest::newRow("the default one") << QString();
}

/// The interpreter's tests with each Python of this machine, preloaded.
void tst_Faults::everyVersion()
{
#if defined(__SANITIZE_ADDRESS__)
    QSKIP("libraries that were not built with the sanitizer are tested in the plain build");
#endif
    QFETCH(QString, library);
    if (library.isEmpty())
        QSKIP("runs in the other tests");
    const Variables variables{{"LD_PRELOAD", library}};
    const QString minor = QFileInfo(library).fileName().section('.', 1, 1).remove('m');
    QCOMPARE(outputOf("runscript", {"print(sys.version_info[1])"}, variables),
             minor + "\nreturned\nended\n");
    for (const char *program : {"tst_attached", "tst_interpreter", "tst_streams", "tst_faults"}) {
        QStringList functions;
        if (QString(program) == "tst_faults")
            functions = QStringList{"script", "home"};
        const QString output = outputOf(program, functions, variables);
        const QString totals = output.section("Totals: ", 1).section('\n', 0, 0);
        QVERIFY2(!output.startsWith("fails") && !totals.isEmpty(), qPrintable(output));
        qInfo("%s: %s", program, qPrintable(totals));
    }
}

QTEST_GUILESS_MAIN(tst_Faults)
#include "tst_faults.moc"
