// SPDX-License-Identifier: MIT
//
// Many modes in the main window: the time that they take to open, and their memory.

#include "app/newsessiondlg.h"
#include "app/sessionfile.h"
#include "app/tarnwick.h"
#include "bench/report.h"
#include "bench/subjects.h"
#include "bench/workload.h"
#include "files/rescuefolder.h"
#include "params/parameterspane.h"
#include "session/functionstext.h"
#include "session/session.h"
#include "session/sessionwindow.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QSpinBox>
#include <QSplitter>
#include <QThreadPool>
#include <QTimer>
#include <QToolButton>

#include <malloc.h>
#include <numeric>

namespace {

/// The main window, driven as a user would.
class ModesDriver
{
public:
    ModesDriver()
    {
        m_window.show();
        settle();
    }

    /// Opens a session with its first mode.
    void openSession(const Workload &workload)
    {
        QTimer answering;
        QObject::connect(&answering, &QTimer::timeout, [] {
            QWidget *const modal = QApplication::activeModalWidget();
            if (auto *const dialog = qobject_cast<NewSessionDlg *>(modal)) {
                dialog->findChild<QListWidget *>(QStringLiteral("parts"))->setCurrentRow(0);
                dialog->accept();
            }
        });
        answering.start(5);
        if (!m_window.startSession(workload.path()))
            qFatal("the session was not opened");
        settle();
    }
    void openMode()
    {
        m_window.findChild<QAction *>(QStringLiteral("actionNew_Mode"))->trigger();
        settle();
    }
    void closeModes()
    {
        area()->closeAllSubWindows();
        settle();
    }
    /// Opens a mode, and changes it once.
    void useMode()
    {
        openMode();
        changeCurrentMode();
    }
    /// What the window does a while after a change; a thread does the rest.
    void rescue()
    {
        SessionDescription session;
        const QList<QMdiSubWindow *> modes = area()->subWindowList();
        for (const QMdiSubWindow *const mode : modes)
            session.allParameters.append(
                static_cast<SessionWindow *>(mode->widget())->parametersPane()->values());
        QThreadPool::globalInstance()->start([session] {
            const RescueFolder folder;
            if (!folder.write(folder.path() + QLatin1String("/bench"), sessionFileText(session)))
                qFatal("the session was not rescued");
        });
    }
    void changeCurrentMode()
    {
        const QWidget *const mode = area()->currentSubWindow()->widget();
        auto *const spin = mode->findChild<QSpinBox *>(QStringLiteral("offset"));
        spin->setValue(spin->value() + 1);
        settle();
    }

    /// As the editor's Run button.
    void run()
    {
        m_window.findChild<QToolButton *>(QStringLiteral("run"))->click();
        settle();
    }

private:
    [[nodiscard]] QMdiArea *area() const { return m_window.findChild<QMdiArea *>(); }

    Tarnwick m_window;
};

/// Plain widgets in place of a mode: a form, the registers, two more texts.
class PlainModes
{
public:
    explicit PlainModes(const Workload &workload)
    {
        const std::shared_ptr<Session> session = workload.session();
        m_parameters = session->parameterList();
        const QVariantMap result = session->generate({});
        m_text = functionsText(QStringLiteral("bench"),
                               result.value(QStringLiteral("functions")).toList());
        auto *const area = new QMdiArea;
        area->setViewMode(QMdiArea::TabbedView);
        m_window.setCentralWidget(area);
        m_window.resize(windowSize);
        m_window.show();
        settle();
    }
    void openMode()
    {
        auto *const mode = new QSplitter;
        auto *const texts = new QSplitter(Qt::Vertical);
        mode->addWidget(plainForm(m_parameters).release());
        mode->addWidget(texts);
        for (const QString &text : {QStringLiteral("notes"), m_text, QString()}) {
            QPlainTextEdit *const area = plainTextArea().release();
            texts->addWidget(area);
            area->insertPlainText(text);
        }
        auto *const area = static_cast<QMdiArea *>(m_window.centralWidget());
        area->addSubWindow(mode)->showMaximized();
        settle();
    }
    void closeModes()
    {
        static_cast<QMdiArea *>(m_window.centralWidget())->closeAllSubWindows();
        settle();
    }

private:
    QMainWindow m_window;
    QVariantMap m_parameters;
    QString m_text;
};

/// Times of 50 modes opened one after another.
struct Opening
{
    Samples one;
    Samples ten;
    Samples fifty;
    Samples slowdown; // the last five against the first five

    template <typename OpenMode> void measure(const OpenMode &openMode)
    {
        QVector<double> times;
        for (int i = 0; i < 50; ++i)
            times.append(milliseconds(openMode));
        const auto sum = [&times](int from, int to) {
            return std::accumulate(times.begin() + from, times.begin() + to, 0.0);
        };
        one.add(sum(0, 1));
        ten.add(sum(0, 10));
        fifty.add(sum(0, 50));
        slowdown.add(sum(45, 50) / sum(0, 5));
    }
};

} // namespace

