// SPDX-License-Identifier: MIT
#include "support/testmain.h"
#include "tools/pythonhighlighter.h"

#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTextLayout>

class tst_PythonHighlighter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void golden_data();
    void golden();
    void everyWord_data();
    void everyWord();
    void states_data();
    void states();
    void colouredOncePerLoad();
};

/// Names of the colours, so that the golden files read as what they mean.
static const QMap<QString, QString> &styleNames()
{
    static const auto darker = [](const char *name) { return QColor(name).darker(150).name(); };
    static const QMap<QString, QString> names{{"#0000ff", "keyword"},
                                              {"#00bfff", "keyword"},
                                              {darker("cornflowerblue"), "builtin"},
                                              {"#6495ed", "builtin"},
                                              {"#008080", "defclass"},
                                              {"#51d1c1", "defclass"},
                                              {"#9400d3", "self"},
                                              {"#ca80c6", "self"},
                                              {"#800000", "number"},
                                              {"#deb887", "number"},
                                              {darker("orangered"), "string"},
                                              {"#d69d85", "string"},
                                              {"#006400", "comment"},
                                              {"#57a64a", "comment"},
                                              {"#b8860b", "decorator"},
                                              {"#bdb76b", "decorator"},
                                              {"#696969", "docstring"},
                                              {"#808080", "docstring"}};
    return names;
}

/// The coloured spans of each line: what is coloured, and how.
static QString spans(const QTextDocument &document)
{
    QString text;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        text += QString::number(block.blockNumber() + 1);
        for (const QTextLayout::FormatRange &range : block.layout()->formats())
            text += QString(" %1[%2]").arg(
                styleNames().value(range.format.foreground().color().name(), "?"),
                block.text().mid(range.start, range.length));
        text += '\n';
    }
    return text;
}

static QString readAll(const QString &name)
{
    QFile file(QString(TEST_DATA_DIR "/tools/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

void tst_PythonHighlighter::golden_data()
{
    QTest::addColumn<bool>("dark");
    QTest::newRow("light") << false;
    QTest::newRow("dark") << true;
}

/// Set TARNWICK_REWRITE_GOLDEN to write what there is now, and review the difference.
void tst_PythonHighlighter::golden()
{
    QFETCH(bool, dark);
    QPlainTextEdit edit;
    PythonHighlighter highlighter(edit.document());
    edit.setPlainText(readAll("highlighter.py.txt"));
    if (dark) {
        highlighter.setDarkMode(true);
        highlighter.rehighlight();
    }
    if (qEnvironmentVariableIsSet("TARNWICK_REWRITE_GOLDEN")) {
        QFile file(TEST_DATA_DIR "/tools/highlighter.golden.txt");
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(spans(*edit.document()).toUtf8());
    }
    const QString golden = readAll("highlighter.golden.txt");
    QVERIFY(golden.size() > 500);
    QCOMPARE(spans(*edit.document()), golden);
    const QColor comment = edit.document()
                               ->findBlockByNumber(9)
                               .layout()
                               ->formats()
                               .last()
                               .format.foreground()
                               .color();
    QCOMPARE(comment, QColor(dark ? "#57a64a" : "darkGreen"));
}

void tst_PythonHighlighter::everyWord_data()
{
    QTest::addColumn<QString>("words");
    QTest::newRow("keyword") << "and assert break class continue def del elif else except finally "
                                "for from global if import in is lambda not or pass raise return "
                                "try while yield";
    QTest::newRow("builtin")
        << "None True False abs aiter all any anext ascii bin bool breakpoint bytearray bytes "
           "callable chr classmethod compile complex delattr dict dir divmod enumerate eval exec "
           "filter float format frozenset getattr globals hasattr hash help hex id input int "
           "isinstance issubclass iter len list locals map max memoryview min next object oct open "
           "ord pow print property range repr reversed round set setattr slice sorted staticmethod "
           "str sum super tuple type vars zip __import__";
    QTest::newRow("self") << "self cls";
}

void tst_PythonHighlighter::everyWord()
{
    QFETCH(QString, words);
    QPlainTextEdit edit;
    QTextDocument &document = *edit.document();
    PythonHighlighter highlighter(&document);
    document.setPlainText(QString(words).replace(' ', '\n'));
    int line = 0;
    QString expected;
    for (const QString &word : words.split(' '))
        expected += QString("%1 %2[%3]\n").arg(++line).arg(QTest::currentDataTag(), word);
    QCOMPARE(spans(document), expected);
}

void tst_PythonHighlighter::states_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("expected"); // the state after each line
    QTest::newRow("opened and closed") << "a = '''b\n\nc'''\nd"
                                       << "1 1 0 0";
    QTest::newRow("apostrophes are looked at first") << "\"\"\"\n'''\n\"\"\""
                                                     << "2 1 1";
    QTest::newRow("closed and opened again") << "'''\n''' + '''\nx"
                                             << "1 1 1";
    QTest::newRow("the other kind on one line") << "''' ''' \"\"\"\nx"
                                                << "2 2";
}

void tst_PythonHighlighter::states()
{
    QFETCH(QString, text);
    QPlainTextEdit edit;
    QTextDocument &document = *edit.document();
    PythonHighlighter highlighter(&document);
    document.setPlainText(text);
    const auto all = [&document] {
        QStringList states;
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
            states.append(QString::number(block.userState()));
        return states.join(' ');
    };
    QTEST(all(), "expected");
    // An edit of the first line reaches all that follow.
    QTextCursor cursor(&document);
    cursor.insertText("#\n");
    cursor.movePosition(QTextCursor::Start);
    cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    QTEST(all(), "expected");
}

/// Counts the lines that are parsed.
class CountingHighlighter : public PythonHighlighter
{
public:
    using PythonHighlighter::PythonHighlighter;
    void highlightBlock(const QString &text) override
    {
        ++count;
        PythonHighlighter::highlightBlock(text);
    }
    int count = 0;
};

void tst_PythonHighlighter::colouredOncePerLoad()
{
    QPlainTextEdit edit;
    CountingHighlighter highlighter(edit.document());
    edit.show();
    QCoreApplication::processEvents();
    highlighter.count = 0;
    edit.setPlainText(QString("if x: pass\n").repeated(999));
    QTest::qWait(50);
    // One is the empty text that comes before.
    QCOMPARE(highlighter.count, 1 + 1000);
    edit.textCursor().insertText("x");
    QCOMPARE(highlighter.count, 1 + 1000 + 1);
}

TARNWICK_TEST_MAIN(tst_PythonHighlighter)
#include "tst_pythonhighlighter.moc"
