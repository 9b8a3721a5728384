// SPDX-License-Identifier: MIT
//
// What the user does while Python is on the stack: scripts print, and the console lets events through
// after each chunk.

#include "support/windowtest.h"

#include <QComboBox>
#include <QLineEdit>
#include <QProcess>
#include <QToolButton>

class tst_Reentrancy : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { tearDown(); }
    void closedDuring_data() { addChanges(); }
    void closedDuring();
    void replacedDuring_data() { addChanges(); }
    void replacedDuring();
    void closedAndReopenedDuringACombination();
    void modeBeingBuiltDoesNotJoinTheNewSession();
    void newerOpeningWins();
    void changedTwentyDeep();
    void printedLinesAndAThread();
    void savedWhileOpening();
    void savedWhileClosingTheLastTab();
    void matrix_data();
    void matrix();
    void quitDuring_data();
    void quitDuring();

private:
    static void addChanges()
    {
        QTest::addColumn<QString>("change");
        for (const char *change : {"step", "arrow", "typed value", "check box", "combo box"})
            QTest::newRow(change) << QString(change);
    }
    static void makeChange(SessionWindow *window, const QString &change);
    void prepareMatrix();
    QVector<QPair<QString, std::function<void()>>> actions();
    void runOuter(const QString &outer);
    QString problem() const;
    void answer(QDialog *dialog);
    void enter(const char *statement)
    {
        child<QLineEdit>("prompt")->setText(statement);
        QTest::keyClick(child<QLineEdit>("prompt"), Qt::Key_Return);
    }

    QString m_session;
    QByteArray m_sessionText;
};

void tst_Reentrancy::init()
{
    setUp("print('generating'); print(gain)");
    openSession();
}

void tst_Reentrancy::makeChange(SessionWindow *window, const QString &change)
{
    auto *const spin = window->findChild<QSpinBox *>("gain");
    if (change == "step") {
        QTest::keyClick(spin, Qt::Key_Up);
    } else if (change == "arrow") {
        QTest::mouseClick(spin, Qt::LeftButton, {}, QPoint(spin->width() - 5, 4));
    } else if (change == "typed value") {
        spin->selectAll();
        QTest::keyClicks(spin, "5");
        QTest::keyClick(spin, Qt::Key_Return);
    } else if (change == "check box") {
        QTest::mouseClick(window->findChild<QCheckBox *>("mode_check"), Qt::LeftButton);
    } else {
        auto *const combo = window->findChild<QComboBox *>("mode");
        combo->setEnabled(true);
        QTest::keyClick(combo, Qt::Key_Down);
    }
}

/// The tab is closed from inside the generation that one of its own widgets started.
void tst_Reentrancy::closedDuring()
{
    QFETCH(const QString, change);
    trigger("actionNew_Mode");
    const QPointer<SessionWindow> closed = mode();
    bool aliveInside = false;
    ConsoleDouble::once([&] {
        closeTab(0);
        QTest::qWait(50);
        aliveInside = closed;
    });
    makeChange(closed, change);
    QVERIFY(aliveInside);
    QTRY_VERIFY(!closed);
    QCOMPARE(modeCount(), 1);
    QCOMPARE(pane(mode(), "notes"), QString("gain 1"));
}

/// Another session is opened from inside the generation.
void tst_Reentrancy::replacedDuring()
{
    QFETCH(const QString, change);
    const QPointer<SessionWindow> replaced = mode();
    ConsoleDouble::once([&] { openSession("P2"); });
    makeChange(replaced, change);
    QTRY_VERIFY(!replaced);
    QCOMPARE(titles(), QString("P2_gain1"));
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
}

void tst_Reentrancy::closedAndReopenedDuringACombination()
{
    const QPointer<SessionWindow> first = mode();
    ConsoleDouble::once([&] {
        makeChange(first, "step");
        trigger("actionClone_Mode");
        ConsoleDouble::once([&] {
            closeTab(0);
            closeTab(0);
            openSession("P2");
        });
        trigger("actionNew_Mode");
    });
    makeChange(first, "step");
    QTRY_VERIFY(!first);
    QCOMPARE(titles(), QString("P2_gain1"));
    QCOMPARE(pane(mode(), "notes"), QString("gain 1"));
}

void tst_Reentrancy::modeBeingBuiltDoesNotJoinTheNewSession()
{
    ConsoleDouble::once([&] { openSession("P2"); });
    trigger("actionClone_Mode");
    QTRY_COMPARE(m_window->findChildren<SessionWindow *>().size(), 1);
    QCOMPARE(titles(), QString("P2_gain1"));
}