void benchModes()
{
    const Workload workload(60, 1000);
    Opening modes;
    Opening plain;
    Samples rescue;
    ModesDriver driver;
    PlainModes plainModes(workload);
    for (int round = 0; round < 5; ++round) {
        driver.openSession(workload);
        modes.measure([&driver] { driver.openMode(); });
        for (int i = 0; i < 5; ++i) {
            rescue.add(milliseconds([&driver] { driver.rescue(); }));
            QThreadPool::globalInstance()->waitForDone();
        }
        driver.closeModes();
        plainModes.openMode();
        plain.measure([&plainModes] { plainModes.openMode(); });
        plainModes.closeModes();
    }
    report::heading(QStringLiteral("Opening modes beside a first one, ") + workload.name());
    report::times(QStringLiteral("1 mode"), modes.one);
    report::times(QStringLiteral("10 modes"), modes.ten);
    report::times(QStringLiteral("50 modes"), modes.fifty);
    report::check(QStringLiteral("  last five against first five"), modes.slowdown.median(), 2);
    report::times(QStringLiteral("50 plain splitters in a plain area"), plain.fifty);
    report::value(QStringLiteral("  last five against first five"), plain.slowdown.median());
    report::check(QStringLiteral("rescue of a session of 50 modes"),
                  rescue.median(),
                  5,
                  QStringLiteral("ms"));
}

void benchRun()
{
    const Workload workload(60, 1000);
    ModesDriver driver;
    driver.openSession(workload);
    constexpr int count = 20;
    for (int i = 1; i < count; ++i)
        driver.openMode();
    const std::shared_ptr<Session> session = workload.session();
    Samples run;
    Samples load;
    Samples change;
    for (int i = 0; i < 9; ++i) {
        run.add(milliseconds([&driver] { driver.run(); }));
        load.add(milliseconds([&session] { session->load(); }));
        change.add(milliseconds([&driver] { driver.changeCurrentMode(); }));
    }
    report::heading(QStringLiteral("Run with %1 modes, ").arg(count) + workload.name());
    report::times(QStringLiteral("run"), run);
    report::times(QStringLiteral("one import and the queries"), load);
    report::times(QStringLiteral("one parameter change"), change);
    report::check(QStringLiteral("  run to all of these"),
                  run.median() / (load.median() + count * change.median()),
                  1.1);
}

/// The memory that this process alone has written to, in MiB.
static double writtenMemory()
{
    QFile file(QStringLiteral("/proc/self/smaps_rollup"));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("this system does not tell how much memory a process has written to");
    const QRegularExpression line(QStringLiteral("Private_Dirty:\\s+(\\d+) kB"));
    return line.match(QString::fromLatin1(file.readAll())).captured(1).toDouble() / 1024;
}

static void benchMemory(int instructions, double most)
{
    const Workload workload(60, instructions);
    ModesDriver driver;
    driver.openSession(workload);
    constexpr int count = 10;
    const double before = writtenMemory();
    for (int i = 0; i < count; ++i)
        driver.openMode();
    const double opened = writtenMemory();
    driver.changeCurrentMode();
    const double changedOnce = writtenMemory();
    for (int i = 0; i < 200; ++i)
        driver.changeCurrentMode();
    const double changed = writtenMemory();

    const QString unit = QStringLiteral("MiB");
    report::heading(QStringLiteral("Memory written, ") + workload.name());
    report::check(QStringLiteral("per mode"), (opened - before) / count, most, unit);
    report::value(QStringLiteral("the whole program with %1 modes").arg(count + 1), opened, unit);
    // From then on there is room for the old and the new result.
    report::value(QStringLiteral("added by a first change"), changedOnce - opened, unit);
    report::check(QStringLiteral("added by 200 more, per cent of all"),
                  100 * (changed - changedOnce) / opened,
                  2);
}

void benchMemory1000()
{
    benchMemory(1000, 2.1);
}

void benchMemory10000()
{
    benchMemory(10000, 14.5);
}

/// What stays of 50 modes when they are closed, time and again.
template <typename OpenModes, typename CloseModes>
static void measureRounds(const QString &what, const OpenModes &open, const CloseModes &close)
{
    QVector<double> written;
    QVector<double> used;
    for (int round = 0; round < 5; ++round) {
        open();
        close();
        written.append(writtenMemory());
        used.append(static_cast<double>(mallinfo2().uordblks) / 1024);
    }
    const auto growth = [&written](int from, int to) {
        return 100 * (written.at(to) / written.at(from) - 1);
    };
    report::heading(what);
    report::value(
        QStringLiteral("memory written after one round"), written.at(0), QStringLiteral("MiB"));
    report::check(QStringLiteral("  added by the second, per cent"), growth(0, 1), 10);
    // What is free by then has room for all.
    report::check(QStringLiteral("  added by three more, per cent"), growth(1, 4), 1);
    report::check(QStringLiteral("heap in use, added by each of these"),
                  (used.at(4) - used.at(1)) / 3,
                  50,
                  QStringLiteral("KiB"));
}

void benchRounds()
{
    const Workload workload(60, 1000);
    ModesDriver driver;
    measureRounds(
        QStringLiteral("50 modes opened, changed once and closed, ") + workload.name(),
        [&] {
            driver.openSession(workload);
            for (int i = 1; i < 50; ++i)
                driver.useMode();
        },
        [&driver] { driver.closeModes(); });
}

void benchPlainRounds()
{
    const Workload workload(60, 1000);
    // Has the interpreter started.
    ModesDriver driver;
    driver.openSession(workload);
    driver.closeModes();
    PlainModes modes(workload);
    measureRounds(
        QStringLiteral("50 plain splitters in a plain area, opened and closed"),
        [&modes] {
            for (int i = 0; i < 50; ++i)
                modes.openMode();
        },
        [&modes] { modes.closeModes(); });
}
