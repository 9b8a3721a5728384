// SPDX-License-Identifier: MIT
#include "session/indentedjson.h"
#include "session/modeswriter.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <limits>

static const QString dataFolder = QStringLiteral(TEST_DATA_DIR "/modeswriter/");

static QByteArray contentOf(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qWarning("Can't read %s", qPrintable(path));
    return file.readAll();
}

static QVariantList resultsIn(const QString &fileName)
{
    const auto document = QJsonDocument::fromJson(contentOf(dataFolder + fileName));
    if (!document.isArray())
        qWarning("%s holds no array", qPrintable(fileName));
    return document.array().toVariantList();
}

class tst_ModesWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void texts_data();
    void texts();
    void repeatedTextsAreEqual();
    void initializerRuns();
    void json_data();
    void json();
};

void tst_ModesWriter::texts_data()
{
    QTest::addColumn<QString>("input");
    for (const char *name : {"none", "modes", "instructions", "clocks", "runnable"})
        QTest::newRow(name) << name;
}

/// Set TARNWICK_UPDATE_GOLDEN to write the expected files anew; review what changes in them.
void tst_ModesWriter::texts()
{
    QFETCH(QString, input);
    const ModesWriter writer(resultsIn(input + ".json"));
    const QVector<QPair<QString, QByteArray>> texts{
        {input + ".ini", writer.iniText()},
        {input + ".py.txt", writer.initializerPython()},
        {input + "_calls.ini", writer.initializerIni()},
    };
    for (const auto &[fileName, text] : texts) {
        if (qEnvironmentVariableIsSet("TARNWICK_UPDATE_GOLDEN")) {
            QFile file(dataFolder + fileName);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text) == text.size());
            continue;
        }
        QVERIFY(QFile::exists(dataFolder + fileName));
        const QList<QByteArray> lines = text.split('\n');
        const QList<QByteArray> expected = contentOf(dataFolder + fileName).split('\n');
        // Line by line, so that a failure shows the line.
        for (int i = 0; i < qMin(lines.size(), expected.size()); ++i)
            QCOMPARE(fileName + ": " + lines.at(i), fileName + ": " + expected.at(i));
        QCOMPARE(lines.size(), expected.size());
    }
}

/// The names that one text has written must not count in the next.
void tst_ModesWriter::repeatedTextsAreEqual()
{
    const ModesWriter writer(resultsIn("modes.json"));
    const QByteArray ini = writer.iniText();
    const QByteArray python = writer.initializerPython();
    const QByteArray calls = writer.initializerIni();
    QCOMPARE(writer.iniText(), ini);
    QCOMPARE(writer.initializerPython(), python);
    QCOMPARE(writer.initializerIni(), calls);
}

void tst_ModesWriter::initializerRuns()
{
    const QString interpreter = QStandardPaths::findExecutable("python3", {"/usr/bin"});
    if (interpreter.isEmpty())
        QSKIP("There is no /usr/bin/python3 to run the initializer with.");
    const QTemporaryDir folder;
    QFile initializer(folder.filePath("initializer.py"));
    QVERIFY(initializer.open(QIODevice::WriteOnly));
    initializer.write(ModesWriter(resultsIn("runnable.json")).initializerPython());
    initializer.close();

    QProcess process;
    process.start(interpreter, {dataFolder + "runner.py", initializer.fileName()});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.readAllStandardError(), QByteArray());
    QCOMPARE(process.readAllStandardOutput(),
             QByteArray("mode preview\n"
                        "device.external_clock_frequency_in_Hz = 27000000.0\n"
                        "Reset\n"
                        "stream_off\n"
                        "PLL_MULTIPLIER.value = 16\n"
                        "PLL:DIVIDER.value = 4\n"
                        "X_START.value = 0\n"
                        "X_END.value = 4294967295\n"
                        "stream_on\n"
                        "mode idle\n"
                        "Reset\n"
                        "stream_off\n"
                        "mode video\n"
                        "device.external_clock_frequency_in_Hz = 6123456.7\n"
                        "Reset\n"
                        "stream_off\n"
                        "X_START.value = 0\n"
                        "X_END.value = 4294967295\n"
                        "GAIN.value = 65536\n"
                        "stream_on\n"));
}

void tst_ModesWriter::json_data()
{
    QTest::addColumn<QVariant>("value");

    QTest::newRow("empty texts, lists and maps")
        << QVariant(QVariantMap{{"", QVariantMap()}, {"a", QVariantList()}, {"b", ""}});
    QTest::newRow("nested") << QVariant(
        QVariantMap{{"a", QVariantList{QVariantList{QVariantList{1, QVariantMap{{"b", 2}}}}, 3}}});
    QTest::newRow("names in the order of their code units")
        << QVariant(QVariantMap{{QString::fromUtf8("𝄞"), 1},
                                {QString(QChar(0xFF21)), 2},
                                {"b", 3},
                                {"B", 4},
                                {QString::fromUtf8("é"), 5}});
    QTest::newRow("escapes") << QVariant(QStringLiteral("\"\\/\b\f\n\r\t\x01\x1f\x7f"));
    QTest::newRow("name with escapes") << QVariant(QVariantMap{{"a\"\n", 1}});
    QTest::newRow("zero unit") << QVariant(QString(QChar(0)));
    QTest::newRow("beyond ASCII") << QVariant(QString::fromUtf8("é ż \u2028 \uFFFD 名 𝄞"));
    QTest::newRow("lone surrogates") << QVariant(QString(QChar(0xD800)) + "a" + QChar(0xDC00));
    QTest::newRow("simple values")
        << QVariant(QVariantList{true, false, QVariant(), QVariant::fromValue(nullptr), QString()});
    QTest::newRow("null integer") << QVariant(QVariant::Int);
    QTest::newRow("null text") << QVariant(QVariant::String);
    QTest::newRow("other lists and maps")
        << QVariant(QVariantList{QStringList{"a", "b"}, QVariantHash{{"a", QStringList{"b"}}}});
    QTest::newRow("other values") << QVariant(
        QVariantList{QByteArray("a\"b"), QChar('c'), QDate(2024, 2, 29)});

    const qint64 exact = qint64(1) << 53;
    for (const qint64 number : {qint64(0),
                                qint64(-1),
                                qint64(1234567890123),
                                exact,
                                exact + 1,
                                -exact,
                                -exact - 1,
                                std::numeric_limits<qint64>::min(),
                                std::numeric_limits<qint64>::max()})
        QTest::addRow("integer %lld", static_cast<long long>(number)) << QVariant(number);
    QTest::newRow("other integers")
        << QVariant(QVariantList{-7, 4294967295U, std::numeric_limits<quint64>::max()});
    for (const double number : {0.0,
                                -0.0,
                                1.0,
                                0.1,
                                1e6,
                                1e-7,
                                1e15,
                                1e19,
                                1e22,
                                1.5e300,
                                5e-324,
                                -2.5,
                                double(INFINITY),
                                double(NAN)})
        QTest::addRow("double %g", number) << QVariant(number);
}

void tst_ModesWriter::json()
{
    QFETCH(QVariant, value);
    const QVariantList results{value, QVariantMap{{"only", value}}};
    const QByteArray toolkitText = QJsonDocument(QJsonArray::fromVariantList(results)).toJson();
    QCOMPARE(resultsJson(results), toolkitText);
}

QTEST_GUILESS_MAIN(tst_ModesWriter)
#include "tst_modeswriter.moc"
