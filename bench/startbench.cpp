// SPDX-License-Identifier: MIT
//
// From the start of a process to its first painted window.

#include "app/identity.h"
#include "app/tarnwick.h"
#include "bench/report.h"
#include "bench/subjects.h"
#include "python/pythonmodule.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QMainWindow>
#include <QProcess>

#include <cstdlib>

namespace {

/// Ends the process when a widget has been painted: the first one to be is the window itself.
class EndAfterPaint final : public QObject
{
public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() != QEvent::UpdateRequest)
            return false;
        watched->event(event);
        std::_Exit(0);
    }
};

} // namespace

static void showUntilPainted(QMainWindow &window)
{
    window.show();
    EndAfterPaint end;
    window.installEventFilter(&end);
    QApplication::exec();
}

void startProgram()
{
    applyIdentity();
    QCommandLineParser parser;
    parser.process(QStringList{QStringLiteral("tarnwick")});
    Tarnwick window;
    showUntilPainted(window);
}

void startEmptyWindow()
{
    QMainWindow window;
    window.resize(800, 600);
    PythonModule python;
    python.initialize(L"tarnwick_bench");
    std::ignore = CPython::execute("import json\n");
    showUntilPainted(window);
}

static double startTime(const QString &subject)
{
    return milliseconds([&subject] {
        if (QProcess::execute(QCoreApplication::applicationFilePath(), {subject}) != 0)
            qFatal("%s failed", qPrintable(subject));
    });
}

void benchStart()
{
    Samples program;
    Samples empty;
    for (int i = 0; i < 30; ++i) {
        program.add(startTime(QStringLiteral("start-program")));
        empty.add(startTime(QStringLiteral("start-empty-window")));
    }
    report::heading(QStringLiteral("Start to first paint"));
    report::times(QStringLiteral("the program"), program);
    report::times(QStringLiteral("an empty window with the interpreter and json"), empty);
    report::check(QStringLiteral("  ratio"), program.median() / empty.median(), 1.25);
}
