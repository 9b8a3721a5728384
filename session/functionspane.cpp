// SPDX-License-Identifier: MIT
#include "session/functionspane.h"

#include "session/functionstext.h"
#include "ui_functionspane.h"

#include <QFontDatabase>
#include <QScrollBar>
#include <QTextBlock>
#include <QVector>

FunctionsPane::FunctionsPane(QWidget *parent)
    : QWidget(parent)
    , m_ui(std::make_unique<Ui::FunctionsPane>())
{
    m_ui->setupUi(this);
    m_ui->functions->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
}

FunctionsPane::~FunctionsPane() = default;

void FunctionsPane::setFunctions(const QString &name, const QVariantList &functions)
{
    const QString text = functionsText(name, functions);
    QPlainTextEdit *const view = m_ui->functions;
    if (!updateLines(text)) {
        view->clear();
        view->moveCursor(QTextCursor::End);
        view->insertPlainText(text);
        return;
    }
    // What clearing and inserting would have left behind.
    const QTextCursor cursor = view->textCursor();
    if (!cursor.atEnd() || cursor.hasSelection())
        view->moveCursor(QTextCursor::End);
    scrollToBeginning();
}

void FunctionsPane::scrollToBeginning()
{
    m_ui->functions->verticalScrollBar()->setValue(0);
    m_ui->functions->horizontalScrollBar()->setValue(0);
}

void FunctionsPane::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    // The text area has just brought its cursor into view, which is at the end.
    scrollToBeginning();
}

void FunctionsPane::clear()
{
    m_ui->functions->clear();
}

/// Brings the shown text up to date line by line when few of its lines change, which is what most
/// changes of a parameter do: the text area takes far longer to set a text than to keep one. False,
/// with nothing changed, when the whole text had better be set.
bool FunctionsPane::updateLines(const QString &text)
{
    const QString shown = m_ui->functions->document()->toRawText();
    const QVector<QStringRef> oldLines = shown.splitRef(QChar::ParagraphSeparator);
    const QVector<QStringRef> newLines = text.splitRef(QLatin1Char('\n'));
    if (oldLines.size() != newLines.size())
        return false;

    QVector<int> changed;
    const int mostChanges = oldLines.size() / 50;
    for (int i = 0; i < oldLines.size(); ++i) {
        if (oldLines.at(i) == newLines.at(i))
            continue;
        if (changed.size() == mostChanges)
            return false;
        changed.append(i);
    }
    QTextCursor cursor(m_ui->functions->document());
    cursor.beginEditBlock();
    for (const int line : qAsConst(changed)) {
        cursor.setPosition(m_ui->functions->document()->findBlockByNumber(line).position());
        cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
        cursor.insertText(newLines.at(line).toString());
    }
    cursor.endEditBlock();
    return true;
}
