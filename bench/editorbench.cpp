// SPDX-License-Identifier: MIT
//
// Loading, colouring and typing in the code editor, beside the same expressions run alone and, where
// it is installed, another highlighter.

#include "bench/report.h"
#include "bench/subjects.h"
#include "tools/pythoneditor.h"
#include "tools/pythontextedit.h"

#include <QFile>
#include <QRegularExpression>
#include <QSyntaxHighlighter>
#include <QTemporaryDir>
#include <QTest>
#include <QTextBlock>

#ifdef TARNWICK_BENCH_KSYNTAX
#include <KSyntaxHighlighting/Definition>
#include <KSyntaxHighlighting/Repository>
#include <KSyntaxHighlighting/SyntaxHighlighter>
#include <KSyntaxHighlighting/Theme>
#endif

namespace {

/// Source as engineers write it.
QString source(int lines)
{
    const QStringList piece = QStringLiteral("@property\n"
                                             "def exposure(self, lines=0x10):\n"
                                             "    \"\"\"The exposure in lines.\n"
                                             "\n"
                                             "    Counted from the reset to the readout.\n"
                                             "    \"\"\"\n"
                                             "    if lines > 4095 and not self.long_mode:\n"
                                             "        raise ValueError('too long: %d' % lines)\n"
                                             "    total = int(lines * 1.5e-3 + self.offset)  # us\n"
                                             "    for name, value in sorted(self.table.items()):\n"
                                             "        self.write('REG_WRITE', name, value & 0xff)\n"
                                             "    return [total, \"%s\" % self.part, None]\n")
                                  .split(QLatin1Char('\n'));
    QStringList all;
    for (int i = 0; i < lines; ++i)
        all.append(piece.at(i % piece.size()));
    return all.join(QLatin1Char('\n'));
}

const QVector<QRegularExpression> &rules()
{
    static const QVector<QRegularExpression> rules = [] {
        QVector<QRegularExpression> compiled;
        for (const char *pattern :
             {"@\\w+",
              "\\b(and|assert|break|class|continue|def|del|elif|else|except|exec|finally|for|from|"
              "global|if|import|in|is|lambda|not|or|pass|raise|return|try|while|yield)\\b",
              "\\b(None|True|False|abs|aiter|all|any|anext|ascii|bin|bool|breakpoint|bytearray|"
              "bytes|"
              "callable|chr|classmethod|compile|complex|delattr|dict|dir|divmod|enumerate|eval|"
              "exec|"
              "filter|float|format|frozenset|getattr|globals|hasattr|hash|help|hex|id|input|int|"
              "isinstance|issubclass|iter|len|list|locals|map|max|memoryview|min|next|object|oct|"
              "open|"
              "ord|pow|print|property|range|repr|reversed|round|set|setattr|slice|sorted|"
              "staticmethod|"
              "str|sum|super|tuple|type|vars|zip|__import__)\\b",
              "\\b[+-]?[0-9]+[lL]?\\b",
              "\\b[+-]?0[xX][0-9A-Fa-f]+[lL]?\\b",
              "\\b[+-]?[0-9]+(?:\\.[0-9]+)?(?:[eE][+-]?[0-9]+)?\\b",
              "\\b(self|cls)\\b",
              "\\b(def|class)\\b\\s*(\\w+)",
              "\"[^\"\\\\]*(\\\\.[^\"\\\\]*)*\"",
              "'[^'\\\\]*(\\\\.[^'\\\\]*)*'",
              "#[^\\n]*"}) {
            compiled.append(QRegularExpression(QLatin1String(pattern)));
            compiled.last().optimize();
        }
        return compiled;
    }();
    return rules;
}

/// Calls \a use with each match of each rule in a line.
template <typename Use> void matchRules(const QString &line, const Use &use)
{
    for (const QRegularExpression &rule : rules()) {
        QRegularExpressionMatch match = rule.match(line);
        for (; match.hasMatch(); match = rule.match(line, match.capturedEnd()))
            use(match);
    }
}

double expressionsTime(const QStringList &lines)
{
    return milliseconds([&lines] {
        int matches = 0;
        for (const QString &line : lines)
            matchRules(line, [&matches](const QRegularExpressionMatch &) { ++matches; });
        if (matches == 0)
            qFatal("the rules match nothing");
    });
}

/// The rules run as they stand over each line of a document.
class PlainHighlighter final : public QSyntaxHighlighter
{
public:
    using QSyntaxHighlighter::QSyntaxHighlighter;
    void highlightBlock(const QString &text) override
    {
        matchRules(text, [this](const QRegularExpressionMatch &match) {
            setFormat(match.capturedStart(), match.capturedLength(), Qt::blue);
        });
        setCurrentBlockState(0);
    }
};

/// A text shown in a plain area with a highlighter of its own.
template <typename Highlighter, typename Prepare>
double highlighterTime(const QString &text, const Prepare &prepare)
{
    QPlainTextEdit area;
    Highlighter highlighter(area.document());
    prepare(highlighter);
    area.setLineWrapMode(QPlainTextEdit::NoWrap);
    area.resize(800, 600);
    area.show();
    settle();
    return milliseconds([&] {
        area.setPlainText(text);
        settle();
    });
}

/// An editor with a file of so many lines.
class LoadedEditor
{
public:
    explicit LoadedEditor(int lines)
        : m_lines(lines)
    {
        QFile file(m_folder.filePath(QStringLiteral("settings_bench.py")));
        if (!file.open(QIODevice::WriteOnly) || file.write(source(lines).toUtf8()) < 0)
            qFatal("the file cannot be written");
        editor.resize(editor.preferredSize());
        editor.show();
        settle();
        path = file.fileName();
    }
    /// Loads, colours to the end and paints.
    double load()
    {
        return milliseconds([this] {
            editor.loadFile(path);
            settle();
            if (area()->document()->findBlockByNumber(m_lines - 2).userState() < 0)
                qFatal("the file is not coloured to its end");
        });
    }
    [[nodiscard]] PythonTextEdit *area() const { return editor.findChild<PythonTextEdit *>(); }