/// While a generator is being imported for one session, the user opens another.
void tst_Reentrancy::newerOpeningWins()
{
    m_folder->write("settings_slow.py",
                    "print('loading')\n" + GeneratorFolder::source().replace("'P1', 'P2'", "'S1'"));
    int chunks = 0;
    ConsoleDouble::onChunk = [&] {
        // The listing of the dialog prints first: word and line feed.
        if (++chunks != 3)
            return;
        ConsoleDouble::onChunk = nullptr;
        openSession("P2");
    };
    openSession("S1");
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
    QCOMPARE(modeCount(), 1);
}

void tst_Reentrancy::changedTwentyDeep()
{
    gain()->setMaximum(100);
    int depth = 0;
    ConsoleDouble::onChunk = [&] {
        if (++depth <= 20)
            gain()->stepUp();
    };
    gain()->stepUp();
    QCOMPARE(gain()->value(), 22);
    QCOMPARE(pane(mode(), "notes"), QString("gain 22"));
    QCOMPARE(titles(), QString("P1_gain22"));
}

/// A generator that prints a lot and starts a thread that never stops printing.
void tst_Reentrancy::printedLinesAndAThread()
{
    m_folder->write("settings_test.py",
                    GeneratorFolder::source(
                        "for i in range(20000): print(i)\n"
                        "        import threading, time\n"
                        "        def talk():\n"
                        "            while True: print('still here'); time.sleep(0.001)\n"
                        "        threading.Thread(target=talk, daemon=True).start()"));
    openSession();
    QVERIFY(ConsoleDouble::output.contains("19999\n"));
    QCOMPARE(pane(mode(), "notes"), QString("gain 1"));
    QTRY_VERIFY(child<QPlainTextEdit>("console")->toPlainText().contains("still here"));
    QVERIFY(child<QPlainTextEdit>("console")->blockCount() <= 5000);
}

void tst_Reentrancy::savedWhileOpening()
{
    const QString file = sessionFile("[{}, {}, {}]", m_generator, "P1");
    const QByteArray text = read(file);
    int chunks = 0;
    ConsoleDouble::onChunk = [&] {
        // The second mode is being built: one of three is there.
        if (++chunks == 6)
            trigger("actionSave");
    };
    openFile(file);
    QVERIFY(chunks > 6);
    QCOMPARE(modeCount(), 3);
    QCOMPARE(read(file), text);
}

void tst_Reentrancy::savedWhileClosingTheLastTab()
{
    const QString file = sessionFile("[{}]", m_generator, "P1");
    const QByteArray text = read(file);
    openFile(file);
    ConsoleDouble::once([&] {
        closeTab(0);
        trigger("actionSave");
    });
    gain()->stepUp();
    QTRY_VERIFY(m_window->findChildren<SessionWindow *>().isEmpty());
    QCOMPARE(read(file), text);
}

/// What the user can do at any time, by name.
QVector<QPair<QString, std::function<void()>>> tst_Reentrancy::actions()
{
    const auto menu = [this](const char *action) { return [=] { trigger(action); }; };
    return {
        {"close a tab", [this] { modeCount() ? closeTab(0) : void(); }},
        {"close all tabs",
         [this] {
             while (modeCount() > 0)
                 closeTab(0);
         }},
        {"new session", menu("actionNew")},
        {"recent file",
         [this] {
             child<QMenu>("menuSession")->actions().first()->menu()->actions().first()->trigger();
         }},
        {"clone", menu("actionClone_Mode")},
        {"change", [this] { modeCount() ? gain()->stepUp() : void(); }},
        {"enter", [this] { enter("print(6*7)"); }},
        {"input", [this] { enter("print(input('name: '))"); }},
        {"clear", [this] { child<QToolButton>("clear")->click(); }},
        {"save", menu("actionSave")},
        {"ini", menu("actionIni_File")},
        {"json", menu("actionJson")},
        {"shared settings", menu("actionShared_Settings")},
        {"console dock", menu("actionPython_Console")},
        {"editor dock", menu("actionPython_Editor")},
        {"run", [this] { child<QToolButton>("run")->click(); }}};
}

void tst_Reentrancy::matrix_data()
{
    QTest::addColumn<QString>("outer");
    QTest::addColumn<int>("first");
    const auto all = actions();
    for (const char *outer : {"generate", "statement", "run"}) {
        for (int i = 0; i < all.size(); ++i)
            QTest::newRow(qPrintable(QString(outer) + ", " + all.at(i).first))
                << QString(outer) << i;
    }
}

