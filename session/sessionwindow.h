// SPDX-License-Identifier: MIT
#pragma once

#include <QSplitter>
#include <QVariantMap>

#include <memory>

class ErrorsPane;
class FunctionsPane;
class NotesPane;
class ParametersPane;
class Session;

/// One mode of a session: its parameter form, the result generated from it, and the panes that show
/// the result. Generating runs Python, which may let events through: the window must not be
/// destroyed, only closed or hidden, while CPython::isRunning().
class SessionWindow : public QSplitter
{
    Q_OBJECT

public:
    /// Shows the form with the session's descriptors and generates nothing yet.
    explicit SessionWindow(std::shared_ptr<Session> session, QWidget *parent = nullptr);
    ~SessionWindow() override;

    /// The last generation result; empty before the first and after a failed one.
    [[nodiscard]] QVariantMap results() const { return m_results; }
    [[nodiscard]] ParametersPane *parametersPane() const { return m_parametersPane; }
    [[nodiscard]] ErrorsPane *errorsPane() const { return m_errorsPane; }

Q_SIGNALS:
    /// The user changed a parameter, which is generated from next.
    void parameterChanged();
    /// A generation succeeded and is shown.
    void regenerated(SessionWindow *sessionWin);

public Q_SLOTS:
    /// Generates from the form's values and shows the result. A generation that a newer one of this
    /// window overtakes is dropped.
    void regenerate();
    /// Rebuilds the form from the session's descriptors, keeping its values, and regenerates.
    void reload();

protected:
    void showEvent(QShowEvent *event) override;

private:
    void buildLayout();
    void prepareFirstShow();
    void clearPanes();
    void showResults(const QVariantMap &inputs);
    [[nodiscard]] bool generate(const QVariantMap &values);

    const std::shared_ptr<Session> m_session;
    QVariantMap m_results;
    ErrorsPane *const m_errorsPane;
    FunctionsPane *const m_functionsPane;
    NotesPane *const m_notesPane;
    ParametersPane *const m_parametersPane;
    /// Counts the generations, so that one which a newer one has overtaken is noticed.
    int m_generations = 0;
    /// Those that are inside each other at present.
    int m_runningGenerations = 0;
    /// One was asked for inside too many others.
    bool m_generateAgain = false;
    /// The present generation has let events through, and the panes were cleared before.
    bool m_panesCleared = false;
    bool m_prepared = false;
    bool m_shown = false;
};