    PythonEditor editor;
    QString path;

private:
    const int m_lines;
    const QTemporaryDir m_folder;
};

/// One key in the middle of the file, shown.
double keyTime(const LoadedEditor &loaded, int lines)
{
    PythonTextEdit *const area = loaded.area();
    area->setTextCursor(QTextCursor(area->document()->findBlockByNumber(lines / 2)));
    settle();
    Samples samples;
    for (int i = 0; i < 200; ++i) {
        samples.add(milliseconds([area] {
            QTest::keyClick(area, Qt::Key_X);
            settle();
        }));
    }
    return samples.median();
}

#ifdef TARNWICK_BENCH_KSYNTAX
double otherHighlighterTime(const QString &text)
{
    static KSyntaxHighlighting::Repository repository;
    using KSyntaxHighlighting::SyntaxHighlighter;
    return highlighterTime<SyntaxHighlighter>(text, [](SyntaxHighlighter &highlighter) {
        highlighter.setTheme(repository.defaultTheme());
        highlighter.setDefinition(repository.definitionForName(QStringLiteral("Python")));
    });
}
#endif

} // namespace

void benchEditor()
{
    constexpr int lines = 10000;
    const QString text = source(lines);
    Samples load;
    Samples plain;
    Samples expressions;
    Samples palette;
    Samples other;
    for (int i = 0; i < 9; ++i) {
        LoadedEditor loaded(lines);
        load.add(loaded.load());
        plain.add(highlighterTime<PlainHighlighter>(text, [](const auto &) {}));
        expressions.add(expressionsTime(text.split(QLatin1Char('\n'))));
        palette.add(milliseconds([&loaded] {
            loaded.area()->setDarkMode(true);
            settle();
        }));
#ifdef TARNWICK_BENCH_KSYNTAX
        other.add(otherHighlighterTime(text));
#endif
    }
    Samples keys;
    Samples keysTenfold;
    LoadedEditor small(lines);
    LoadedEditor large(10 * lines);
    std::ignore = small.load();
    std::ignore = large.load();
    for (int i = 0; i < 5; ++i) {
        keys.add(keyTime(small, lines));
        keysTenfold.add(keyTime(large, 10 * lines));
    }
    report::heading(QStringLiteral("The code editor with 10,000 lines"));
    report::times(QStringLiteral("loaded, coloured and painted"), load);
    report::times(QStringLiteral("the eleven expressions in a plain highlighter"), plain);
    report::check(QStringLiteral("  ratio"), load.median() / plain.median(), 1.05);
    report::times(QStringLiteral("the expressions alone, without a document"), expressions);
    report::value(QStringLiteral("  ratio"), load.median() / expressions.median());
    if (other.count() > 0) {
        report::times(QStringLiteral("KSyntaxHighlighting on the same text"), other);
        report::check(QStringLiteral("  ratio"), load.median() / other.median(), 0.8);
    }
    report::times(QStringLiteral("the palette switched"), palette);
    report::check(QStringLiteral("  times one load"), palette.median() / load.median(), 1);
    report::times(QStringLiteral("one key"), keys);
    report::times(QStringLiteral("one key in 100,000 lines"), keysTenfold);
    report::check(QStringLiteral("  ratio"), keysTenfold.median() / keys.median(), 1.15);
}
