// SPDX-License-Identifier: MIT
//
// What the user does while Python is on the stack: scripts print, and the console lets events through
// after each chunk.

#include "support/windowtest.h"

#include <QComboBox>
#include <QProcess>

class tst_Reentrancy : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        setUp();
        writeGenerator("print('generating'); print(gain)");
        m_session = sessionFile(m_modes);
        m_sessionText = read(m_session);
        choose(m_session);
        trigger("actionOpen");
    }
    void cleanup() { tearDown(); }

    /// While one session is being opened, the user opens another.
    void newerOpeningWins_data() { loadTable("app/openings"); }
    void newerOpeningWins()
    {
        QFETCH(const QString, opening);
        QFETCH(const QString, chunk);
        int chunks = 0;
        RecordingConsole::onWrite = [&] {
            if (++chunks == chunk.toInt())
                act("New");
        };
        sayYes();
        act(opening);
        QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
        QCOMPARE(titles(), QString("P2_gain1"));
        // Half a session is no rescue of a whole one.
        QCOMPARE(copies(), QString());
    }

    /// The change that is being generated from is one.
    void closedDuringTheFirstChange()
    {
        RecordingConsole::once([this] { act("ask session parameter list(s); Exit"); });
        act("up 0");
        QVERIFY(m_window->isVisible());
        QCOMPARE(problem(), QString());
    }

    void changedDeeply()
    {
        gain()->setMaximum(1000);
        int depth = 0;
        RecordingConsole::onWrite = [&] {
            if (++depth <= 120)
                gain()->stepUp();
        };
        gain()->stepUp();
        QCOMPARE(gain()->value(), 122);
        QCOMPARE(problem(), QString());
    }

    /// A generator that prints a lot and starts a thread that never stops printing.
    void printedLinesAndAThread()
    {
        writeGenerator("for i in range(20000): print(i)\n"
                       "        import threading, time\n"
                       "        def talk():\n"
                       "            while True: print('still here'); time.sleep(0.001)\n"
                       "        threading.Thread(target=talk, daemon=True).start()");
        act("pick P1; New");
        QVERIFY(RecordingConsole::text(0).contains("19999\n"));
        QCOMPARE(pane(mode(), "notes"), QString("gain 1"));
        QTRY_VERIFY(child<QPlainTextEdit>("console")->toPlainText().contains("still here"));
        QVERIFY(child<QPlainTextEdit>("console")->blockCount() <= 5000);
    }

    /// A session of which some modes are not there yet, or none any more, replaces no file.
    void savedAtABadMoment()
    {
        int chunks = 0;
        RecordingConsole::onWrite = [&] {
            // Import and first mode are through, the second is being built.
            if (++chunks == 7)
                trigger("actionSave");
        };
        recentFile()->trigger();
        QVERIFY(chunks > 7);
        QCOMPARE(modeCount(), 2);
        QCOMPARE(read(m_session), m_sessionText);
        RecordingConsole::once([&] { act("close 0; close 0; Save"); });
        gain()->stepUp();
        QTRY_COMPARE(sessionWindows(), 0);
        QCOMPARE(read(m_session), m_sessionText);
    }

    /// One thing done in the middle of a run, alone and followed by each other one.
    void matrix_data()
    {
        QTest::addColumn<QString>("outer");
        QTest::addColumn<QString>("first");
        for (const QString outer : {"change", "enter for i in range(4): print(i)", "press run"}) {
            for (const QString &first : m_actions)
                QTest::newRow(qPrintable(outer + ", " + first)) << outer << first;
        }
    }
    void matrix()
    {
        QFETCH(const QString, outer);
        QFETCH(const QString, first);
        sayYes();
        for (int i = 0; i <= m_actions.size(); ++i) {
            const QString second = m_actions.value(i);
            sessionFile(m_modes);
            recentFile()->trigger();
            int chunks = 0;
            RecordingConsole::onWrite = [&] {
                ++chunks;
                if (chunks == 1)
                    act(first);
                else if (chunks == 2)
                    act(second);
            };
            outer == "change" ? change(i) : act(outer);
            RecordingConsole::onWrite = nullptr;
            const QString found = chunks > 1 ? problem() : "nothing was printed";
            QVERIFY2(found.isEmpty(), qPrintable("then " + second + ": " + found));
        }
    }

    /// Closing ends the interpreter of a process, so each row has its own.
    void quitDuring_data() { loadTable("app/quits"); }
    void quitDuring()
    {
        const QString isChild = "TARNWICK_TEST_QUITS";
        if (!qEnvironmentVariableIsSet(qPrintable(isChild))) {
            QProcess process;
            auto environment = QProcessEnvironment::systemEnvironment();
            environment.insert(isChild, "1");
            process.setProcessEnvironment(environment);
            process.setProcessChannelMode(QProcess::MergedChannels);
            process.start(QCoreApplication::applicationFilePath(),
                          {QString("quitDuring:") + QTest::currentDataTag()});
            QVERIFY(process.waitForFinished());
            QVERIFY2(process.exitCode() == 0, process.readAll());
            return;
        }
        QFETCH(const QString, outer);
        QFETCH(const QString, before);
        QFETCH(const QString, body);
        sayYes();
        act(before);
        writeGenerator(body);
        const auto quit = [this] { QVERIFY(m_window->close()); };
        m_driver->answerAll([&](QDialog *dialog) {
            dialog->objectName() == "PythonInputDlg" ? quit() : answer(dialog);
        });
        if (!body.contains("input"))
            RecordingConsole::once(quit);
        // Ends only because each print and question fails once the window is closed.
        act(outer);
        QVERIFY(!m_window->isVisible());
        QVERIFY2(!RecordingConsole::text(1).contains("Error"),
                 qPrintable(RecordingConsole::text(1)));
        m_window.reset();
    }

