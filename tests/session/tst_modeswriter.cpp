// SPDX-License-Identifier: MIT
#include "session/indentedjson.h"
#include "session/modeswriter.h"
#include "support/table.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QProcess>
#include <QStandardPaths>

class tst_ModesWriter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void texts_data() { loadTable("modeswriter/texts"); }
    /// Set TARNWICK_REWRITE_GOLDEN to write the expected files anew, and review the difference.
    void texts()
    {
        QFETCH(const QString, input);
        const ModesWriter writer(results(input));
        const QMap<QString, QByteArray> texts{{input + ".ini", writer.iniText()},
                                              {input + ".py.txt", writer.initializerPython()},
                                              {input + "_calls.ini", writer.initializerIni()}};
        for (auto text = texts.cbegin(); text != texts.cend(); ++text) {
            QFile file(m_folder + text.key());
            if (qEnvironmentVariableIsSet("TARNWICK_REWRITE_GOLDEN"))
                QVERIFY(file.open(QIODevice::WriteOnly) && file.write(text.value()) >= 0);
            file.close();
            QCOMPARE(text.value(), contentOf(text.key()));
        }
    }
    void initializerRuns()
    {
        const QString interpreter = QStandardPaths::findExecutable("python3", {"/usr/bin"});
        if (interpreter.isEmpty())
            QSKIP("There is no /usr/bin/python3 to run the initializer with.");
        QProcess process;
        process.start(interpreter, {m_folder + "runner.py.txt"});
        process.write(ModesWriter(results("runnable")).initializerPython());
        process.closeWriteChannel();
        QVERIFY(process.waitForFinished());
        QCOMPARE(process.readAllStandardError(), QByteArray());
        QCOMPARE(process.readAllStandardOutput(), contentOf("runnable.out.txt"));
    }
    void json_data() { loadTable("session/json"); }
    /// Results are written as the toolkit would write them.
    void json()
    {
        QFETCH(const QString, json);
        QVariantList values =
            QJsonDocument::fromJson('[' + json.toUtf8() + ']').toVariant().toList();
        values.append(QVariantMap{{"only", values.first()}});
        // What only C++ can make comes along.
        values << qQNaN() << qInf() << QVariant(QVariant::Int) << ~quint64(0)
               << QStringList{"a", "b"} << QVariantHash{{"a", QStringList{"b"}}}
               << QByteArray("a\"b") << QDate(2024, 2, 29);
        QCOMPARE(resultsJson(values), QJsonDocument(QJsonArray::fromVariantList(values)).toJson());
    }

private:
    QByteArray contentOf(const QString &fileName) const
    {
        QFile file(m_folder + fileName);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : "(unreadable)";
    }
    QVariantList results(const QString &input) const
    {
        return QJsonDocument::fromJson(contentOf(input + ".json")).toVariant().toList();
    }

    const QString m_folder = TEST_DATA_DIR "/modeswriter/";
};

QTEST_GUILESS_MAIN(tst_ModesWriter)
#include "tst_modeswriter.moc"
