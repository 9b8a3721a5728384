// SPDX-License-Identifier: MIT
//
// One change of a parameter, from the widget's signal to the painted panes.

#include "bench/report.h"
#include "bench/subjects.h"
#include "bench/workload.h"
#include "python/pythonmodule.h"
#include "session/errorspane.h"
#include "session/functionspane.h"
#include "session/functionstext.h"
#include "session/generationresult.h"
#include "session/notespane.h"
#include "session/session.h"
#include "session/sessionwindow.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QPlainTextEdit>
#include <QSpinBox>
#include <QSplitter>

/// Defines a Python function that times the interpreter's part of a generation, with the values of
/// the last one.
static void defineOwnTime(const QString &moduleName)
{
    const QString code = QStringLiteral("import time\n"
                                        "def own_time():\n"
                                        "    start = time.perf_counter()\n"
                                        "    json.dumps(%1.Settings().generate('BENCH',"
                                        " tarnwick_parameters))\n"
                                        "    return (time.perf_counter() - start) * 1000\n");
    std::ignore = CPython::execute(code.arg(moduleName).toUtf8().constData());
}

static double ownTime()
{
    return std::stod(CPython::evaluate("own_time()"));
}

namespace {

/// A generation and the text areas that show it, in plain code and without a form: what the window's
/// panes can hardly beat.
class PlainPanes
{
public:
    explicit PlainPanes(const Workload &workload)
        : m_generate(QStringLiteral("json.dumps(%1.Settings().generate('BENCH',"
                                    " tarnwick_parameters))")
                         .arg(workload.moduleName())
                         .toUtf8())
    {
        for (QPlainTextEdit *&area : m_areas) {
            area = plainTextArea().release();
            m_window.addWidget(area);
        }
        m_window.resize(windowSize);
        m_window.setSizes({200, 500, 100});
        m_window.show();
        settle();
    }

    void regenerate()
    {
        const std::string json = CPython::evaluate(m_generate.constData());
        const QVariantMap result =
            QJsonDocument::fromJson(QByteArray::fromStdString(json)).object().toVariantMap();
        show(0, result.value(generationresult::notes).toStringList().join(QLatin1Char('\n')));
        show(1,
             functionsText(result.value(generationresult::name).toString(),
                           result.value(generationresult::functions).toList()));
        show(2, result.value(generationresult::errors).toStringList().join(QLatin1Char('\n')));
    }

private:
    void show(int area, const QString &text)
    {
        m_areas[area]->clear();
        m_areas[area]->insertPlainText(text);
    }

    const QByteArray m_generate;
    QSplitter m_window;
    QPlainTextEdit *m_areas[3];
};

/// What one change costs, in milliseconds.
struct Change
{
    Samples whole;
    Samples interpreter;
    Samples plainPanes;
};

} // namespace

/// Changes the parameter \a name once. The interpreter alone and the plain panes do their work for
/// the same values, so that all meet the same machine.
static void measureChange(const SessionWindow &window,
                          const QString &name,
                          PlainPanes &plainPanes,
                          Change *times)
{
    auto *const spin = window.findChild<QSpinBox *>(name);
    times->whole.add(milliseconds([spin] {
        spin->setValue(spin->value() + 1);
        settle();
    }));
    times->interpreter.add(ownTime());
    times->plainPanes.add(milliseconds([&plainPanes] {
        plainPanes.regenerate();
        settle();
    }));
}

static void reportChange(const QString &what, const Change &times, double most)
{
    const double interpreter = times.interpreter.median();
    report::times(QStringLiteral("interpreter: generate + json.dumps"), times.interpreter);
    report::times(what, times.whole);
    report::check(
        QStringLiteral("  times the interpreter's own"), times.whole.median() / interpreter, most);
    report::value(QStringLiteral("  plain panes, times the interpreter's own"),
                  times.plainPanes.median() / interpreter);
}

