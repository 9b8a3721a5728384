// SPDX-License-Identifier: MIT
#include "session/functionspane.h"
#include "session/functionstext.h"
#include "session/generationresult.h"
#include "support/testmain.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QtTest>

class tst_FunctionsText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void registerValue_data();
    void registerValue();
    void instruction_data();
    void instruction();
    void wholeText();
    void paneShowsEveryTextAlike_data();
    void paneShowsEveryTextAlike();
    void paneShowsOddLinesAlike_data();
    void paneShowsOddLinesAlike();
};

static QVariantList list(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).array().toVariantList();
}

void tst_FunctionsText::registerValue_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<quint32>("expected");
    QTest::newRow("fraction rounds to nearest") << QByteArray("[4096.6]") << 4097u;
    QTest::newRow("negative wraps") << QByteArray("[-1]") << 0xFFFFFFFFu;
    QTest::newRow("negative fraction wraps") << QByteArray("[-1.4]") << 0xFFFFFFFFu;
    QTest::newRow("largest") << QByteArray("[4294967295]") << 0xFFFFFFFFu;
    QTest::newRow("modulo 2^32") << QByteArray("[4294967301]") << 5u;
    QTest::newRow("modulo 2^32 of a float") << QByteArray("[4294967301.0]") << 5u;
    QTest::newRow("beyond any integer") << QByteArray("[1e300]") << 0u;
    QTest::newRow("decimal text") << QByteArray("[\"4096\"]") << 4096u;
    QTest::newRow("hexadecimal text") << QByteArray("[\"0x10\"]") << 0u;
    QTest::newRow("null") << QByteArray("[null]") << 0u;
    QTest::newRow("list") << QByteArray("[[1]]") << 0u;
    QTest::newRow("true") << QByteArray("[true]") << 0u;
    QTest::newRow("just under a half") << QByteArray("[0.49999999999999994]") << 0u;
}

void tst_FunctionsText::registerValue()
{
    QFETCH(const QByteArray, json);
    QTEST(generationresult::registerValue(list(json).first()), "expected");
}

void tst_FunctionsText::instruction_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<QString>("expected");
    QTest::newRow("comment") << QByteArray(R"(["COMMENT", "set up"])") << "    #  set up\n";
    QTest::newRow("comment of three") << QByteArray(R"(["COMMENT", "a", "b"])") << "";
    QTest::newRow("comment without text") << QByteArray(R"(["COMMENT"])") << "";
    QTest::newRow("nine") << QByteArray(R"(["REG_WRITE", "R1", 9])") << "    R1 = 0x0009\n";
    QTest::newRow("ten") << QByteArray(R"(["REG_WRITE", "R1", 10])") << "    R1 = 0x000a (10)\n";
    QTest::newRow("five digits") << QByteArray(R"(["REG_WRITE", "R1", 74565])")
                                 << "    R1 = 0x12345 (74565)\n";
    QTest::newRow("eight digits") << QByteArray(R"(["REG_WRITE", "R1", -1])")
                                  << "    R1 = 0xffffffff (4294967295)\n";
    QTest::newRow("bit field stays whole")
        << QByteArray(R"(["REG_WRITE", "R1:bit0", 1])") << "    R1:bit0 = 0x0001\n";
    QTest::newRow("trailing comment") << QByteArray(R"(["REG_WRITE", "R1", 50, "multiplier"])")
                                      << "    R1 = 0x0032 (50)  # multiplier\n";
    QTest::newRow("comment that is a number")
        << QByteArray(R"(["REG_WRITE", 12288, 1, 1000000])") << "    12288 = 0x0001  # 1000000\n";
    QTest::newRow("two elements") << QByteArray(R"(["REG_WRITE", "R1"])") << "";
    QTest::newRow("five elements") << QByteArray(R"(["REG_WRITE", "R1", 1, "a", "b"])") << "";
    QTest::newRow("unknown operation") << QByteArray(R"(["DELAY", 5])") << "";
    QTest::newRow("no operation") << QByteArray("[]") << "";
}

void tst_FunctionsText::instruction()
{
    QFETCH(const QByteArray, json);
    QTEST(instructionText(list(json), 1), "expected");
}

