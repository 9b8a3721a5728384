// SPDX-License-Identifier: MIT
#pragma once

#include <QPlainTextEdit>
#include <QString>

/// The text of one of a mode's read-only panes, which every change of a parameter replaces: afterwards
/// the cursor is at its end, and what was in sight still is.
///
/// A line keeps its place within its function (a line that ends in a colon and follows an empty one),
/// else by its number, also when the pane was empty for a while. Lines that the toolkit takes too long
/// to wrap between words, or to show in one piece, are broken anywhere; their text is unchanged.
class PaneText final
{
public:
    /// The text area must outlive this.
    explicit PaneText(QPlainTextEdit *view);

    void set(const QString &text);
    void clear();

    /// For who changes the text in place: before and after.
    void rememberPlace();
    void restorePlace();
    /// False when \a text needs another way of breaking lines than the present one.
    [[nodiscard]] bool isBrokenLike(const QString &text) const;

private:
    void breakAnywhere(bool on);

    QPlainTextEdit *const m_view;
    const QPlainTextEdit::LineWrapMode m_lineWrapMode;
    bool m_breaksAnywhere = false;
    // The first line in sight, and the line of its function with that line's text; empty for none.
    int m_line = 0;
    int m_functionLine = 0;
    QString m_function;
    int m_column = 0;
};
