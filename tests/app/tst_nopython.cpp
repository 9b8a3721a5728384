// SPDX-License-Identifier: MIT
#include "support/madeupmachine.h"
#include "support/windowtest.h"

class tst_NoPython : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void warnsOnceAndEveryMenuWorks()
    {
        applyIdentity();
        MadeUpMachine machine;
        m_driver = std::make_unique<ModalDriver>();
        expectBox("Tarnwick Requires Python!",
                  "Tarnwick requires Python.\nPlease exit Tarnwick and install Python per Pallowin "
                  "Quick Start Guide.");
        m_window = std::make_unique<Tarnwick>(machine);
        QVERIFY(!m_window->isVisible());
        QCOMPARE(m_driver->pending(), 0);
        setUp();
        // The About box, and the chooser of a session.
        act("cancel; cancel");
        for (QAction *const action : m_window->findChildren<QAction *>()) {
            if (action->objectName().startsWith("action") && action->objectName() != "actionExit"
                && action->objectName() != "actionUserGuide" && action->isEnabled())
                action->trigger();
        }
        // No console; the editor is a plain text editor, and Run has nothing to run.
        QVERIFY(!child<QWidget>("PythonConsole"));
        QVERIFY(child<QAction>("actionPython_Console")->isChecked());
        const auto *const editor = child<QDockWidget>("dockPythonEditor");
        QVERIFY(editor->isVisible());
        act("edit x");
        QCOMPARE(editor->windowTitle(), QString("Python Editor *"));
        act("press run");
        QCOMPARE(editor->windowTitle(), QString("Python Editor"));

        act("accept; start ");
        QCOMPARE(modeCount(), 0);
        QCOMPARE(m_window->windowTitle(), QString("Tarnwick"));
        QVERIFY(m_window->close());
        tearDown();
    }

    void geometryIsRemembered_data()
    {
        QTest::addColumn<QRect>("left");
        QTest::addColumn<QRect>("found");
        // The screen has 800 x 800 pixels.
        QTest::newRow("on the screen") << QRect(70, 90, 600, 500) << QRect(70, 90, 600, 500);
        QTest::newRow("on a screen that is gone")
            << QRect(5000, 90, 600, 500) << QRect(200, 90, 600, 500);
        QTest::newRow("above the screen") << QRect(70, -900, 600, 500) << QRect(70, 20, 600, 500);
    }
    /// From one start to the next.
    void geometryIsRemembered()
    {
        QFETCH(QRect, left);
        applyIdentity();
        QSettings().clear();
        MadeUpMachine machine;
        ModalDriver driver;
        driver.answerAll([](QDialog *warning) { warning->accept(); });
        {
            Tarnwick window(machine);
            QCOMPARE(window.size(), QSize(800, 600));
            window.show();
            window.setGeometry(left);
            QVERIFY(window.close());
        }
        Tarnwick window(machine);
        window.show();
        QTEST(window.geometry(), "found");
    }
};

TARNWICK_TEST_MAIN(tst_NoPython)
#include "tst_nopython.moc"
