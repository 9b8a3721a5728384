// SPDX-License-Identifier: MIT
#include "session/functionspane.h"
#include "session/functionstext.h"
#include "session/generationresult.h"
#include "support/table.h"
#include "support/testmain.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QPlainTextEdit>
#include <QScrollBar>

class tst_FunctionsText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registerValue_data() { loadTable("session/registervalues"); }
    void registerValue();
    void instruction_data() { loadTable("session/instructions"); }
    void instruction();
    void wholeText();
    void paneShowsEveryTextAlike_data();
    void paneShowsEveryTextAlike();
    void paneShowsOddLinesAlike_data() { loadTable("session/panelines"); }
    void paneShowsOddLinesAlike();
};

static QVariantList list(const QString &json)
{
    return QJsonDocument::fromJson(json.toUtf8()).array().toVariantList();
}

void tst_FunctionsText::registerValue()
{
    QFETCH(const QString, json);
    const QVariant value = list('[' + json + ']').first();
    QTEST(QString::number(generationresult::registerValue(value)), "expected");
}

void tst_FunctionsText::instruction()
{
    QFETCH(const QString, json);
    QTEST(instructionText(list(json), 1), "expected");
}

void tst_FunctionsText::wholeText()
{
    const QVariantList functions = list(R"([
        {"name": "pll", "instructions": [["COMMENT", "set up"], ["DELAY", 1],
            ["REG_WRITE", "R0x302a", 6], ["REG_WRITE", "R0x3030", 50, "multiplier"]]},
        {"name": "empty"}, 17])");
    QCOMPARE(functionsText("M", functions),
             QString("M\n\npll:\n    #  set up\n    R0x302a = 0x0006\n"
                     "    R0x3030 = 0x0032 (50)  # multiplier\n\nempty:\n\n:\n"));
    QCOMPARE(functionsText("", {}), QString("\n"));
}

static QVariantList longFunctions(int count, const QSet<int> &changedLines)
{
    QVariantList instructions;
    for (int i = 0; i < count; ++i)
        instructions.append(QVariant(
            QVariantList{"REG_WRITE", QString("R%1").arg(i), changedLines.contains(i) ? 77 : 1}));
    return {QVariantMap{{"name", "f"}, {"instructions", instructions}}};
}

void tst_FunctionsText::paneShowsEveryTextAlike_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<QSet<int>>("changed");
    QTest::newRow("same text") << 1000 << QSet<int>();
    QTest::newRow("first and last line") << 1000 << QSet<int>{0, 999};
    QTest::newRow("neighbours") << 1000 << QSet<int>{10, 11, 12, 500};
    QTest::newRow("too many to update") << 100 << QSet<int>{1, 20, 40, 60, 80};
    QTest::newRow("longer") << 1003 << QSet<int>();
    QTest::newRow("shorter") << 7 << QSet<int>();
}

/// However the pane gets from one text to the next, it ends as after clearing and inserting.
void tst_FunctionsText::paneShowsEveryTextAlike()
{
    QFETCH(const int, count);
    QFETCH(const QSet<int>, changed);
    FunctionsPane pane;
    pane.resize(300, 200);
    auto *const view = pane.findChild<QPlainTextEdit *>("functions");
    pane.setFunctions("M", longFunctions(1000, {}));
    pane.show();
    QVERIFY(QTest::qWaitForWindowExposed(&pane));
    QCOMPARE(view->verticalScrollBar()->value(), 0);
    view->verticalScrollBar()->setValue(300);
    view->selectAll();

    pane.setFunctions("N", longFunctions(count, changed));
    QCOMPARE(view->toPlainText(), functionsText("N", longFunctions(count, changed)));
    QVERIFY(view->textCursor().atEnd());
    QVERIFY(!view->textCursor().hasSelection());
    QCOMPARE(view->verticalScrollBar()->value(), 0);
    QVERIFY(!view->document()->isUndoAvailable() && view->isReadOnly());
}

/// The same with comments that hold more than plain text.
void tst_FunctionsText::paneShowsOddLinesAlike()
{
    QFETCH(const QString, before);
    QFETCH(const QString, after);
    const auto commented = [](const QString &comment, const QString &otherComment) {
        QVariantList instructions;
        for (int i = 0; i < 200; ++i)
            instructions.append(QVariant(QVariantList{"COMMENT", QString::number(i)}));
        instructions[50] = QVariantList{"COMMENT", comment};
        instructions[150] = QVariantList{"COMMENT", otherComment};
        return QVariantList{QVariantMap{{"name", "f"}, {"instructions", instructions}}};
    };
    FunctionsPane pane;
    pane.setFunctions("M", commented(before, "one"));
    pane.setFunctions("M", commented(after, "two"));
    FunctionsPane fresh;
    fresh.setFunctions("M", commented(after, "two"));
    QCOMPARE(pane.findChild<QPlainTextEdit *>("functions")->toPlainText(),
             fresh.findChild<QPlainTextEdit *>("functions")->toPlainText());
}

TARNWICK_TEST_MAIN(tst_FunctionsText)
#include "tst_functionstext.moc"
