// SPDX-License-Identifier: MIT
#pragma once

#include <QRegularExpression>
#include <QSyntaxHighlighter>
#include <QVarLengthArray>
#include <QVector>

/// Colours Python source, line by line. A block's state says what it ends in: 0 nothing, 1 a string
/// opened by three apostrophes, 2 one opened by three double quotes.
class PythonHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit PythonHighlighter(QTextDocument *document);

    /// Chooses the colours. They show after rehighlight().
    void setDarkMode(bool on);

protected:
    void highlightBlock(const QString &text) override;

private:
    struct HighlightRule
    {
        QRegularExpression pattern;
        QTextCharFormat format;
        /// The capture group to colour; of a delimiter, the block state inside its strings.
        int nth = 0;
    };
    /// For each character one more than the index of its format; 0 for none.
    using Colours = QVarLengthArray<uchar, 256>;

    void buildRules();
    [[nodiscard]] bool
    matchMultiline(const QString &text, const HighlightRule &delimiter, Colours &colours);
    void apply(const Colours &colours);
    [[nodiscard]] QRegularExpressionMatch
    find(const HighlightRule &rule, const QString &text, int from) const;

    bool m_darkMode = false;
    QVector<HighlightRule> m_rules;
    QVector<HighlightRule> m_multilineRules;
    QRegularExpression::MatchOptions m_matchOptions; // of the present line
};
