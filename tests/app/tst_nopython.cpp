// SPDX-License-Identifier: MIT
#include "app/identity.h"
#include "app/tarnwick.h"
#include "support/generatorfolder.h"
#include "support/madeupmachine.h"
#include "support/modaldriver.h"
#include "support/testmain.h"

#include <QDockWidget>
#include <QMdiArea>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QToolButton>

class tst_NoPython : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void warnsOnceAndEveryMenuWorks();
};

void tst_NoPython::warnsOnceAndEveryMenuWorks()
{
    applyIdentity();
    MadeUpMachine machine;
    ModalDriver driver;
    int warnings = 0;
    driver.answerAll([&](QDialog *dialog) {
        const auto *const box = qobject_cast<QMessageBox *>(dialog);
        if (!box)
            return dialog->reject();
        ++warnings;
        QCOMPARE(box->windowTitle(), QString("Tarnwick Requires Python!"));
        QCOMPARE(box->text(),
                 QString("Tarnwick requires Python.\nPlease exit Tarnwick and install "
                         "Python per Pallowin Quick Start Guide."));
        QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
        dialog->accept();
    });
    Tarnwick window(machine);
    QCOMPARE(warnings, 1);
    QVERIFY(!window.isVisible());
    window.show();

    for (QAction *const action : window.findChildren<QAction *>()) {
        if (action->objectName().startsWith("action") && action->objectName() != "actionExit"
            && action->objectName() != "actionUserGuide" && action->isEnabled())
            action->trigger();
    }
    QCOMPARE(warnings, 1);
    const auto *const area = window.findChild<QMdiArea *>();
    QVERIFY(area->subWindowList().isEmpty());

    // No console; the editor is a plain text editor, and Run has nothing to run.
    QVERIFY(!window.findChild<QWidget *>("PythonConsole"));
    QVERIFY(window.findChild<QAction *>("actionPython_Console")->isChecked());
    const auto *const editor = window.findChild<QDockWidget *>("dockPythonEditor");
    QVERIFY(editor->isVisible());
    editor->findChild<QPlainTextEdit *>("edit")->insertPlainText("x");
    QCOMPARE(editor->windowTitle(), QString("Python Editor *"));
    editor->findChild<QToolButton *>("run")->click();
    QCOMPARE(editor->windowTitle(), QString("Python Editor"));

    const GeneratorFolder folder;
    folder.write("settings_a.py", GeneratorFolder::source());
    driver.expect([](QDialog *dialog) { dialog->accept(); });
    QVERIFY(window.startSession(folder.path()));
    QVERIFY(area->subWindowList().isEmpty());
    QCOMPARE(window.windowTitle(), QString("Tarnwick"));
    QVERIFY(window.close());
}

TARNWICK_TEST_MAIN(tst_NoPython)
#include "tst_nopython.moc"
