// SPDX-License-Identifier: MIT
#include "app/sessionfile.h"
#include "support/table.h"

#include <QJsonArray>
#include <QJsonDocument>

class tst_SessionFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QFile file(TEST_DATA_DIR "/app/session.txt");
        QVERIFY(file.open(QIODevice::ReadOnly));
        m_example = file.readAll();
        QCOMPARE(sessionFileText(readSessionFileText(m_example)), m_example);
    }
    void reading_data() { loadTable("app/sessionfiles"); }
    void reading()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, text);
        QByteArray file = QByteArray::fromPercentEncoding(text.toUtf8());
        if (before.isEmpty())
            file.replace('@', m_example);
        else
            file = QByteArray(m_example).replace(before.toUtf8(), file);
        const SessionDescription session = readSessionFileText(file);
        QTEST(members(session), "read");
        const QByteArray written = sessionFileText(session);
        QTEST(members(readSessionFileText(written)), "read");
        // As the toolkit prints it.
        QCOMPARE(written, QJsonDocument::fromJson(written).toJson());
    }
    void truncatedAnywhere()
    {
        // Without the closing brace, which only a line feed follows, there is no object.
        for (int length = 0; length < m_example.size() - 2; ++length)
            QCOMPARE(members(readSessionFileText(m_example.left(length))), m_nothing);
        QVERIFY(members(readSessionFileText(m_example.chopped(1))) != m_nothing);
    }
    void notANumber()
    {
        QVERIFY(sessionFileText({{}, {}, {}, {qQNaN()}}).contains("        null\n"));
    }
    void largeFiles()
    {
        QVariantMap mode;
        for (int i = 0; i < 1000; ++i)
            mode.insert("parameter " + QString::number(i), QString(1000, 'x'));
        SessionDescription session = readSessionFileText(m_example);
        while (session.allParameters.size() < 50)
            session.allParameters.append(mode);
        const QByteArray text = sessionFileText(session);
        QVERIFY(readSessionFileText(text).allParameters == session.allParameters);
        QVERIFY(sessionFileText(readSessionFileText(text)) == text);
        for (const QByteArray &noObject : {QByteArray(1000000, '['), QByteArray(50 << 20, '"')})
            QCOMPARE(members(readSessionFileText(noObject)), m_nothing);
    }

private:
    static QString members(const SessionDescription &session)
    {
        const QJsonArray array{session.modulePath,
                               session.moduleName,
                               session.partNumber,
                               QJsonArray::fromVariantList(session.allParameters)};
        return QJsonDocument(array).toJson(QJsonDocument::Compact);
    }

    QByteArray m_example;
    const QString m_nothing = R"(["","","",[]])";
};

QTEST_GUILESS_MAIN(tst_SessionFile)
#include "tst_sessionfile.moc"
