// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QString>
#include <QVector>

/// What one piece of work took each time it was done.
class Samples
{
public:
    void add(double value) { m_values.append(value); }

    [[nodiscard]] int count() const { return m_values.size(); }
    [[nodiscard]] double median() const { return quantile(0.5); }
    /// The value below which \a share of all values lie.
    [[nodiscard]] double quantile(double share) const;

private:
    QVector<double> m_values;
};

/// How long \a work takes, in milliseconds.
template <typename Work> [[nodiscard]] double milliseconds(const Work &work)
{
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

/// Lets events through until there are none left: everything is laid out, painted and deleted.
void settle();

/// The lines of the table that the program prints.
namespace report {

void heading(const QString &text);
/// Median and quartiles.
void times(const QString &work, const Samples &milliseconds);
/// A number without a target.
void value(const QString &what, double value, const QString &unit = QString());
/// A number with its target, and whether it keeps it.
void check(const QString &what, double value, double most, const QString &unit = QString());

} // namespace report