void tst_FunctionsText::wholeText()
{
    const QVariantList functions = list(R"([
        {"name": "pll", "instructions": [["COMMENT", "set up the PLL"], ["DELAY", 1],
            ["REG_WRITE", "R0x302a", 6], ["REG_WRITE", "R0x3030", 50, "multiplier"]]},
        {"name": "empty"},
        17
    ])");
    QCOMPARE(functionsText("M", functions),
             QString("M\n"
                     "\n"
                     "pll:\n"
                     "    #  set up the PLL\n"
                     "    R0x302a = 0x0006\n"
                     "    R0x3030 = 0x0032 (50)  # multiplier\n"
                     "\n"
                     "empty:\n"
                     "\n"
                     ":\n"));
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
    QTest::addColumn<QList<int>>("changes");
    QTest::newRow("same text") << 1000 << QList<int>();
    QTest::newRow("first and last line") << 1000 << QList<int>{0, 999};
    QTest::newRow("neighbours") << 1000 << QList<int>{10, 11, 12, 500};
    QTest::newRow("too many to update") << 100 << QList<int>{1, 20, 40, 60, 80};
    QTest::newRow("longer") << 1003 << QList<int>();
    QTest::newRow("shorter") << 7 << QList<int>();
}

// However the pane gets from one text to the next, it ends as after clearing and inserting.
void tst_FunctionsText::paneShowsEveryTextAlike()
{
    QFETCH(const int, count);
    QFETCH(const QList<int>, changes);
    FunctionsPane pane;
    pane.resize(300, 200);
    auto *const view = pane.findChild<QPlainTextEdit *>("functions");
    QVERIFY(view->isReadOnly());
    pane.setFunctions("M", longFunctions(1000, {}));
    pane.show();
    QVERIFY(QTest::qWaitForWindowExposed(&pane));
    QCOMPARE(view->verticalScrollBar()->value(), 0);
    view->verticalScrollBar()->setValue(300);
    QTextCursor selection = view->textCursor();
    selection.setPosition(100);
    selection.setPosition(200, QTextCursor::KeepAnchor);
    view->setTextCursor(selection);

    const QSet<int> changed(changes.begin(), changes.end());
    pane.setFunctions("N", longFunctions(count, changed));
    QCOMPARE(view->toPlainText(), functionsText("N", longFunctions(count, changed)));
    QVERIFY(view->textCursor().atEnd());
    QVERIFY(!view->textCursor().hasSelection());
    QCOMPARE(view->verticalScrollBar()->value(), 0);
    QVERIFY(!view->document()->isUndoAvailable());
}

static QVariantList commentedFunction(const QString &comment, const QString &otherComment)
{
    QVariantList instructions;
    for (int i = 0; i < 200; ++i)
        instructions.append(QVariant(QVariantList{"COMMENT", QString::number(i)}));
    instructions[50] = QVariantList{"COMMENT", comment};
    instructions[150] = QVariantList{"COMMENT", otherComment};
    return {QVariantMap{{"name", "f"}, {"instructions", instructions}}};
}

void tst_FunctionsText::paneShowsOddLinesAlike_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::newRow("carriage return inside") << "one"
                                            << "o\rne";
    QTest::newRow("carriage return at the end") << "one"
                                                << "one\r";
    QTest::newRow("paragraph separator inside") << "one" << QString("o%1ne").arg(QChar(0x2029));
    QTest::newRow("longer") << "one"
                            << "one two";
    QTest::newRow("empty") << "one"
                           << "";
    QTest::newRow("half of a surrogate pair")
        << QString::fromUtf8("\U0001F600") + "x" << QString::fromUtf8("\U0001F601") + "x";
}

// The same with comments that hold more than plain text.
void tst_FunctionsText::paneShowsOddLinesAlike()
{
    QFETCH(const QString, before);
    QFETCH(const QString, after);
    FunctionsPane pane;
    pane.setFunctions("M", commentedFunction(before, "one"));
    pane.setFunctions("M", commentedFunction(after, "two"));
    FunctionsPane fresh;
    fresh.setFunctions("M", commentedFunction(after, "two"));
    QCOMPARE(pane.findChild<QPlainTextEdit *>("functions")->toPlainText(),
             fresh.findChild<QPlainTextEdit *>("functions")->toPlainText());
}

TARNWICK_TEST_MAIN(tst_FunctionsText)
#include "tst_functionstext.moc"
