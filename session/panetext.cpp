// SPDX-License-Identifier: MIT
#include "session/panetext.h"

#include <QScrollBar>
#include <QTextBlock>

#include <algorithm>

static bool hasEndlessLine(const QString &text)
{
    // Far more than anybody reads in one line.
    constexpr int longestLine = 10000;
    for (auto start = text.cbegin(); text.cend() - start > longestLine;) {
        const auto end = std::find(start, text.cend(), QLatin1Char('\n'));
        if (end - start > longestLine)
            return true;
        start = end == text.cend() ? end : end + 1;
    }
    return false;
}

/// The line at which the function begins that \a line belongs to; an invalid one where there is none.
static QTextBlock functionOf(QTextBlock line)
{
    const auto isEmpty = [](const QTextBlock &block) { return block.length() == 1; };
    while (line.isValid() && !isEmpty(line) && !isEmpty(line.previous()))
        line = line.previous();
    return line.isValid() && line.previous().isValid() && line.text().endsWith(QLatin1Char(':'))
        ? line
        : QTextBlock();
}

PaneText::PaneText(QPlainTextEdit *view)
    : m_view(view)
    , m_lineWrapMode(view->lineWrapMode())
{
}

void PaneText::set(const QString &text)
{
    rememberPlace();
    m_view->clear();
    breakAnywhere(hasEndlessLine(text));
    m_view->moveCursor(QTextCursor::End);
    m_view->insertPlainText(text);
    restorePlace();
}

void PaneText::clear()
{
    rememberPlace();
    m_view->clear();
}

void PaneText::rememberPlace()
{
    // What was in sight before the text went away is still wanted.
    const QTextDocument *const document = m_view->document();
    if (document->isEmpty())
        return;
    const QTextBlock line = document->findBlockByLineNumber(m_view->verticalScrollBar()->value());
    const QTextBlock function = functionOf(line);
    m_line = line.blockNumber();
    m_function = function.isValid() ? function.text() : QString();
    m_functionLine = function.blockNumber();
    m_column = m_view->horizontalScrollBar()->value();
}

void PaneText::restorePlace()
{
    const QTextDocument *const document = m_view->document();
    if (document->isEmpty())
        return;
    int wanted = m_line;
    if (!m_function.isEmpty()) {
        const QString text = document->toRawText();
        const QString separator(QChar::ParagraphSeparator);
        const int found = text.indexOf(separator + separator + m_function + separator);
        if (found >= 0)
            wanted += document->findBlock(found + 2).blockNumber() - m_functionLine;
    }
    const int last = document->blockCount() - 1;
    const QTextBlock line = document->findBlockByNumber(std::min(wanted, last));
    m_view->verticalScrollBar()->setValue(line.firstLineNumber());
    m_view->horizontalScrollBar()->setValue(m_column);
}

bool PaneText::isBrokenLike(const QString &text) const
{
    return hasEndlessLine(text) == m_breaksAnywhere;
}

void PaneText::breakAnywhere(bool on)
{
    if (on == m_breaksAnywhere)
        return;
    m_breaksAnywhere = on;
    m_view->setWordWrapMode(on ? QTextOption::WrapAnywhere
                               : QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_view->setLineWrapMode(on ? QPlainTextEdit::WidgetWidth : m_lineWrapMode);
}
