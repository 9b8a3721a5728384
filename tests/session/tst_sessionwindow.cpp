// SPDX-License-Identifier: MIT
#include "params/parameterspane.h"
#include "session/errorspane.h"
#include "session/session.h"
#include "session/sessionwindow.h"
#include "support/generatorfolder.h"
#include "support/recordingconsole.h"
#include "support/table.h"
#include "support/testmain.h"

#include <QJsonDocument>
#include <QPlainTextEdit>
#include <QScrollBar>

/// Scripts played to a window, see tests/data/session/windows.txt.
class tst_SessionWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_python.initialize(L"tst_sessionwindow");
        QVERIFY2(PythonModule::isLoaded(), "these tests need a Python 3 library");
        RecordingConsole::install();
    }
    void script_data() { loadTable("session/windows"); }
    void script()
    {
        QFETCH(QString, body);
        m_source = GeneratorFolder::source(body.toUtf8());
        m_session = std::make_shared<Session>(m_folder.write("settings_w.py", m_source), "P1");
        m_window = std::make_unique<SessionWindow>(m_session);
        m_told.clear();
        connect(m_window.get(), &SessionWindow::regenerated, this, [this](SessionWindow *window) {
            m_told += window == m_window.get() ? "regenerated" : "another regenerated";
        });
        QCOMPARE(m_window->results(), QVariantMap());
        m_window->regenerate();
        QFETCH(QString, steps);
        for (const QString &step : steps.split("; "))
            run(step);
        RecordingConsole::clear();
        QTEST(m_told.join(" / "), "told");
    }

private:
    void run(const QString &step)
    {
        QTest::qWait(0);
        const QString verb = step.section(' ', 0, 0);
        const QString rest = step.section(' ', 1);
        if (verb == "press") {
            const QKeySequence key(rest.section(' ', 1));
            QTest::keyClick(find(rest.section(' ', 0, 0)), Qt::Key(key[0]));
        } else if (verb == "form") {
            const QVariant form = QJsonDocument::fromJson(rest.toUtf8()).toVariant();
            m_window->parametersPane()->setParameters(form.toMap(), {});
        } else if (verb == "edit") {
            const QStringList texts = rest.split(" => ");
            m_source.replace(texts[0].toUtf8(), texts[1].toUtf8());
            m_folder.write("settings_w.py", m_source);
            m_session->load();
            m_window->reload();
        } else if (verb == "inside") {
            RecordingConsole::onWrite = [=] {
                RecordingConsole::onWrite = nullptr;
                run(rest);
                QCoreApplication::processEvents();
            };
        } else if (verb == "say") {
            m_window->errorsPane()->setLines({rest});
        } else if (verb == "layout") {
            checkLayout();
        } else if (verb == "results") {
            m_told +=
                QJsonDocument::fromVariant(m_window->results()).toJson(QJsonDocument::Compact);
        } else {
            m_told += find(verb) ? find(verb)->property(qPrintable(rest)).toString() : "nothing";
        }
    }

    void checkLayout()
    {
        QCOMPARE(m_window->focusWidget()->objectName(), "gain_check");
        m_window->resize(1000, 600);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        for (const auto *const area : m_window->findChildren<QPlainTextEdit *>())
            QCOMPARE(area->verticalScrollBar()->value(), 0);
        const QWidget *const form = m_window->parametersPane();
        const QWidget *const upper = find("NotesPane")->parentWidget();
        const QPoint notes = place("NotesPane");
        QVERIFY(form->width() < notes.x() && form->width() < upper->width());
        QVERIFY(notes.x() < place("FunctionsPane").x() && notes.y() < place("ErrorsPane").y());
        QCOMPARE(place("FunctionsPane").y(), notes.y());
        QCOMPARE(find("ErrorsPane")->width(), upper->width());
        QCOMPARE(upper->sizePolicy().verticalStretch(), 4);
        QCOMPARE(find("ErrorsPane")->sizePolicy().verticalStretch(), 1);
        const int rowEnd = place("mode_value").x() + find("mode_value")->width();
        QVERIFY2(rowEnd <= form->width(), "the form is too narrow for its rows");
    }

    QWidget *find(const QString &name) const { return m_window->findChild<QWidget *>(name); }
    QPoint place(const QString &name) const { return find(name)->mapTo(m_window.get(), QPoint()); }

    PythonModule m_python;
    GeneratorFolder m_folder;
    QByteArray m_source;
    std::shared_ptr<Session> m_session;
    std::unique_ptr<SessionWindow> m_window;
    QStringList m_told;
};

TARNWICK_TEST_MAIN(tst_SessionWindow)
#include "tst_sessionwindow.moc"
