// SPDX-License-Identifier: MIT
#include "tools/pythontextedit.h"

#include "tools/pythonhighlighter.h"

#include <QApplication>
#include <QClipboard>
#include <QKeyEvent>
#include <QMimeData>
#include <QScrollBar>
#include <QStyle>
#include <QTextBlock>

namespace {

/// %1 is the height of the horizontal bar, %2 the width of the vertical one, in pixels.
constexpr char darkStyleSheet[] = R"(QAbstractScrollArea {
color: #c0c0c0;
background-color: #1e1e1e;
selection-color: #c0c0c0;
selection-background-color: royalblue;
}
QAbstractScrollArea::corner {
background-color: dimgray;
}
QScrollBar:horizontal {
border: 2px solid dimgrey;
background-color: solid dimgray;
height: %1px;
margin: 0px 0px 0px 0px;
}
QScrollBar::handle:horizontal {
background: silver;
min-width: 20px;
}
QScrollBar::add-page:horizontal {
background-color: dimgray;
}
QScrollBar::sub-page:horizontal {
background-color: dimgray;
}
QScrollBar::add-line:horizontal {
border: 2px solid dimgray;
color: silver;
background: dimgray;
width: 0px;
}
QScrollBar::sub-line:horizontal {
width: 0px;
}
QScrollBar:vertical {
border: 2px solid dimgrey;
background-color: solid dimgray;
width: %2px;
margin: 0px 0px 0px 0px;
}
QScrollBar::handle:vertical {
background: silver;
min-height: 20px;
}
QScrollBar::add-page:vertical {
background-color: dimgray;
}
QScrollBar::sub-page:vertical {
background-color: dimgray;
}
QScrollBar::add-line:vertical {
border: 2px solid dimgray;
color: silver;
background: dimgray;
height: 0px;
}
QScrollBar::sub-line:vertical {
border: 2px solid dimgray;
color: silver;
background: dimgray;
height: 0px;
}
)";

QString blanks(int count)
{
    return QString(count, QLatin1Char(' '));
}

/// The blanks and tab characters that a line begins with.
QString leadingSpace(const QString &line)
{
    int length = 0;
    while (length < line.size()
           && (line.at(length) == QLatin1Char(' ') || line.at(length) == QLatin1Char('\t')))
        ++length;
    return line.left(length);
}

} // namespace

/// The lines that a selection covers, and its ends in them.
struct PythonTextEdit::LineSelection
{
    explicit LineSelection(const QTextCursor &cursor)
    {
        const QTextBlock first = cursor.document()->findBlock(cursor.selectionStart());
        const QTextBlock last = cursor.document()->findBlock(cursor.selectionEnd());
        firstLine = first.blockNumber();
        endLine = last.blockNumber();
        startColumn = cursor.selectionStart() - first.position();
        endColumn = cursor.selectionEnd() - last.position();
        // A selection that ends at the very start of a line leaves that line alone.
        lastLine = endColumn == 0 && endLine > firstLine ? endLine - 1 : endLine;
    }

    /// Selects again, each end moved by its number of columns; the start of a line stays.
    void restore(PythonTextEdit *edit, int startShift, int endShift) const
    {
        const auto place = [edit](int line, int column, int shift) {
            return edit->document()->findBlockByNumber(line).position()
                + (column == 0 ? 0 : qMax(0, column + shift));
        };
        QTextCursor cursor = edit->textCursor();
        cursor.setPosition(place(firstLine, startColumn, startShift));
        cursor.setPosition(place(endLine, endColumn, endShift), QTextCursor::KeepAnchor);
        edit->setTextCursor(cursor);
    }

    int firstLine;
    int lastLine; // the last one that the selection covers
    int endLine; // the one that holds the selection's end
    int startColumn;
    int endColumn;
};

PythonTextEdit::PythonTextEdit(QWidget *parent)
    : QPlainTextEdit(parent)
    , m_highlighter(new PythonHighlighter(document()))
{
}

PythonTextEdit::~PythonTextEdit() = default;

void PythonTextEdit::setDarkMode(bool on)
{
    m_highlighter->setDarkMode(on);
    m_highlighter->rehighlight();
    if (!on) {
        setStyleSheet(QString());
        return;
    }
    const QString extent =
        QString::number(QApplication::style()->pixelMetric(QStyle::PM_ScrollBarExtent));
    setStyleSheet(QString::fromLatin1(darkStyleSheet).arg(extent, extent));
}

void PythonTextEdit::keepCursorMargin(bool upward)
{
    QScrollBar *const bar = verticalScrollBar();
    const int page = bar->pageStep();
    if (m_cursorMargin == 0 || blockCount() < 2 * page)
        return;
    const int line = textCursor().blockNumber();
    const int top = bar->value();
    if (upward) {
        if (top >= 1 && line - top < m_cursorMargin)
            bar->setValue(qMax(0, line - m_cursorMargin));
    } else if (top < bar->maximum() && top + page - line < m_cursorMargin) {
        bar->setValue(qMin(m_cursorMargin - page + line, bar->maximum()));
    }
}

QString PythonTextEdit::searchTextUnderCursor() const
{
    QTextCursor cursor = textCursor();
    if (!cursor.hasSelection())
        cursor.select(QTextCursor::WordUnderCursor);
    const QString text = cursor.selectedText();
    return text.contains(QChar::ParagraphSeparator) ? QString() : text;
}

