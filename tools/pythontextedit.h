// SPDX-License-Identifier: MIT
#pragma once

#include <QPlainTextEdit>

class PythonHighlighter;

/// The text area of the code editor: Python's indentation keys, a margin of lines round the cursor,
/// and a light and a dark appearance. Indents with blanks only.
class PythonTextEdit : public QPlainTextEdit
{
    Q_OBJECT

public:
    explicit PythonTextEdit(QWidget *parent = nullptr);
    ~PythonTextEdit() override;

    void setDarkMode(bool on);
    /// Scrolls until some lines are in view above the cursor (upward) or below it.
    void keepCursorMargin(bool upward);
    /// The selection when it lies within one line, without a selection the word at the cursor; empty
    /// when there is none.
    [[nodiscard]] QString searchTextUnderCursor() const;

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void insertFromMimeData(const QMimeData *source) override;

private:
    struct LineSelection;

    [[nodiscard]] bool handleKey(int key, Qt::KeyboardModifiers modifiers);
    void insertTab();
    [[nodiscard]] bool insertNewlineWithIndent();
    [[nodiscard]] QString previousIndentation() const;
    void indentSelection();
    void unindentSelection();
    void copyLine() const;
    void changeCase(bool toUpper);

    int m_indentWidth = 4;
    int m_cursorMargin = 4;
    PythonHighlighter *const m_highlighter;
};
