// SPDX-License-Identifier: MIT
#include "python/virtualenvironment.h"
#include "support/madeupmachine.h"
#include "support/recordingconsole.h"
#include "support/table.h"

/// The search for Python on machines that don't exist here, and the wrapper where it finds no library
/// or one that somebody else uses already.
class tst_Locator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void search_data() { loadTable("python/locator"); }
    void search()
    {
        QFETCH(QString, machine);
        QFETCH(QString, given);
        MadeUpMachine madeUp(machine);
        PythonLocator locator(madeUp);
        const bool found = locator.locate(given.toStdString());
        QTEST(found ? madeUp.kept.join(' ') : QString("none"), "library");
        const QStringList environment{QString::number(int(locator.environmentKind())),
                                      QString::fromStdString(locator.environmentDirectory()),
                                      QString::fromStdString(locator.homeDirectory()),
                                      locator.includeSystemSitePackages() ? "system" : "",
                                      QString::fromStdString(locator.movedTo())};
        QTEST(environment.join(' ').trimmed(), "environment");
        QStringList variables;
        for (auto it = madeUp.things.cbegin(); it != madeUp.things.cend(); ++it) {
            if (it.key().startsWith("set "))
                variables.append(it.key().mid(4) + '=' + it.value());
        }
        QTEST(variables.join(' '), "variables");
        QTEST(madeUp.attempts.join(' '), "attempts");
        QCOMPARE(madeUp.current, QString("D:\\work"));
    }

    void environmentTexts_data() { loadTable("python/environmenttexts"); }
    void environmentTexts()
    {
        QFETCH(QString, packages);
        MadeUpMachine machine;
        const VirtualEnvironment environment{"C:\\venv", "C:\\Python39", packages == "system", 9};
        std::string texts;
        for (const std::string &statement : environment.statements(machine))
            texts += statement + ';';
        for (const std::string &script : environment.scripts(machine))
            texts += script + ';';
        QTEST(QString::fromStdString(texts), "texts");
    }

    /// Every operation answers without an interpreter.
    void noLibrary_data() { loadTable("python/nolibrary"); }
    void noLibrary()
    {
        QFETCH(QString, machine);
        MadeUpMachine madeUp(machine);
        PythonModule python(madeUp);
        python.initialize(L"tst_locator");
        RecordingConsole::install();
        QCOMPARE(madeUp.kept.isEmpty(), machine.isEmpty());
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
        QVERIFY(RecordingConsole::chunks.isEmpty());
    }

    /// The last one, for the interpreter stays.
    void interpreterOfAnotherOwner()
    {
        PythonLocator locator(Platform::native());
        QVERIFY2(locator.locate({}), "this test needs a Python 3 library");
        const auto exported = [&locator](const char *name) {
            return Platform::native().findExport(locator.library(), name);
        };
        reinterpret_cast<void (*)(int)>(exported("Py_InitializeEx"))(0);
        RecordingConsole::install();
        for (int round = 0; round < 2; ++round) {
            PythonModule python;
            python.initialize(L"tst_locator");
            QCOMPARE(CPython::evaluate("6*7"), std::string("42"));
            QCOMPARE(
                CPython::evaluate("'tarnwick' in sys.builtin_module_names or 'json' in globals()"),
                std::string("False"));
            QCOMPARE(CPython::execute("sys.stdout.write('')"), 0);
        }
        QVERIFY(!CPython::isLoaded());
        QVERIFY(RecordingConsole::chunks.isEmpty());
        QCOMPARE(reinterpret_cast<int (*)()>(exported("Py_IsInitialized"))(), 1);
    }
};

QTEST_GUILESS_MAIN(tst_Locator)
#include "tst_locator.moc"
