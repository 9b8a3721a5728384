// SPDX-License-Identifier: MIT
#include "session/indentedjson.h"
#include "session/modeswriter.h"
#include "support/table.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

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
    void initializerRuns();
    void json_data() { loadTable("session/json"); }
    void json();
};

void tst_ModesWriter::texts_data()
{
    QTest::addColumn<QString>("input");
    for (const char *name : {"none", "modes", "instructions", "clocks", "runnable"})
        QTest::newRow(name) << name;
}

/// Set TARNWICK_REWRITE_GOLDEN to write the expected files anew, and review the difference.
void tst_ModesWriter::texts()
{
    QFETCH(QString, input);
    const ModesWriter writer(resultsIn(input + ".json"));
    // The second time as well: the names that one text has written must not count in the next.
    for (int i = 0; i < 2; ++i) {
        const QMap<QString, QByteArray> texts{{input + ".ini", writer.iniText()},
                                              {input + ".py.txt", writer.initializerPython()},
                                              {input + "_calls.ini", writer.initializerIni()}};
        for (auto it = texts.cbegin(); it != texts.cend(); ++it) {
            if (qEnvironmentVariableIsSet("TARNWICK_REWRITE_GOLDEN")) {
                QFile file(dataFolder + it.key());
                QVERIFY(file.open(QIODevice::WriteOnly) && file.write(it.value()) >= 0);
            }
            QCOMPARE(it.value(), contentOf(dataFolder + it.key()));
        }
    }
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
    QCOMPARE(process.readAllStandardOutput(), contentOf(dataFolder + "runnable.out.txt"));
}

/// Results are written as the toolkit would write them.
void tst_ModesWriter::json()
{
    QFETCH(QString, json);
    const QVariant value =
        QJsonDocument::fromJson('[' + json.toUtf8() + ']').array().first().toVariant();
    // What only C++ can make comes along.
    const QVariantList results{value,
                               QVariantMap{{"only", value}},
                               std::nan(""),
                               double(INFINITY),
                               QVariant(QVariant::Int),
                               std::numeric_limits<quint64>::max(),
                               QStringList{"a", "b"},
                               QVariantHash{{"a", QStringList{"b"}}},
                               QByteArray("a\"b"),
                               QDate(2024, 2, 29)};
    QCOMPARE(resultsJson(results), QJsonDocument(QJsonArray::fromVariantList(results)).toJson());
}

QTEST_GUILESS_MAIN(tst_ModesWriter)
#include "tst_modeswriter.moc"
