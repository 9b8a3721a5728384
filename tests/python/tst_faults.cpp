// SPDX-License-Identifier: MIT
#include "support/generatorfolder.h"
#include "support/pattern.h"
#include "support/table.h"

#include <QDir>
#include <QProcess>

#include <glob.h>
#include <pwd.h>
#include <unistd.h>

#include <deque>
#include <map>

/// A program of this folder, which runs in a folder of its own.
class Started
{
public:
    Started(const QString &program,
            const QStringList &arguments,
            const QMap<QString, QString> &variables = {})
    {
        auto environment = QProcessEnvironment::systemEnvironment();
        for (auto it = variables.cbegin(); it != variables.cend(); ++it)
            environment.insert(it.key(), it.value());
        // The interpreter abandons what a daemon thread held, what some modules keep, and with an
        // allocator of its own all of that. A sanitizer that was not preloaded itself minds every
        // preloaded library.
        QString options = environment.value("ASAN_OPTIONS") + ":verify_asan_link_order=0";
        const QRegularExpression leaking(
            "daemon|concurrent|numpy|ssl|sqlite3|ctypes|excepthook|sitecustomize");
        if (arguments.join(' ').contains(leaking))
            options += ":detect_leaks=0";
        environment.insert("ASAN_OPTIONS", options);
        m_process.setProcessEnvironment(environment);
        m_process.setWorkingDirectory(m_folder.path());
        m_process.start(QCoreApplication::applicationDirPath() + '/' + program, arguments);
    }

    /// Its whole output, or how it failed.
    QString output()
    {
        if (!m_process.waitForFinished(120000))
            return "hangs";
        const QString output = QString::fromUtf8(m_process.readAllStandardOutput());
        if (m_process.exitStatus() != QProcess::NormalExit || m_process.exitCode() != 0)
            return "fails: " + output + m_process.readAllStandardError();
        return output;
    }

private:
    QTemporaryDir m_folder;
    QProcess m_process;
};

static QString outputOf(const QString &program,
                        const QStringList &arguments,
                        const QMap<QString, QString> &variables = {})
{
    return Started(program, arguments, variables).output();
}

/// What scripts do to the interpreter, its start and its end, each in a process of its own.
class tst_Faults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void script_data() { loadTable("python/faults"); }
    void script()
    {
        QFETCH(QString, steps);
        QFETCH(QString, output);
        const QString all = outputOf("runscript", steps.split(" ;; "));
        QVERIFY2(matches(all, output), qPrintable(all));
    }

    void home_data() { loadTable("python/home"); }
    void home()
    {
        QFETCH(QString, home);
        QFETCH(QString, output);
        const QString own = outputOf("runscript", {"print(sys.prefix)"}).section('\n', 0, 0);
        if (output == "no Python" && qEnvironmentVariableIsSet("LD_PRELOAD"))
            output = "None";
        QCOMPARE(outputOf("runscript",
                          {"import os\nprint(os.environ.get('PYTHONHOME'))"},
                          {{"PYTHONHOME", home.replace("<own>", own)}}),
                 output.replace("<own>", own) + "\nreturned\nended\n");
    }

    /// What the interpreter dislikes makes it unusable, and does not end the program.
    void start_data() { loadTable("python/start"); }
    void start()
    {
        QFETCH(QString, module);
        QFETCH(QString, variable);
        QFETCH(QString, value);
        QFETCH(QString, steps);
        const GeneratorFolder folder;
        if (!module.isEmpty())
            folder.write(module.section(' ', 0, 0), module.section(' ', 1).toUtf8());
        // Only the row's variables are to be in doubt.
        const QMap<QString, QString> variables{
            {"PYTHONMALLOC", ""}, {"PYTHONPATH", folder.path()}, {variable, value}};
        QTEST(outputOf("runscript", {steps}, variables), "output");
    }

    void startThatNeverReturns()
    {
        const GeneratorFolder folder;
        folder.write("sitecustomize.py", "while True: pass");
        QCOMPARE(outputOf("runscript",
                          {"print(1)"},
                          {{"PYTHONPATH", folder.path()}, {"PYTHONHASHSEED", "1"}}),
                 "no Python\nreturned\nended\n");
    }

    void environment_data() { loadTable("python/environments"); }
    void environment()
    {
        QFETCH(QString, make);
        QFETCH(QString, use);
        const QTemporaryDir folder;
        const QString directory = folder.filePath("my env");
        const QMap<QString, QString> variables{{"TARNWICK_TEST_ENVIRONMENT", directory}};
        const QString made = outputOf("runscript", {make}, variables);
        if (made.contains("CalledProcessError"))
            QSKIP(qPrintable("no environment can be made: " + made));
        QCOMPARE(made, "returned\nended\n");
        QTEST(outputOf("runscript", {use}, variables), "output");
    }

    void everyVersion_data()
    {
        QTest::addColumn<QString>("library");
        // Not HOME, which is the test's own.
        const passwd *const user = getpwuid(getuid());
        const QString managed =
            QString::fromLocal8Bit(user ? user->pw_dir : "") + "/.pyenv/versions";
        for (const QString &folders : {managed + "/*/lib", QString("/usr/lib/*-linux-gnu")}) {
            glob_t found;
            const QByteArray pattern = QFile::encodeName(folders + "/libpython3.*.so.1.0");
            if (glob(pattern.constData(), 0, nullptr, &found) != 0)
                continue;
            for (std::size_t i = 0; i < found.gl_pathc; ++i)
                QTest::newRow(found.gl_pathv[i]) << QFile::decodeName(found.gl_pathv[i]);
            globfree(&found);
        }
        QTest::newRow("the default one") << QString();
    }
    /// The interpreter's tests with each Python of this machine, preloaded.
    void everyVersion()
    {
#if defined(__SANITIZE_ADDRESS__)
        QSKIP("libraries that were not built with the sanitizer are tested in the plain build");
#endif
        QFETCH(QString, library);
        if (library.isEmpty())
            QSKIP("runs in the other tests");
        const QMap<QString, QString> variables{{"LD_PRELOAD", library}};
        const QString minor = QFileInfo(library).fileName().section('.', 1, 1).remove('m');
        QCOMPARE(outputOf("runscript", {"print(sys.version_info[1])"}, variables),
                 minor + "\nreturned\nended\n");
        // All at once, as they wait much of their time.
        const std::map<QString, QStringList> tests{{"tst_locator", {}},
                                                   {"tst_interpreter", {}},
                                                   {"tst_faults", {"script", "home", "start"}}};
        std::deque<Started> started;
        for (const auto &[program, functions] : tests)
            started.emplace_back(program, functions, variables);
        for (Started &test : started) {
            const QString output = test.output();
            QVERIFY2(matches(output, "*********...Totals: ..."), qPrintable(output));
        }
    }
};

QTEST_GUILESS_MAIN(tst_Faults)
#include "tst_faults.moc"
