// SPDX-License-Identifier: MIT
#include "support/recordingconsole.h"

#include <QtTest>

/// An interpreter that was running before the wrapper came.
class tst_Attached : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void interpreterOfAnotherOwner();
};

template <typename Function> static Function *exported(Platform::Library library, const char *name)
{
    return reinterpret_cast<Function *>(Platform::native().findExport(library, name));
}

void tst_Attached::interpreterOfAnotherOwner()
{
    Platform &machine = Platform::native();
    PythonLocator first(machine);
    QVERIFY2(first.locate({}), "these tests need a Python 3 library");
    Platform::Library library = first.library();
    PythonLocator second(machine);
    QVERIFY(second.locate({}));
    QCOMPARE(second.library(), library);
    exported<void(int)>(library, "Py_InitializeEx")(0);
    RecordingConsole::install();

    for (int round = 0; round < 2; ++round) {
        PythonModule python;
        python.initialize(L"tst_attached");
        QVERIFY(CPython::isLoaded());
        QCOMPARE(CPython::evaluate("6*7"), std::string("42"));
        QCOMPARE(CPython::evaluate("'tarnwick' in sys.builtin_module_names"), std::string("False"));
        QCOMPARE(CPython::evaluate("'json' in globals()"), std::string("False"));
        QCOMPARE(CPython::execute("sys.stdout.write('')\nimport atexit\n"
                                  "atexit.register(sys.stdout.write, 'finalised')\n"),
                 0);
    }
    QVERIFY(!CPython::isLoaded());
    QCOMPARE(RecordingConsole::chunks, Chunks());
    QCOMPARE(exported<int()>(library, "Py_IsInitialized")(), 1);
}

QTEST_GUILESS_MAIN(tst_Attached)
#include "tst_attached.moc"
