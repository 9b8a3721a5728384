// SPDX-License-Identifier: MIT
//
// Finding Python and starting it, beside what the interpreter itself takes.

#include "bench/report.h"
#include "bench/subjects.h"
#include "python/pythonmodule.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTextStream>

namespace {

template <typename Function> Function *exported(Platform::Library library, const char *name)
{
    return reinterpret_cast<Function *>(Platform::native().findExport(library, name));
}

/// What a child process measured, in milliseconds.
double measured(const QString &subject)
{
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {subject});
    process.waitForFinished();
    return process.readAllStandardOutput().toDouble();
}

Samples samplesOf(const char *subject)
{
    Samples samples;
    for (int i = 0; i < 30; ++i)
        samples.add(measured(QLatin1String(subject)));
    return samples;
}

} // namespace

void startPython()
{
    PythonModule python;
    QTextStream(stdout) << milliseconds([&] { python.initialize(L"tarnwick_bench"); });
}

void startBarePython()
{
    Platform &machine = Platform::native();
    QString path;
    for (int minor = 4; path.isEmpty() && minor < 30; ++minor) {
        for (const std::string &directory : machine.installedDirectories(minor)) {
            for (const std::string &library : machine.pythonLibraries(directory, {}, minor))
                path = QString::fromStdString(library);
        }
    }
    QTextStream(stdout) << milliseconds([&] {
        Platform::Library library = machine.loadLibrary(path.toStdString());
        machine.keepLibrary(path.toStdString());
        exported<void(int)>(library, "Py_InitializeEx")(0);
        const auto run = exported<int(const char *)>(library, "PyRun_SimpleString");
        for (const char *statement : {"import sys\n",
                                      "sys.stdin = sys.__stdin__\n",
                                      "sys.stdout = sys.__stdout__\n",
                                      "sys.stderr = sys.__stderr__\n",
                                      "import json\n"})
            run(statement);
    });
}

void searchForPython()
{
    QTextStream(stdout) << milliseconds([] {
        std::size_t count = Platform::native().loadedModules().size();
        for (int minor = 4; minor < 30; ++minor)
            count += Platform::native().installedDirectories(minor).size();
        std::ignore = count;
    });
}

void benchPython()
{
    const Samples program = samplesOf("python-start");
    const Samples bare = samplesOf("python-bare");
    const Samples search = samplesOf("python-search");
    report::heading(QStringLiteral("Finding and starting Python"));
    report::times(QStringLiteral("initialise"), program);
    report::times(QStringLiteral("the interpreter alone, with the five statements"), bare);
    report::check(QStringLiteral("  ratio"), program.median() / bare.median(), 1.15);
    report::times(QStringLiteral("the search, nothing cached"), search);
    report::check(QStringLiteral("  median"), search.median(), 5, QStringLiteral("ms"));
}
