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
};

TARNWICK_TEST_MAIN(tst_NoPython)
#include "tst_nopython.moc"
