// SPDX-License-Identifier: MIT
#pragma once

#include <QSize>
#include <QString>
#include <QTemporaryDir>
#include <QVariantMap>

#include <memory>

class QPlainTextEdit;
class QWidget;
class Session;

/// The size in which the main window opens. All windows here have it, as most of the time of a small
/// change goes into painting.
constexpr QSize windowSize(800, 600);

/// A generator of a given size, shaped like those that engineers write: it searches a PLL setting and
/// computes registers; some writes are explained, and some lines are comments. Of its parameters
/// "offset" changes every line of the result and "trim" one write in 200. Half of the rows are in
/// groups.
///
/// A workload starts no interpreter: one has to run when its session is asked for.
class Workload
{
public:
    Workload(int parameters, int instructions);

    /// The generator file.
    [[nodiscard]] QString path() const { return m_path; }
    [[nodiscard]] QString moduleName() const;
    [[nodiscard]] std::shared_ptr<Session> session() const;
    /// Such as "200 parameters, 10000 instructions".
    [[nodiscard]] QString name() const;

private:
    const int m_parameters;
    const int m_instructions;
    const QTemporaryDir m_folder;
    const QString m_path;
};

/// What is compared with: the same widgets as in a parameter form, in the same layouts, and nothing
/// else.
[[nodiscard]] std::unique_ptr<QWidget> plainForm(const QVariantMap &parameters);
/// A text area like that of the register pane.
[[nodiscard]] std::unique_ptr<QPlainTextEdit> plainTextArea();
