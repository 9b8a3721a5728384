// SPDX-License-Identifier: MIT
//
// Measures what a user waits for, and prints it beside its target. Wants a release build and a quiet
// machine.
//
//     tarnwick_bench              everything
//     tarnwick_bench <subject>    one of the subjects below

#include "bench/subjects.h"
#include "python/platform.h"

#include <QApplication>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>

namespace {

struct Subject
{
    const char *name;
    void (*run)();
    bool isPartOfAnother = false;
};

constexpr Subject subjects[] = {
    {"change", benchChange},
    {"form", benchForm},
    {"modes", benchModes},
    {"memory-1000", benchMemory1000},
    {"memory-10000", benchMemory10000},
    {"rounds", benchRounds},
    {"rounds-plain", benchPlainRounds},
    {"exports", benchExports},
    {"console", benchConsole},
    {"editor", benchEditor},
    {"run", benchRun},
    {"python", benchPython},
    {"python-start", startPython, true},
    {"python-bare", startBarePython, true},
    {"python-search", searchForPython, true},
    {"start", benchStart},
    {"start-program", startProgram, true},
    {"start-empty-window", startEmptyWindow, true},
};

} // namespace

static int runAll(const QString &program)
{
    QTextStream(stdout) << "Medians, with the quartiles in brackets." << Qt::endl;
    const QTemporaryDir settings;
    for (const char *const home : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
        qputenv(home, settings.path().toLocal8Bit());
    for (const Subject &subject : subjects) {
        if (subject.isPartOfAnother)
            continue;
        if (const int status = QProcess::execute(program, {QLatin1String(subject.name)}))
            return status;
    }
    // A miss is no failure: how quiet the machine was, only a reader of the table can tell.
    return 0;
}

int main(int argc, char *argv[])
{
    Platform::native().useUtf8Locale();
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The offscreen platform remarks on every window that is resized.
    QLoggingCategory::setFilterRules(QStringLiteral("default.warning=false"));
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const QApplication application(argc, argv);
    const QString wanted = QCoreApplication::arguments().value(1);
    if (wanted.isEmpty())
        return runAll(QCoreApplication::applicationFilePath());
    for (const Subject &subject : subjects) {
        if (wanted == QLatin1String(subject.name)) {
            subject.run();
            return 0;
        }
    }
    QTextStream(stderr) << "No such subject: " << wanted << Qt::endl;
    return 2;
}
