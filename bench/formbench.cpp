// SPDX-License-Identifier: MIT
//
// The parameter form: building it, and building it anew.

#include "bench/report.h"
#include "bench/subjects.h"
#include "bench/workload.h"
#include "params/parameterspane.h"
#include "python/pythonmodule.h"
#include "session/session.h"

#include <QJsonDocument>

namespace {

/// Counts the events that a form and its widgets get.
class EventCounter final : public QObject
{
public:
    explicit EventCounter(const QWidget &form)
    {
        for (QWidget *const widget : form.findChildren<QWidget *>())
            widget->installEventFilter(this);
    }
    bool eventFilter(QObject *, QEvent *) override
    {
        ++m_count;
        return false;
    }
    [[nodiscard]] int count() const { return m_count; }

private:
    int m_count = 0;
};

} // namespace

static QVariantMap descriptorsOf(int parameters)
{
    return Workload(parameters, 0).session()->parameterList();
}

/// An equal map that shares nothing, as a reloaded generator gives it.
static QVariantMap reread(const QVariantMap &map)
{
    return QJsonDocument::fromJson(QJsonDocument::fromVariant(map).toJson()).toVariant().toMap();
}

static void showForm(QWidget &form)
{
    form.resize(windowSize);
    form.show();
    settle();
}

static void
measureBuilding(const QVariantMap &descriptors, int count, Samples *built, Samples *plain)
{
    for (int i = 0; i < count; ++i) {
        {
            std::unique_ptr<ParametersPane> form;
            built->add(milliseconds([&] {
                form = std::make_unique<ParametersPane>();
                form->setParameters(descriptors, {});
                showForm(*form);
            }));
        }
        std::unique_ptr<QWidget> form;
        plain->add(milliseconds([&] {
            form = plainForm(descriptors);
            showForm(*form);
        }));
    }
}

static void benchBuilding()
{
    report::heading(QStringLiteral("Form: built, shown, painted"));
    QMap<int, double> medians;
    for (const int rows : {10, 60, 200, 800, 1000}) {
        const QVariantMap descriptors = descriptorsOf(rows);
        Samples built;
        Samples plain;
        measureBuilding(descriptors, 10 + 2000 / rows, &built, &plain);
        medians.insert(rows, built.median());
        report::times(QStringLiteral("%1 rows").arg(rows), built);
        report::times(QStringLiteral("%1 rows of plain widgets in plain layouts").arg(rows), plain);
        const double ratio = built.median() / plain.median();
        if (rows == 200)
            report::check(QStringLiteral("  ratio"), ratio, 1.2);
        else
            report::value(QStringLiteral("  ratio"), ratio);
    }
    report::check(QStringLiteral("growth from 200 to 800 rows"),
                  medians.value(800) / medians.value(200),
                  4.5);
}

static void benchRebuilding()
{
    const QVariantMap descriptors = descriptorsOf(200);
    QVariantMap changed = descriptors;
    QVariantMap descriptor = changed.first().toMap();
    descriptor.insert(QStringLiteral("label"), QStringLiteral("renamed"));
    changed.first() = descriptor;

    Samples built;
    Samples plain;
    measureBuilding(descriptors, 20, &built, &plain);
    ParametersPane form;
    form.setParameters(descriptors, {});
    showForm(form);
    Samples unchangedTimes;
    Samples changedTimes;
    int events = 0;
    for (int i = 0; i < 20; ++i) {
        const QVariantMap same = reread(descriptors);
        {
            const EventCounter counter(form);
            unchangedTimes.add(milliseconds([&] {
                form.setParameters(same, {});
                settle();
            }));
            events += counter.count();
        }
        changedTimes.add(milliseconds([&] {
            form.setParameters(changed, {});
            settle();
        }));
        form.setParameters(descriptors, {});
        settle();
    }
    report::heading(QStringLiteral("Form of 200 rows, built anew while it is shown"));
    report::times(QStringLiteral("unchanged descriptors"), unchangedTimes);
    report::check(QStringLiteral("  median"), unchangedTimes.median(), 0.3, QStringLiteral("ms"));
    report::check(QStringLiteral("  events that its widgets got"), events, 0);
    report::times(QStringLiteral("one label changed"), changedTimes);
    report::check(
        QStringLiteral("  times a first build"), changedTimes.median() / built.median(), 1.3);
}

void benchForm()
{
    PythonModule python;
    python.initialize(L"tarnwick_bench");
    benchBuilding();
    benchRebuilding();
}
