// SPDX-License-Identifier: MIT
#include "session/functionspane.h"
#include "session/functionstext.h"
#include "support/table.h"
#include "support/testmain.h"

#include <QJsonDocument>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>

class tst_FunctionsText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void instruction_data() { loadTable("session/instructions"); }
    void instruction()
    {
        QFETCH(const QString, json);
        QTEST(instructionText(list(json), 1), "expected");
    }
    void text_data() { loadTable("session/functionstexts"); }
    void text()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, functions);
        QTEST(functionsText(name, list(functions)), "expected");
    }
    void pane_data() { loadTable("session/panelines"); }
    /// However the pane gets from one text to the next, it ends as after clearing and inserting.
    void pane()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, after);
        FunctionsPane pane;
        pane.resize(300, 200);
        auto *const view = pane.findChild<QPlainTextEdit *>("functions");
        QScrollBar *const scrollBar = view->verticalScrollBar();
        pane.setFunctions("M", commented(before));
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        scrollBar->setValue(50);
        view->selectAll();

        pane.setFunctions("N", commented(after));
        const QRegularExpression lineEnd("\r\n?|\u2029");
        QCOMPARE(view->toPlainText(), functionsText("N", commented(after)).replace(lineEnd, "\n"));
        QVERIFY(view->textCursor().atEnd() && !view->textCursor().hasSelection());
        QCOMPARE(scrollBar->value(), qMin(50, scrollBar->maximum()));
        QVERIFY(!view->document()->isUndoAvailable() && view->isReadOnly());
    }

    /// The first line in sight stays in its function, also when the pane was empty meanwhile.
    void place()
    {
        const auto functions = [](const QString &above, const QString &name) {
            QVariantList list = commented(above) + commented("200");
            list[1] =
                QVariantMap{{"name", name}, {"instructions", list[1].toMap()["instructions"]}};
            return list;
        };
        FunctionsPane pane;
        const auto *const view = pane.findChild<QPlainTextEdit *>("functions");
        const auto topLine = [view] {
            return view->cursorForPosition({0, 0}).block().text() + " in line "
                + QString::number(view->verticalScrollBar()->value());
        };
        pane.setFunctions("M", functions("100", "g"));
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        view->verticalScrollBar()->setValue(150);
        QCOMPARE(topLine(), "    #  45 in line 150");
        pane.clear();
        pane.setFunctions("M", functions("130", "g"));
        QCOMPARE(topLine(), "    #  45 in line 180");
        pane.setFunctions("M", functions("90", "h"));
        QCOMPARE(topLine(), "    #  85 in line 180");
    }
    void endlessLine()
    {
        FunctionsPane pane;
        const auto *const view = pane.findChild<QPlainTextEdit *>("functions");
        for (const int length : {5, 1000000, 5}) {
            const QVariantList functions = commented("1; 0=" + QString(length, 'x'));
            pane.setFunctions("M", functions);
            QCOMPARE(view->toPlainText(), functionsText("M", functions));
            QCOMPARE(view->lineWrapMode() == QPlainTextEdit::NoWrap, length == 5);
        }
    }

private:
    static QVariantList list(const QString &json)
    {
        return QJsonDocument::fromJson(json.toUtf8()).toVariant().toList();
    }
    /// A function of so many comments, some of which are given: "200; 50=one; 150=two".
    static QVariantList commented(const QString &text)
    {
        const QStringList parts = text.split("; ");
        QVariantList instructions;
        for (int i = 0; i < parts.first().toInt(); ++i)
            instructions.append(QVariant(QVariantList{"COMMENT", i}));
        for (const QString &part : parts.mid(1))
            instructions[part.section('=', 0, 0).toInt()] =
                QVariantList{"COMMENT", part.section('=', 1)};
        return {QVariantMap{{"name", "f"}, {"instructions", instructions}}};
    }
};

TARNWICK_TEST_MAIN(tst_FunctionsText)
#include "tst_functionstext.moc"