static void benchWorkload(int parameters, int instructions, double mostForAll, double mostForFew)
{
    const Workload workload(parameters, instructions);
    SessionWindow window(workload.session());
    window.regenerate();
    window.resize(windowSize);
    window.show();
    settle();
    defineOwnTime(workload.moduleName());
    PlainPanes plainPanes(workload);

    Change all;
    Change few;
    const int count = 30 + 20000 / (100 + instructions);
    for (int i = 0; i < count; ++i)
        measureChange(window, QStringLiteral("offset"), plainPanes, &all);
    for (int i = 0; i < count; ++i)
        measureChange(window, QStringLiteral("trim"), plainPanes, &few);
    report::heading(QStringLiteral("One parameter change, ") + workload.name());
    reportChange(QStringLiteral("every line differs"), all, mostForAll);
    reportChange(QStringLiteral("at most 1 line in 200 differs"), few, mostForFew);
}

/// The register pane by itself, beside a text area that is given the finished text.
static void benchFunctionsPane()
{
    const Workload workload(10, 10000);
    const std::shared_ptr<Session> session = workload.session();
    QVariantList functions[2];
    QString texts[2];
    for (int i = 0; i < 2; ++i) {
        const QVariantMap offset{{QStringLiteral("value"), i}};
        const QVariantMap result = session->generate({{QStringLiteral("offset"), offset}});
        functions[i] = result.value(QStringLiteral("functions")).toList();
        texts[i] = functionsText(QStringLiteral("bench"), functions[i]);
    }
    FunctionsPane pane;
    const std::unique_ptr<QPlainTextEdit> area = plainTextArea();
    for (QWidget *const widget :
         {static_cast<QWidget *>(&pane), static_cast<QWidget *>(area.get())}) {
        widget->resize(windowSize);
        widget->show();
        settle();
    }
    Samples filling;
    Samples plain;
    for (int i = 0; i < 60; ++i) {
        filling.add(milliseconds([&] {
            pane.setFunctions(QStringLiteral("bench"), functions[i % 2]);
            settle();
        }));
        plain.add(milliseconds([&] {
            area->clear();
            area->insertPlainText(texts[i % 2]);
            settle();
        }));
    }
    report::heading(QStringLiteral("Filling the register pane, 10000 lines"));
    report::times(QStringLiteral("the pane, from the result's functions"), filling);
    report::times(QStringLiteral("plain text area, one clear and one insert"), plain);
    report::check(QStringLiteral("  ratio"), filling.median() / plain.median(), 1.15);
}

/// What the toolkit would wrap between words, which it looks for in vain, in quadratic time.
static void benchEndlessLines()
{
    NotesPane notes;
    ErrorsPane errors;
    FunctionsPane functions;
    for (QWidget *const pane : std::initializer_list<QWidget *>{&notes, &errors, &functions}) {
        pane->resize(windowSize / 2);
        pane->show();
    }
    settle();
    const QString line(1000000, QLatin1Char('x'));
    const QVariantList comment{QStringLiteral("COMMENT"), line};
    const QVariantMap function{{QStringLiteral("name"), QStringLiteral("f")},
                               {QStringLiteral("instructions"), QVariantList{QVariant(comment)}}};
    const double time = milliseconds([&] {
        notes.setLines({line});
        errors.setLines({line});
        functions.setFunctions(QStringLiteral("bench"), {function});
        settle();
    });
    report::heading(QStringLiteral("1 MB without a blank in a note, an error and a comment"));
    report::check(QStringLiteral("shown after"), time, 2000, QStringLiteral("ms"));
}

void benchChange()
{
    PythonModule python;
    python.initialize(L"tarnwick_bench");
    benchWorkload(10, 50, 3.2, 3.2);
    benchWorkload(60, 1000, 3.2, 3.2);
    benchWorkload(200, 10000, 2.3, 1.9);
    benchFunctionsPane();
    benchEndlessLines();
}