void PythonTextEdit::keyPressEvent(QKeyEvent *event)
{
    // A text that cannot be changed can still be copied.
    const bool isOwn = !isReadOnly() || event->key() == Qt::Key_C;
    if (isOwn && handleKey(event->key(), event->modifiers())) {
        event->accept();
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
    // Without a cursor in the text the arrow keys scroll.
    if (!isReadOnly() && event->modifiers() == Qt::NoModifier
        && (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)) {
        keepCursorMargin(event->key() == Qt::Key_Up);
        event->accept();
    }
}

/// False when the key is left to the base class.
bool PythonTextEdit::handleKey(int key, Qt::KeyboardModifiers modifiers)
{
    const bool plain = modifiers == Qt::NoModifier;
    const bool hasSelection = textCursor().hasSelection();
    switch (key) {
    case Qt::Key_Tab:
        if (plain)
            hasSelection ? indentSelection() : insertTab();
        return plain;
    case Qt::Key_Backtab:
        if (!hasSelection || (!plain && modifiers != Qt::ShiftModifier))
            return false;
        unindentSelection();
        return true;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // The base class would insert a line separator, which Python does not know.
        if (modifiers == Qt::ShiftModifier)
            insertPlainText(QStringLiteral("\n"));
        return modifiers == Qt::ShiftModifier || (plain && insertNewlineWithIndent());
    case Qt::Key_C:
        if (modifiers != Qt::ControlModifier || hasSelection)
            return false;
        copyLine();
        return true;
    case Qt::Key_U:
        if (modifiers != Qt::ControlModifier
            && modifiers != (Qt::ControlModifier | Qt::ShiftModifier)) {
            return false;
        }
        changeCase(modifiers.testFlag(Qt::ShiftModifier));
        return true;
    default:
        return false;
    }
}

void PythonTextEdit::insertTab()
{
    const int column = textCursor().positionInBlock();
    insertPlainText(blanks(m_indentWidth - column % m_indentWidth));
    ensureCursorVisible();
}

/// False when the new line gets no indentation; nothing is inserted then.
bool PythonTextEdit::insertNewlineWithIndent()
{
    const QTextCursor cursor = textCursor();
    if (cursor.atBlockStart())
        return false;
    const QString line = cursor.block().text();
    QString indentation = leadingSpace(line);
    if (indentation.size() == line.size())
        indentation = previousIndentation();
    if (line.at(cursor.positionInBlock() - 1) == QLatin1Char(':'))
        indentation += blanks(m_indentWidth - indentation.size() % m_indentWidth);
    if (indentation.isEmpty())
        return false;
    insertPlainText(QLatin1Char('\n') + indentation);
    ensureCursorVisible();
    return true;
}

/// That of the nearest line above the cursor's that holds more than blanks.
QString PythonTextEdit::previousIndentation() const
{
    for (QTextBlock block = textCursor().block().previous(); block.isValid();
         block = block.previous()) {
        const QString line = block.text();
        const QString indentation = leadingSpace(line);
        if (indentation.size() < line.size())
            return indentation;
    }
    return QString();
}

void PythonTextEdit::indentSelection()
{
    QTextCursor cursor = textCursor();
    const LineSelection lines(cursor);
    cursor.clearSelection();
    cursor.beginEditBlock();
    QTextBlock block = document()->findBlockByNumber(lines.firstLine);
    for (int line = lines.firstLine; line <= lines.lastLine; ++line, block = block.next()) {
        if (block.length() <= 1)
            continue;
        cursor.setPosition(block.position());
        cursor.insertText(blanks(m_indentWidth));
    }
    cursor.endEditBlock();
    lines.restore(this, m_indentWidth, m_indentWidth);
}

void PythonTextEdit::unindentSelection()
{
    QTextCursor cursor = textCursor();
    const LineSelection lines(cursor);
    cursor.clearSelection();
    int removedFromFirst = 0;
    int removedFromEnd = 0;
    cursor.beginEditBlock();
    QTextBlock block = document()->findBlockByNumber(lines.firstLine);
    for (int line = lines.firstLine; line <= lines.lastLine; ++line, block = block.next()) {
        int removed = 0;
        cursor.setPosition(block.position());
        for (; removed < m_indentWidth && block.text().startsWith(QLatin1Char(' ')); ++removed)
            cursor.deleteChar();
        if (line == lines.firstLine)
            removedFromFirst = removed;
        if (line == lines.endLine)
            removedFromEnd = removed;
    }
    cursor.endEditBlock();
    lines.restore(this, -removedFromFirst, -removedFromEnd);
}

void PythonTextEdit::copyLine() const
{
    QApplication::clipboard()->setText(textCursor().block().text() + QLatin1Char('\n'));
}

void PythonTextEdit::changeCase(bool toUpper)
{
    QTextCursor cursor = textCursor();
    if (!cursor.hasSelection())
        return;
    const QString text = cursor.selectedText();
    const int start = cursor.selectionStart();
    cursor.insertText(toUpper ? text.toUpper() : text.toLower());
    const int end = cursor.position();
    cursor.setPosition(start);
    cursor.setPosition(end, QTextCursor::KeepAnchor);
    setTextCursor(cursor);
}

void PythonTextEdit::insertFromMimeData(const QMimeData *source)
{
    if (!source->hasText())
        return;
    // A line end to the eye, an illegal character to Python.
    QMimeData plain;
    plain.setText(source->text().replace(QChar::LineSeparator, QLatin1Char('\n')));
    QPlainTextEdit::insertFromMimeData(&plain);
}
