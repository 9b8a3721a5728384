// SPDX-License-Identifier: MIT
#include "support/table.h"
#include "support/testmain.h"
#include "tools/pythonhighlighter.h"

#include <QPlainTextEdit>
#include <QTextBlock>
#include <QTextLayout>

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

class tst_PythonHighlighter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void golden_data() { loadTable("tools/palettes"); }
    /// Set TARNWICK_REWRITE_GOLDEN to write what there is now, and review the difference.
    void golden()
    {
        QFETCH(QString, palette);
        m_styles.clear();
        for (const QString &style : items(palette))
            m_styles.insert(style.section(' ', 1), style.section(' ', 0, 0));
        QPlainTextEdit edit;
        PythonHighlighter highlighter(edit.document());
        edit.setPlainText(read("highlighter.py.txt"));
        if (QString(QTest::currentDataTag()) == "dark") {
            highlighter.setDarkMode(true);
            highlighter.rehighlight();
        }
        if (qEnvironmentVariableIsSet("TARNWICK_REWRITE_GOLDEN")) {
            QFile file(TEST_DATA_DIR "/tools/highlighter.golden.txt");
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(spans(*edit.document()).join('\n').toUtf8() + '\n');
        }
        const QStringList golden = read("highlighter.golden.txt").split('\n', Qt::SkipEmptyParts);
        QVERIFY(golden.size() > 130);
        QCOMPARE(spans(*edit.document()), golden);
        // An edit of the first line reaches all that follow, and so does its end.
        edit.textCursor().insertText("'''");
        QVERIFY(spans(*edit.document()).at(1).startsWith("2:1 docstring[class Kind(object):]"));
        edit.undo();
        QCOMPARE(spans(*edit.document()), golden);
    }
    void colouredOncePerLoad()
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

private:
    /// Of each line the number, the state that it ends in, what is coloured, and how.
    QStringList spans(const QTextDocument &document) const
    {
        QStringList lines;
        for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
            lines += QString("%1:%2").arg(block.blockNumber() + 1).arg(block.userState());
            for (const QTextLayout::FormatRange &range : block.layout()->formats()) {
                const QString colour = range.format.foreground().color().name();
                const QString text = block.text().mid(range.start, range.length);
                lines.last() += QString(" %1[%2]").arg(m_styles.value(colour, colour), text);
            }
        }
        return lines;
    }
    static QString read(const QString &name)
    {
        QFile file(QString(TEST_DATA_DIR "/tools/") + name);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    QMap<QString, QString> m_styles; // colours to names
};

TARNWICK_TEST_MAIN(tst_PythonHighlighter)
#include "tst_pythonhighlighter.moc"
