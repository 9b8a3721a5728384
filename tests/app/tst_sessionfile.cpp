// SPDX-License-Identifier: MIT
#include "app/sessionfile.h"

#include <QTest>

#include <cmath>
#include <limits>

class tst_SessionFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void text();
    void valuesSurvive_data();
    void valuesSurvive();
    void memberTypes_data();
    void memberTypes();
    void noObject_data();
    void noObject();
    void otherForms_data();
    void otherForms();
    void truncatedAnywhere();
    void largeFile();
};

static QVariantMap valueObject(const QVariant &value)
{
    return {{"value", value}};
}

static SessionDescription exampleSession()
{
    return {"/home/größe/my \"libs\"/settings_x.py",
            "settings_x",
            "X100",
            {QVariantMap{{"b", valueObject("x")}, {"a", valueObject(1)}}, QVariantMap()}};
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

void tst_SessionFile::text()
{
    QCOMPARE(sessionFileText(exampleSession()), exampleText);
    const SessionDescription read = readSessionFileText(exampleText);
    QCOMPARE(read.modulePath, exampleSession().modulePath);
    QCOMPARE(read.moduleName, exampleSession().moduleName);
    QCOMPARE(read.partNumber, exampleSession().partNumber);
    QCOMPARE(read.allParameters, exampleSession().allParameters);
}

void tst_SessionFile::valuesSurvive_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("printed");
    QTest::newRow("whole double") << QVariant(1.0) << QByteArray("1");
    QTest::newRow("fraction") << QVariant(0.1) << QByteArray("0.1");
    QTest::newRow("minus zero") << QVariant(-0.0) << QByteArray("0");
    QTest::newRow("seventeen digits") << QVariant(0.1 + 0.2) << QByteArray("0.30000000000000004");
    QTest::newRow("large") << QVariant(1e22) << QByteArray("1e+22");
    QTest::newRow("smallest") << QVariant(5e-324) << QByteArray("5e-324");
    QTest::newRow("no number") << QVariant(std::nan("")) << QByteArray("null");
    QTest::newRow("most negative")
        << QVariant(std::numeric_limits<int>::min()) << QByteArray("-2147483648");
    QTest::newRow("exact integer")
        << QVariant(qint64(9007199254740991)) << QByteArray("9007199254740991");
    QTest::newRow("beyond exact integers")
        << QVariant(std::numeric_limits<qint64>::max()) << QByteArray("9223372036854776000");
    QTest::newRow("no value") << QVariant() << QByteArray("null");
    QTest::newRow("truth") << QVariant(true) << QByteArray("true");
    QTest::newRow("text") << QVariant(QString::fromUtf8("größe 𝄞")) << QByteArray("\"größe 𝄞\"");
    QTest::newRow("escapes") << QVariant("\"\\\n\x01") << QByteArray("\"\\\"\\\\\\n\\u0001\"");
    QTest::newRow("half a character")
        << QVariant(QString(QChar(0xD834))) << QByteArray("\"\\ud834\"");
}

void tst_SessionFile::valuesSurvive()
{
    QFETCH(QVariant, value);
    QFETCH(QByteArray, printed);
    SessionDescription session;
    session.allParameters = {QVariantMap{{"p", valueObject(value)}}};
    const QByteArray text = sessionFileText(session);
    QVERIFY2(text.contains("\"value\": " + printed + "\n"), text);
    QCOMPARE(sessionFileText(readSessionFileText(text)), text);
}

void tst_SessionFile::memberTypes_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QString>("asText");
    QTest::addColumn<QVariantList>("asList");
    const QVariantList none;
    QTest::newRow("null") << QByteArray("null") << "" << none;
    QTest::newRow("true") << QByteArray("true") << "true" << none;
    QTest::newRow("number") << QByteArray("-12.5") << "-12.5" << none;
    QTest::newRow("text") << QByteArray("\"a'b\"") << "a'b" << none;
    QTest::newRow("object") << QByteArray("{\"a\": [1]}") << "" << none;
    QTest::newRow("empty array") << QByteArray("[]") << "" << none;
    QTest::newRow("array") << QByteArray("[{}, 1, \"x\", null, [{\"b\": 2}]]") << ""
                           << QVariantList{QVariantMap(),
                                           qint64(1),
                                           "x",
                                           QVariant::fromValue(nullptr),
                                           QVariant(QVariantList{QVariantMap{{"b", qint64(2)}}})};
}

void tst_SessionFile::memberTypes()
{
    QFETCH(QByteArray, value);
    QFETCH(QString, asText);
    QFETCH(QVariantList, asList);
    QByteArray text("{\"module_local_path\": @, \"module_name\": @, \"part_number\": @, "
                    "\"all_parameters\": @, \"date\": @, \"revision\": @, \"unknown\": @}");
    const SessionDescription read = readSessionFileText(text.replace("@", value));
    QCOMPARE(read.modulePath, asText);
    QCOMPARE(read.moduleName, asText);
    QCOMPARE(read.partNumber, asText);
    QCOMPARE(read.allParameters, asList);
    // Elements of any type are written back as they are.
    QCOMPARE(readSessionFileText(sessionFileText(read)).allParameters, asList);
}

static bool isEmpty(const SessionDescription &session)
{
    return session.modulePath.isEmpty() && session.moduleName.isEmpty()
        && session.partNumber.isEmpty() && session.allParameters.isEmpty();
}

void tst_SessionFile::noObject_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("empty object") << QByteArray("{}");
    QTest::newRow("no JSON") << QByteArray("module_name = x\n");
    QTest::newRow("binary") << QByteArray("\x7f"
                                          "ELF\0\1\2\xff\xfe{\"a\"",
                                          14);
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
    QTest::newRow("line ends of Windows") << QByteArray(exampleText).replace("\n", "\r\n");
    QTest::newRow("byte order mark") << "\xef\xbb\xbf" + exampleText;
    QTest::newRow("other layout") << QByteArray(exampleText).replace("\n", " ").replace("    ", "");
    QTest::newRow("200 levels")
        << QByteArray(exampleText).replace("{\n    \"a", "{\"x\":" + deep + ",\"a");
    QTest::newRow("the last of two equal members counts")
        << QByteArray(exampleText).replace("{\n    \"a", "{\"part_number\": \"no\", \"a");
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
        mode.insert("parameter " + QString::number(i), valueObject(QString(1000, 'x')));
    for (int i = 0; i < 50; ++i)
        session.allParameters.append(mode);
    const QByteArray text = sessionFileText(session);
    QVERIFY(text.size() > 50000000);
    const SessionDescription read = readSessionFileText(text);
    QCOMPARE(read.allParameters.size(), 52);
    QVERIFY(read.allParameters.last() == mode);
    QVERIFY(sessionFileText(read) == text);
}

QTEST_GUILESS_MAIN(tst_SessionFile)
#include "tst_sessionfile.moc"
