// SPDX-License-Identifier: MIT
#include "session/generator.h"
#include "session/session.h"
#include "support/generatorfolder.h"
#include "support/recordingconsole.h"
#include "support/table.h"

#include <QDir>

/// Plays scripts to a session and compares what they tell. tests/data/session/generators.txt
/// explains them.
class tst_Generator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_python.initialize(L"tst_generator");
        QVERIFY2(PythonModule::isLoaded(), "these tests need a Python 3 library");
        RecordingConsole::install();
    }
    void script_data() { loadTable("session/generators"); }
    void script()
    {
        QFETCH(QString, files);
        QFETCH(QString, source);
        QFETCH(QString, steps);
        QFETCH(QString, error);
        RecordingConsole::clear();
        m_told.clear();
        QVERIFY(QDir::setCurrent(m_folder.path()));
        for (const QString &file : items(files.isEmpty() ? newFile() : files)) {
            m_file = file;
            QVERIFY(QDir().mkpath(QFileInfo(file).path()));
            m_folder.write(file, source.isEmpty() ? GeneratorFolder::source() : source.toUtf8());
        }
        for (const QString &step : ("open; " + steps).split("; "))
            run(step);
        QTEST(m_told.join(" / "), "told");
        QCOMPARE(RecordingConsole::text(0), "");
        const QString errors = RecordingConsole::text(1);
        QVERIFY2(error.isEmpty() ? errors.isEmpty() : errors.contains(error), qPrintable(errors));
        QVERIFY(!QFile::exists(m_folder.path(QFileInfo(m_file).path() + "/__pycache__")));

        // Whatever it did, others still work.
        CPython::execute("sys.stdout = tarnwick.Console(0)");
        const Session other(m_folder.write(newFile(), GeneratorFolder::source()), "P1");
        QCOMPARE(other.generate({}).value("name").toString(), "P1_gain3");
    }

private:
    void run(const QString &step)
    {
        const QString verb = step.section(' ', 0, 0);
        const QString rest = step.section(' ', 1);
        QFETCH(QString, part);
        if (verb == "open")
            m_session = std::make_unique<Session>(m_file, part);
        else if (verb == "load")
            m_session->load();
        else if (verb == "inside")
            RecordingConsole::onWrite = [=] {
                RecordingConsole::onWrite = nullptr;
                run(rest);
            };
        else if (verb == "write")
            m_folder.write(m_file, "class Settings:\n part_numbers = " + rest.toUtf8() + '\n');
        else if (verb == "remove")
            QVERIFY(QFile::remove(m_folder.path(m_file)));
        else
            m_told += tell(verb, rest);
    }

    QString tell(const QString &verb, const QString &rest) const
    {
        const auto list = [](const QStringList &texts) { return '[' + texts.join(", ") + ']'; };
        if (verb == "path")
            return m_session->modulePath();
        if (verb == "module")
            return '"' + m_session->moduleName() + '"';
        if (verb == "part")
            return m_session->partNumber();
        if (verb == "parts")
            return list(m_session->partNumbers());
        if (verb == "parameters")
            return list(m_session->parameterList().keys());
        if (verb == "groups")
            return list(m_session->parameterGroupList().keys());
        if (verb == "generate") {
            const auto json = QJsonDocument::fromJson('[' + rest.toUtf8() + ']').toVariant();
            const QVariantMap parameter{{"value", json.toList().value(0)}};
            return m_session->generate({{"p", parameter}}).value("name", "failed").toString();
        }
        if (verb != "scan")
            qFatal("There is no step %s", qPrintable(verb));
        QStringList found;
        const QMap<QString, QString> parts = generator::findPartNumbers(m_folder.path(rest));
        for (const QString &part : parts.keys())
            found += part + ' ' + QString(parts[part]).remove(m_folder.path() + '/');
        return list(found);
    }

    QString newFile() { return QString("settings_m%1.py").arg(++m_modules); }

    PythonModule m_python;
    GeneratorFolder m_folder;
    QString m_file;
    std::unique_ptr<Session> m_session;
    QStringList m_told;
    int m_modules = 0;
};

QTEST_GUILESS_MAIN(tst_Generator)
#include "tst_generator.moc"
