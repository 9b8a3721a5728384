// SPDX-License-Identifier: MIT
#include "bench/report.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QTextStream>

#include <algorithm>

double Samples::quantile(double share) const
{
    QVector<double> sorted = m_values;
    std::sort(sorted.begin(), sorted.end());
    return sorted.value(static_cast<int>(share * (sorted.size() - 1) + 0.5));
}

void settle()
{
    QAbstractEventDispatcher *const dispatcher = QAbstractEventDispatcher::instance();
    do {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    } while (dispatcher->processEvents(QEventLoop::AllEvents));
}

static void print(const QString &what, double value, const QString &unit, const QString &rest)
{
    QTextStream(stdout) << QStringLiteral("  %1 %2 %3 %4")
                               .arg(what, -50)
                               .arg(value, 9, 'f', 2)
                               .arg(unit, -3)
                               .arg(rest)
                        << Qt::endl;
}

void report::heading(const QString &text)
{
    QTextStream(stdout) << '\n' << text << Qt::endl;
}

void report::times(const QString &work, const Samples &milliseconds)
{
    print(work,
          milliseconds.median(),
          QStringLiteral("ms"),
          QStringLiteral("(%1 to %2, %3 times)")
              .arg(milliseconds.quantile(0.25), 0, 'f', 2)
              .arg(milliseconds.quantile(0.75), 0, 'f', 2)
              .arg(milliseconds.count()));
}

void report::value(const QString &what, double value, const QString &unit)
{
    print(what, value, unit, QString());
}

void report::check(const QString &what, double value, double most, const QString &unit)
{
    print(what,
          value,
          unit,
          QStringLiteral("at most %1: %2")
              .arg(most, 0, 'f', 2)
              .arg(value <= most ? QStringLiteral("ok") : QStringLiteral("MISSED")));
}
