// SPDX-License-Identifier: MIT
//
// What printing costs in the console, beside a bare text area that takes each chunk and lets events
// through.

#include "bench/report.h"
#include "bench/subjects.h"
#include "python/pythonmodule.h"
#include "tools/pythonconsole.h"

#include <QCoreApplication>
#include <QFile>
#include <QPlainTextEdit>

#include <memory>
#include <unistd.h>

namespace {

/// Resident memory of this process in MB.
double residentMegabytes()
{
    QFile file(QStringLiteral("/proc/self/statm"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').value(1).toDouble() * static_cast<double>(getpagesize()) / 1e6;
}

/// Each line comes as two chunks, as from print().
template <typename Write> double printTime(int lines, const Write &write)
{
    return milliseconds([&] {
        for (int i = 0; i < lines; ++i) {
            write(QByteArray::number(i) + " a line as a generator prints it");
            write(QByteArrayLiteral("\n"));
        }
    });
}

template <typename Write> double dotTime(int chunks, const Write &write)
{
    return milliseconds([&] {
        for (int i = 0; i < chunks; ++i)
            write(QByteArrayLiteral("."));
    });
}

void writeToConsole(const QByteArray &text)
{
    PythonConsole::writeText(0, text.constData());
}

/// A text area as in the console's form.
class BareArea
{
public:
    BareArea()
    {
        m_area.setReadOnly(true);
        m_area.document()->setMaximumBlockCount(5000);
    }
    void operator()(const QByteArray &text)
    {
        m_area.moveCursor(QTextCursor::End);
        m_area.insertPlainText(QString::fromUtf8(text));
        QCoreApplication::processEvents();
    }

private:
    QPlainTextEdit m_area;
};

} // namespace

void benchConsole()
{
    constexpr int lines = 20000;
    PythonModule python;
    python.initialize(L"tarnwick_bench");
    Samples bare;
    Samples hidden;
    Samples shown;
    Samples tenfold;
    Samples dots;
    Samples bareDots;
    // First, as later ones find memory that was used before.
    double added = -residentMegabytes();
    {
        const PythonConsole console(&python);
        std::ignore = printTime(5 * lines, writeToConsole);
        added += residentMegabytes();
        tenfold.add(printTime(10 * lines, writeToConsole));
    }
    for (int i = 0; i < 5; ++i) {
        BareArea area;
        bare.add(printTime(lines, [&area](const QByteArray &text) { area(text); }));
        auto console = std::make_unique<PythonConsole>(&python);
        hidden.add(printTime(lines, writeToConsole));
        console = std::make_unique<PythonConsole>(&python);
        console->resize(console->preferredSize());
        console->show();
        settle();
        shown.add(printTime(lines, writeToConsole));
        console = std::make_unique<PythonConsole>(&python);
        dots.add(dotTime(4000, writeToConsole));
        BareArea dotArea;
        bareDots.add(dotTime(4000, [&dotArea](const QByteArray &text) { dotArea(text); }));
    }

    report::heading(QStringLiteral("Printing 20,000 lines into the console"));
    report::times(QStringLiteral("a bare text area"), bare);
    report::times(QStringLiteral("hidden"), hidden);
    report::check(QStringLiteral("  times the bare one"), hidden.median() / bare.median(), 1.1);
    report::times(QStringLiteral("shown"), shown);
    report::check(QStringLiteral("  times hidden"), shown.median() / hidden.median(), 1.3);
    report::times(QStringLiteral("ten times the lines, hidden"), tenfold);
    report::check(QStringLiteral("  ratio"), tenfold.median() / hidden.median(), 11.5);
    report::check(
        QStringLiteral("  memory added by the first 100,000"), added, 60, QStringLiteral("MB"));
    report::times(QStringLiteral("4,000 single characters, bare"), bareDots);
    report::times(QStringLiteral("4,000 single characters, hidden"), dots);
    report::check(QStringLiteral("  median"), dots.median(), 3000, QStringLiteral("ms"));
}
