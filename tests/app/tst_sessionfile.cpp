// SPDX-License-Identifier: MIT
#include "app/sessionfile.h"
#include "support/table.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

class tst_SessionFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text();
    void valuesSurvive_data() { loadTable("app/values"); }
    void valuesSurvive();
    void memberTypes_data() { loadTable("app/members"); }
    void memberTypes();
    void noObject_data();
    void noObject();
    void otherForms_data();
    void otherForms();
    void truncatedAnywhere();
    void largeFile();
};

static SessionDescription exampleSession()
{
    return {"/home/größe/my \"libs\"/settings_x.py",
            "settings_x",
            "X100",
            {QVariantMap{{"b", QVariantMap{{"value", "x"}}}, {"a", QVariantMap{{"value", 1}}}},
             QVariantMap()}};
}

static const QByteArray exampleText = R"({
    "all_parameters": [
        {
            "a": {
                "value": 1
            },
            "b": {
                "value": "x"
            }
        },
        {
        }
    ],
    "date": "$Date: $",
    "module_local_path": "/home/größe/my \"libs\"/settings_x.py",
    "module_name": "settings_x",
    "part_number": "X100",
    "revision": "$Revision: $"
}
)";

static bool isEmpty(const SessionDescription &session)
{
    return session.modulePath.isEmpty() && session.moduleName.isEmpty()
        && session.partNumber.isEmpty() && session.allParameters.isEmpty();
}

void tst_SessionFile::text()
{
    QCOMPARE(sessionFileText(exampleSession()), exampleText);
    const SessionDescription read = readSessionFileText(exampleText);
    QCOMPARE(read.modulePath, exampleSession().modulePath);
    QCOMPARE(read.moduleName, exampleSession().moduleName);
    QCOMPARE(read.partNumber, exampleSession().partNumber);
    QCOMPARE(read.allParameters, exampleSession().allParameters);
    SessionDescription notANumber;
    notANumber.allParameters = {std::nan("")};
    QVERIFY(sessionFileText(notANumber).contains("        null\n"));
}

void tst_SessionFile::valuesSurvive()
{
    QFETCH(QString, json);
    QFETCH(QString, printed);
    const SessionDescription session =
        readSessionFileText("{\"all_parameters\": [{\"p\": " + json.toUtf8() + "}]}");
    const QByteArray text = sessionFileText(session);
    QVERIFY2(text.contains("\"p\": " + printed.toUtf8() + "\n"), text);
    QCOMPARE(sessionFileText(readSessionFileText(text)), text);
}

void tst_SessionFile::memberTypes()
{
    QFETCH(QString, json);
    QFETCH(QString, asText);
    QFETCH(QString, asList);
    QByteArray text("{\"module_local_path\": @, \"module_name\": @, \"part_number\": @, "
                    "\"all_parameters\": @, \"date\": @, \"revision\": @, \"unknown\": @}");
    const SessionDescription read = readSessionFileText(text.replace("@", json.toUtf8()));
    QCOMPARE(read.modulePath, asText);
    QCOMPARE(read.moduleName, asText);
    QCOMPARE(read.partNumber, asText);
    const QVariantList list = QJsonDocument::fromJson(asList.toUtf8()).array().toVariantList();
    QCOMPARE(read.allParameters, list);
    // Elements of any type are written back as they are.
    QCOMPARE(readSessionFileText(sessionFileText(read)).allParameters, list);
}

void tst_SessionFile::noObject_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("empty object") << QByteArray("{}");
    QTest::newRow("no JSON") << QByteArray("module_name = x\n");
    QTest::newRow("binary") << QByteArray("\x7f\x45LF\0\1\2\xff\xfe{\"a\"", 14);
    QTest::newRow("UTF-16") << QByteArray("\xff\xfe{\0}\0", 6);
    QTest::newRow("array of sessions") << "[" + exampleText + "]";
    QTest::newRow("text after the object") << exampleText + "x";
    QTest::newRow("number out of range") << QByteArray(exampleText).replace("1", "1e400");
    QTest::newRow("endless depth") << QByteArray(1000000, '[');
    QTest::newRow("50 MB of no JSON") << QByteArray(50 << 20, '"');
}

void tst_SessionFile::noObject()
{
    QFETCH(QByteArray, text);
    QVERIFY(isEmpty(readSessionFileText(text)));
}

void tst_SessionFile::otherForms_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray deep = QByteArray(200, '[') + QByteArray(200, ']');
    const auto changed = [](const char *before, const QByteArray &after) {
        return QByteArray(exampleText).replace(before, after);
    };
    QTest::newRow("line ends of Windows") << changed("\n", "\r\n");
    QTest::newRow("byte order mark") << "\xef\xbb\xbf" + exampleText;
    QTest::newRow("other layout") << changed("\n", " ").replace("    ", "");
    QTest::newRow("200 levels") << changed("{\n    \"a", "{\"x\":" + deep + ",\"a");
    QTest::newRow("the last of two equal members counts")
        << changed("{\n    \"a", "{\"part_number\": \"no\", \"a");
}

void tst_SessionFile::otherForms()
{
    QFETCH(QByteArray, text);
    QVERIFY(text != exampleText);
    QCOMPARE(sessionFileText(readSessionFileText(text)), exampleText);
}

void tst_SessionFile::truncatedAnywhere()
{
    // Without the closing brace, which only a line feed follows, there is no object.
    for (int length = 0; length < exampleText.size() - 2; ++length)
        QVERIFY2(isEmpty(readSessionFileText(exampleText.left(length))),
                 qPrintable(QString::number(length)));
    QVERIFY(!isEmpty(readSessionFileText(exampleText.left(exampleText.size() - 1))));
}

void tst_SessionFile::largeFile()
{
    SessionDescription session = exampleSession();
    QVariantMap mode;
    for (int i = 0; i < 1000; ++i)
        mode.insert("parameter " + QString::number(i), QString(1000, 'x'));
    for (int i = 0; i < 50; ++i)
        session.allParameters.append(mode);
    const QByteArray text = sessionFileText(session);
    const SessionDescription read = readSessionFileText(text);
    QCOMPARE(read.allParameters.size(), 52);
    QVERIFY(read.allParameters.last() == mode);
    QVERIFY(sessionFileText(read) == text);
}

QTEST_GUILESS_MAIN(tst_SessionFile)
#include "tst_sessionfile.moc"
