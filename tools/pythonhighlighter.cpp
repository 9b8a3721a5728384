// SPDX-License-Identifier: MIT
#include "tools/pythonhighlighter.h"

#include <QHash>
#include <QStringView>

#include <algorithm>

namespace {

enum Style { Keyword, Builtin, DefClass, Self, Number, String, Comment, Decorator, Docstring };

struct StyleColours
{
    QColor light;
    QColor dark;
};

/// In the order of Style.
const QVector<StyleColours> &styles()
{
    static const QVector<StyleColours> styles{
        {QColor(QStringLiteral("blue")), QColor(QStringLiteral("deepskyblue"))},
        {QColor(QStringLiteral("cornflowerblue")).darker(150),
         QColor(QStringLiteral("cornflowerblue"))},
        {QColor(QStringLiteral("teal")), QColor(QStringLiteral("#51d1c1"))},
        {QColor(QStringLiteral("darkviolet")), QColor(QStringLiteral("#ca80c6"))},
        {QColor(QStringLiteral("maroon")), QColor(QStringLiteral("burlywood"))},
        {QColor(QStringLiteral("orangered")).darker(150), QColor(QStringLiteral("#d69d85"))},
        {QColor(QStringLiteral("darkGreen")), QColor(QStringLiteral("#57a64a"))},
        {QColor(QStringLiteral("darkgoldenrod")), QColor(QStringLiteral("darkkhaki"))},
        {QColor(QStringLiteral("dimgray")), QColor(QStringLiteral("gray"))},
    };
    return styles;
}

const QString keywords =
    QStringLiteral("and|assert|break|class|continue|def|del|elif|else|except|exec|finally|for|from|"
                   "global|if|import|in|is|lambda|not|or|pass|raise|return|try|while|yield");
const QString builtins = QStringLiteral(
    "None|True|False|abs|aiter|all|any|anext|ascii|bin|bool|breakpoint|bytearray|bytes|callable|"
    "chr|classmethod|compile|complex|delattr|dict|dir|divmod|enumerate|eval|exec|filter|float|"
    "format|frozenset|getattr|globals|hasattr|hash|help|hex|id|input|int|isinstance|issubclass|"
    "iter|len|list|locals|map|max|memoryview|min|next|object|oct|open|ord|pow|print|property|range|"
    "repr|reversed|round|set|setattr|slice|sorted|staticmethod|str|sum|super|tuple|type|vars|zip|"
    "__import__");

/// What a line must hold for a rule to match at all, one bit each.
enum Trait : unsigned {
    HasAt = 1,
    HasKeyword = 2,
    HasBuiltin = 4,
    HasDigit = 8,
    HasSelf = 16,
    HasDefinition = 32,
    HasDoubleQuote = 64,
    HasApostrophe = 128,
    HasHash = 256,
    HasHexPrefix = 512,
    HasDelimiter = 1024,
};

struct RuleText
{
    QString pattern;
    int nth;
    Style style;
    unsigned trait;
};

/// Later rules colour over earlier ones.
const QVector<RuleText> &ruleTexts()
{
    const auto wordsOf = [](const QString &list) { return QStringLiteral("\\b(%1)\\b").arg(list); };
    static const QVector<RuleText> rules{
        {QStringLiteral("@\\w+"), 0, Decorator, HasAt},
        {wordsOf(keywords), 0, Keyword, HasKeyword},
        {wordsOf(builtins), 0, Builtin, HasBuiltin},
        {QStringLiteral("\\b[+-]?[0-9]+[lL]?\\b"), 0, Number, HasDigit},
        {QStringLiteral("\\b[+-]?0[xX][0-9A-Fa-f]+[lL]?\\b"), 0, Number, HasHexPrefix},
        {QStringLiteral("\\b[+-]?[0-9]+(?:\\.[0-9]+)?(?:[eE][+-]?[0-9]+)?\\b"),
         0,
         Number,
         HasDigit},
        {QStringLiteral("\\b(self|cls)\\b"), 0, Self, HasSelf},
        {QStringLiteral("\\b(def|class)\\b\\s*(\\w+)"), 2, DefClass, HasDefinition},
        {QStringLiteral("\"[^\"\\\\]*(\\\\.[^\"\\\\]*)*\""), 0, String, HasDoubleQuote},
        {QStringLiteral("'[^'\\\\]*(\\\\.[^'\\\\]*)*'"), 0, String, HasApostrophe},
        {QStringLiteral("#[^\\n]*"), 0, Comment, HasHash},
    };
    return rules;
}

/// Compiled once for all highlighters and palettes, at the first use of each.
const QVector<QRegularExpression> &patterns()
{
    static const QVector<QRegularExpression> patterns = [] {
        QVector<QRegularExpression> compiled;
        for (const RuleText &rule : ruleTexts())
            compiled.append(QRegularExpression(rule.pattern));
        return compiled;
    }();
    return patterns;
}

QHash<QStringView, unsigned> makeWordTraits()
{
    static const QString own = QStringLiteral("self|cls");
    static const QString definitions = QStringLiteral("def|class");
    QHash<QStringView, unsigned> traits;
    const auto add = [&traits](const QString &list, unsigned trait) {
        for (const QStringRef &word : list.splitRef(QLatin1Char('|')))
            traits[QStringView(word)] |= trait;
    };
    add(keywords, HasKeyword);
    add(builtins, HasBuiltin);
    add(own, HasSelf);
    add(definitions, HasDefinition);
    return traits;
}

/// As \w of the patterns, which know ASCII only.
bool isWordCharacter(ushort character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
        || (character >= '0' && character <= '9') || character == '_';
}

/// What the line holds, in one pass; most rules need not be tried then.
unsigned traitsOf(const QString &text)
{
    static const QHash<QStringView, unsigned> words = makeWordTraits();
    constexpr int longestWord = 12;
    unsigned traits = 0;
    const int size = text.size();
    const ushort *const characters = text.utf16();
    for (int i = 0; i < size;) {
        const ushort character = characters[i];
        if (isWordCharacter(character)) {
            const int start = i;
            while (i < size && isWordCharacter(characters[i])) {
                if (characters[i] >= '0' && characters[i] <= '9')
                    traits |= HasDigit;
                ++i;
            }
            if (character == '0' && i - start > 1 && (characters[start + 1] | 0x20) == 'x')
                traits |= HasHexPrefix;
            if (i - start > 1 && i - start <= longestWord && (character > '9'))
                traits |= words.value(QStringView(text).mid(start, i - start));
            continue;
        }
        if (character == '@')
            traits |= HasAt;
        else if (character == '"')
            traits |= HasDoubleQuote;
        else if (character == '\'')
            traits |= HasApostrophe;
        else if (character == '#')
            traits |= HasHash;
        if ((character == '"' || character == '\'') && i + 2 < size
            && characters[i + 1] == character && characters[i + 2] == character) {
            traits |= HasDelimiter;
        }
        ++i;
    }
    return traits;
}

} // namespace