private:
    void writeGenerator(const QString &body)
    {
        m_folder->write("settings_test.py",
                        "print('imported')\n" + GeneratorFolder::source(body.toUtf8()));
    }
    /// Each way of changing the first mode's parameters in turn.
    void change(int kind)
    {
        QSpinBox *const spin = gain();
        auto *const combo = mode()->findChild<QComboBox *>("mode");
        const std::function<void()> kinds[] = {
            [=] { QTest::keyClick(spin, Qt::Key_Up); },
            [=] { QTest::mouseClick(spin, Qt::LeftButton, {}, QPoint(spin->width() - 5, 4)); },
            [=] {
                type(spin, "2");
                QTest::keyClick(spin, Qt::Key_Return);
            },
            [=] { click(mode()->findChild<QCheckBox *>("gain_check")); },
            [=] {
                combo->setEnabled(true);
                QTest::keyClick(combo, Qt::Key_Down);
            }};
        kinds[kind % 5]();
    }
    /// A user who says yes to everything.
    void sayYes()
    {
        m_driver->answerAll([this](QDialog *dialog) { answer(dialog); });
    }
    void answer(QDialog *dialog)
    {
        if (dialog->findChild<QListWidget *>("parts"))
            picking("P2")(dialog);
        else if (qobject_cast<QFileDialog *>(dialog))
            ModalDriver::choose(dialog, m_folder->path("out.py"));
        else if (auto *const box = qobject_cast<QMessageBox *>(dialog))
            box->button(box->button(QMessageBox::Yes) ? QMessageBox::Yes : QMessageBox::Ok)
                ->click();
        else
            dialog->accept();
    }
    /// What is wrong with the window or a file; empty for nothing.
    QString problem() const
    {
        if (!QTest::qWaitFor([this] { return sessionWindows() == modeCount(); }))
            return "a closed mode stays";
        if (QApplication::overrideCursor())
            return "the wait cursor stays";
        // Every pane and title is that of the session and of the form's values.
        const QString part = m_window->windowTitle().section(' ', 1);
        for (int i = 0; i < modeCount(); ++i) {
            const int value = gain(i)->isEnabled() ? gain(i)->value() : 3;
            if (pane(mode(i), "notes") != QString("gain %1").arg(value)
                || titles().section(", ", i, i) != QString("%1_gain%2").arg(part).arg(value))
                return "stale pane or title: " + pane(mode(i), "notes") + ", " + titles();
        }
        // Files are whole, and as they were or as they would be now.
        const QByteArray saved = read(m_session);
        if (saved != m_sessionText && !saved.endsWith("\"revision\": \"$Revision: $\"\n}\n"))
            return "the session file is " + saved;
        const QByteArray exported = read(m_folder->path("out.py"));
        if (exported != "(unreadable)" && !exported.endsWith("\n"))
            return "the export is " + exported;
        return QString();
    }

    /// What the user can do at any time.
    const QStringList m_actions{"close 0",
                                "close 0; close 0; close 0",
                                "New",
                                "recent",
                                "Clone_Mode",
                                "up 0",
                                "enter print(6*7)",
                                "enter print(input('name: '))",
                                "press clear",
                                "Save",
                                "Ini_File",
                                "Json",
                                "Shared_Settings",
                                "Python_Console",
                                "Python_Editor",
                                "press run"};
    const QByteArray m_modes = R"([{"gain": {"value": 1}}, {}])";
    QString m_session;
    QByteArray m_sessionText;
};

TARNWICK_TEST_MAIN(tst_Reentrancy)
#include "tst_reentrancy.moc"
