// SPDX-License-Identifier: MIT
#include "session/sessionwindow.h"

#include "params/parameterspane.h"
#include "session/errorspane.h"
#include "session/functionspane.h"
#include "session/generationresult.h"
#include "session/notespane.h"
#include "session/session.h"

#include <QAbstractEventDispatcher>
#include <QLayout>
#include <QPlainTextEdit>
#include <QPointer>
#include <QScrollArea>
#include <QScrollBar>

SessionWindow::SessionWindow(std::shared_ptr<Session> session, QWidget *parent)
    : QSplitter(Qt::Horizontal, parent)
    , m_session(std::move(session))
    , m_errorsPane(new ErrorsPane(this))
    , m_functionsPane(new FunctionsPane(this))
    , m_notesPane(new NotesPane(this))
    , m_parametersPane(new ParametersPane(this))
{
    buildLayout();
    m_parametersPane->setParameters(m_session->parameterList(), m_session->parameterGroupList());
    // Before the generation, in which the user may ask to leave.
    connect(m_parametersPane,
            &ParametersPane::parameterChanged,
            this,
            &SessionWindow::parameterChanged);
    connect(m_parametersPane, &ParametersPane::parameterChanged, this, &SessionWindow::regenerate);
}

SessionWindow::~SessionWindow()
{
    // Its end makes a spin box that is being typed into commit its text.
    m_parametersPane->disconnect(this);
}

void SessionWindow::buildLayout()
{
    auto *const results = new QSplitter(Qt::Vertical);
    auto *const upperResults = new QSplitter(Qt::Horizontal);
    upperResults->addWidget(m_notesPane);
    upperResults->addWidget(m_functionsPane);
    results->addWidget(upperResults);
    results->addWidget(m_errorsPane);
    results->setStretchFactor(0, 4);
    results->setStretchFactor(1, 1);
    addWidget(m_parametersPane);
    addWidget(results);

    // The registers are what the window is for; notes are short lines.
    upperResults->setStretchFactor(0, 1);
    upperResults->setStretchFactor(1, 2);
    setStretchFactor(0, 0);
    setStretchFactor(1, 1);

    // The tab order of the results is the order in which they are seen, from left to right.
    const auto textArea = [](QWidget *pane) { return pane->findChild<QPlainTextEdit *>(); };
    setTabOrder(textArea(m_notesPane), textArea(m_functionsPane));
    setTabOrder(textArea(m_functionsPane), textArea(m_errorsPane));
}

void SessionWindow::showEvent(QShowEvent *event)
{
    QSplitter::showEvent(event);
    if (std::exchange(m_shown, true))
        return;
    // The text areas have just brought their cursors into view, which are at the end.
    for (const QPlainTextEdit *const area : findChildren<QPlainTextEdit *>()) {
        area->verticalScrollBar()->setValue(0);
        area->horizontalScrollBar()->setValue(0);
    }
}

/// The form gets the keyboard and the width that its rows ask for, the results have the rest. Once
/// only: from then on both are the user's.
void SessionWindow::prepareFirstShow()
{
    if (std::exchange(m_prepared, true))
        return;
    m_parametersPane->focusFirstRow();
    const auto *const area = m_parametersPane->findChild<QScrollArea *>();
    const QMargins margins = m_parametersPane->layout()->contentsMargins();
    // Values of other generations may be longer.
    const int slack = fontMetrics().horizontalAdvance(QStringLiteral("000000"));
    const int formWidth = area->widget()->sizeHint().width()
        + area->verticalScrollBar()->sizeHint().width() + margins.left() + margins.right() + slack;
    setSizes({formWidth, qMax(formWidth, width() - formWidth)});
}

void SessionWindow::clearPanes()
{
    m_errorsPane->clear();
    m_functionsPane->clear();
    m_notesPane->clear();
}

void SessionWindow::regenerate()
{
    // Each takes its part of the stack.
    constexpr int mostRunning = 50;
    if (m_runningGenerations >= mostRunning) {
        m_generateAgain = true;
        return;
    }
    const QVariantMap values = m_parametersPane->values();
    if (!generate(values))
        return;
    if (!m_results.isEmpty())
        showResults(values);
    else if (!m_panesCleared) // else what was told meanwhile may stand there
        clearPanes();
    // Not before the value labels show what the generator used.
    prepareFirstShow();
}

/// Replaces the stored result. False when this window is gone, or a newer generation has replaced
/// the result, by the time Python returns.
bool SessionWindow::generate(const QVariantMap &values)
{
    const int generation = ++m_generations;
    const QPointer<SessionWindow> alive(this);
    // The old texts must not be seen any more once this generation runs. Nothing is painted before
    // it returns, unless it prints, which lets events through. Waiting for that moment leaves the
    // old text in place for the common case, where most of it is right.
    const QMetaObject::Connection clearing =
        connect(QAbstractEventDispatcher::instance(),
                &QAbstractEventDispatcher::awake,
                this,
                [this, generation] {
                    if (generation == m_generations && !std::exchange(m_panesCleared, true))
                        clearPanes();
                });
    m_panesCleared = false;
    ++m_runningGenerations;
    const std::shared_ptr<Session> session = m_session;
    const QVariantMap results = session->generate(values);
    disconnect(clearing);
    if (!alive)
        return false;
    --m_runningGenerations;
    if (std::exchange(m_generateAgain, false)) {
        regenerate();
        return false;
    }
    if (generation != m_generations)
        return false;
    m_results = results;
    return true;
}

void SessionWindow::showResults(const QVariantMap &inputs)
{
    using namespace generationresult;
    m_results[generationresult::inputs] = inputs;
    // Each look-up adds a key that the generator left out: the exports tell by the keys whether
    // there is a result.
    m_parametersPane->showUsedValues(m_results[parameters].toMap());
    m_notesPane->setLines(m_results[notes].toStringList());
    m_functionsPane->setFunctions(m_results[name].toString(), m_results[functions].toList());
    m_errorsPane->setLines(m_results[errors].toStringList());
    Q_EMIT regenerated(this);
}

void SessionWindow::reload()
{
    m_parametersPane->setParameters(m_session->parameterList(), m_session->parameterGroupList());
    regenerate();
}