PythonHighlighter::PythonHighlighter(QTextDocument *document)
    : QSyntaxHighlighter(document)
{
    buildRules();
}

void PythonHighlighter::setDarkMode(bool on)
{
    m_darkMode = on;
    buildRules();
}

void PythonHighlighter::buildRules()
{
    const auto formatOf = [this](Style style) {
        QTextCharFormat format;
        format.setForeground(m_darkMode ? styles().at(style).dark : styles().at(style).light);
        return format;
    };
    static const QRegularExpression apostrophes(QStringLiteral("'''"));
    static const QRegularExpression doubleQuotes(QStringLiteral("\"\"\""));
    m_multilineRules = {{apostrophes, formatOf(Docstring), 1},
                        {doubleQuotes, formatOf(Docstring), 2}};
    m_rules.clear();
    for (int i = 0; i < ruleTexts().size(); ++i) {
        const RuleText &rule = ruleTexts().at(i);
        m_rules.append({patterns().at(i), formatOf(rule.style), rule.nth});
    }
}

void PythonHighlighter::highlightBlock(const QString &text)
{
    Colours colours(text.size());
    std::fill(colours.begin(), colours.end(), uchar(0));
    const unsigned traits = traitsOf(text);
    // Checked once instead of at each match, which would make a long line quadratic.
    m_matchOptions = text.isValidUtf16() ? QRegularExpression::DontCheckSubjectStringMatchOption
                                         : QRegularExpression::NoMatchOption;
    for (int i = 0; i < m_rules.size(); ++i) {
        if ((traits & ruleTexts().at(i).trait) == 0)
            continue;
        const HighlightRule &rule = m_rules.at(i);
        QRegularExpressionMatch match = find(rule, text, 0);
        while (match.hasMatch()) {
            const int start = match.capturedStart(rule.nth);
            const int end = match.capturedEnd(rule.nth);
            std::fill(colours.begin() + start, colours.begin() + end, uchar(i + 1));
            match = find(rule, text, end);
        }
    }
    setCurrentBlockState(0);
    for (const HighlightRule &delimiter : qAsConst(m_multilineRules)) {
        // Without a delimiter a line only goes on with what it begins in.
        if (((traits & HasDelimiter) != 0 || previousBlockState() == delimiter.nth)
            && matchMultiline(text, delimiter, colours)) {
            break;
        }
    }
    apply(colours);
}

QRegularExpressionMatch
PythonHighlighter::find(const HighlightRule &rule, const QString &text, int from) const
{
    return rule.pattern.match(text, from, QRegularExpression::NormalMatch, m_matchOptions);
}

/// Colours the strings of one delimiter. True when the line ends inside one.
bool PythonHighlighter::matchMultiline(const QString &text,
                                       const HighlightRule &delimiter,
                                       Colours &colours)
{
    const bool beginsInside = previousBlockState() == delimiter.nth;
    if (text.isEmpty()) {
        if (beginsInside)
            setCurrentBlockState(delimiter.nth);
        return currentBlockState() == delimiter.nth;
    }
    int start = 0;
    int opening = 0;
    const auto findOpening = [&](int from) {
        const QRegularExpressionMatch match = find(delimiter, text, from);
        start = match.capturedStart();
        opening = match.capturedLength();
    };
    if (!beginsInside)
        findOpening(0);
    while (start >= 0) {
        const QRegularExpressionMatch closing = find(delimiter, text, start + opening);
        const int end = closing.hasMatch() ? closing.capturedEnd() : text.size();
        setCurrentBlockState(closing.hasMatch() ? 0 : delimiter.nth);
        std::fill(colours.begin() + start, colours.begin() + end, uchar(m_rules.size() + 1));
        findOpening(end);
    }
    return currentBlockState() == delimiter.nth;
}

/// Sets each stretch of one colour at once.
void PythonHighlighter::apply(const Colours &colours)
{
    for (int start = 0; start < colours.size();) {
        const uchar colour = colours.at(start);
        int end = start + 1;
        while (end < colours.size() && colours.at(end) == colour)
            ++end;
        if (colour > 0)
            setFormat(start,
                      end - start,
                      colour > m_rules.size() ? m_multilineRules.first().format
                                              : m_rules.at(colour - 1).format);
        start = end;
    }
}