/// A session of two modes with a file, and a user who says yes to everything.
void tst_Reentrancy::prepareMatrix()
{
    m_session = sessionFile("[{}, {}]", m_generator, "P1");
    openFile(m_session);
    m_sessionText = read(m_session);
    m_driver->answerAll([this](QDialog *dialog) { answer(dialog); });
}

void tst_Reentrancy::answer(QDialog *dialog)
{
    if (dialog->findChild<QListWidget *>("parts"))
        picking("P2")(dialog);
    else if (qobject_cast<QFileDialog *>(dialog))
        ModalDriver::choose(dialog, m_folder->path("out.py"));
    else if (auto *const box = qobject_cast<QMessageBox *>(dialog))
        box->button(box->button(QMessageBox::Yes) ? QMessageBox::Yes : QMessageBox::Ok)->click();
    else
        dialog->accept();
}

void tst_Reentrancy::runOuter(const QString &outer)
{
    if (outer == "generate")
        gain()->stepUp();
    else if (outer == "statement")
        enter("for i in range(4): print(i)");
    else
        child<QToolButton>("run")->click();
}

/// What is wrong with the window or a file; empty for nothing.
QString tst_Reentrancy::problem() const
{
    if (!QTest::qWaitFor([this] { return sessionWindows() == modeCount(); }))
        return "a closed mode stays";
    if (QApplication::overrideCursor())
        return "the wait cursor stays";
    // Every pane and title is that of the form's values.
    for (int i = 0; i < modeCount(); ++i) {
        const QString note = QString("gain %1").arg(gain(i)->isEnabled() ? gain(i)->value() : 3);
        if (pane(mode(i), "notes") != note
            || !titles().section(", ", i, i).endsWith(QString(note).remove(' ')))
            return "stale pane or title: " + note + ", " + pane(mode(i), "notes") + ", " + titles();
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

/// One thing done in the middle of a run, alone and followed by each other one.
void tst_Reentrancy::matrix()
{
    QFETCH(const QString, outer);
    QFETCH(const int, first);
    prepareMatrix();
    const auto all = actions();
    for (int second = -1; second < all.size(); ++second) {
        // Opens the session anew.
        child<QMenu>("menuSession")->actions().first()->menu()->actions().first()->trigger();
        int chunks = 0;
        ConsoleDouble::onChunk = [&] {
            ++chunks;
            if (chunks == 1)
                all.at(first).second();
            else if (chunks == 2 && second >= 0)
                all.at(second).second();
        };
        runOuter(outer);
        ConsoleDouble::onChunk = nullptr;
        const QString found = chunks > 1 ? problem() : "nothing was printed";
        QVERIFY2(
            found.isEmpty(),
            qPrintable("then " + (second < 0 ? "nothing" : all.at(second).first) + ": " + found));
    }
}

void tst_Reentrancy::quitDuring_data()
{
    QTest::addColumn<QString>("outer");
    QTest::addColumn<bool>("changed");
    QTest::addColumn<QString>("body");
    const QString endless = "while True: print('for ever')";
    const QString asks = "print(input('name: '))";
    QTest::newRow("opening") << "open" << false << endless;
    QTest::newRow("run, changes") << "run" << true << endless;
    QTest::newRow("input dialog") << "open" << false << asks;
    QTest::newRow("input dialog, changes") << "run" << true << asks;
    QTest::newRow("question in a question") << "run" << false << "input(input('a: '))";
}

/// Closing ends the interpreter of a process, so each row has its own.
void tst_Reentrancy::quitDuring()
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
    QFETCH(const bool, changed);
    QFETCH(const QString, body);
    prepareMatrix();
    if (changed)
        gain()->stepUp();
    m_folder->write("settings_test.py", GeneratorFolder::source(body.toUtf8()));
    const auto quit = [this] { QVERIFY(m_window->close()); };
    m_driver->answerAll([&](QDialog *dialog) {
        dialog->objectName() == "PythonInputDlg" ? quit() : answer(dialog);
    });
    if (!body.contains("input"))
        ConsoleDouble::once(quit);
    // Ends only because each print and question fails once the window is closed.
    if (outer == "open")
        child<QMenu>("menuSession")->actions().first()->menu()->actions().first()->trigger();
    else
        child<QToolButton>("run")->click();
    QVERIFY(!m_window->isVisible());
    QVERIFY2(!ConsoleDouble::errors.contains("Error"), qPrintable(ConsoleDouble::errors));
    m_window.reset();
}

TARNWICK_TEST_MAIN(tst_Reentrancy)
#include "tst_reentrancy.moc"
