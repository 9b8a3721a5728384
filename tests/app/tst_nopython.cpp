// SPDX-License-Identifier: MIT
#include "app/identity.h"
#include "app/tarnwick.h"
#include "support/generatorfolder.h"
#include "support/madeupmachine.h"
#include "support/modaldriver.h"
#include "support/testmain.h"

#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QtTest>

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
    driver.expect([&](QDialog *dialog) {
        const auto *const box = qobject_cast<QMessageBox *>(dialog);
        QVERIFY(box);
        QCOMPARE(box->windowTitle(), QString("Tarnwick Requires Python!"));
        QCOMPARE(box->text(),
                 QString("Tarnwick requires Python.\nPlease exit Tarnwick and install "
                         "Python per Pallowin Quick Start Guide."));
        QCOMPARE(box->standardButtons(), QMessageBox::StandardButtons(QMessageBox::Ok));
        ++warnings;
        dialog->accept();
    });
    Tarnwick window(machine);
    QCOMPARE(warnings, 1);
    QVERIFY(!window.isVisible());
    window.show();

    // Dialogs of the file commands are cancelled by the driver.
    for (QAction *const action : window.findChildren<QAction *>()) {
        if (action->objectName().startsWith("action") && action->objectName() != "actionExit"
            && action->objectName() != "actionUserGuide" && action->isEnabled())
            action->trigger();
    }
    QCOMPARE(warnings, 1);
    QVERIFY(window.findChild<QMdiArea *>()->subWindowList().isEmpty());

    const GeneratorFolder folder;
    folder.write("settings_a.py", GeneratorFolder::source());
    driver.expect([](QDialog *dialog) { dialog->accept(); });
    QVERIFY(window.startSession(folder.path()));
    QVERIFY(window.findChild<QMdiArea *>()->subWindowList().isEmpty());
    QCOMPARE(window.windowTitle(), QString("Tarnwick"));
    QVERIFY(window.close());
}

TARNWICK_TEST_MAIN(tst_NoPython)
#include "tst_nopython.moc"
