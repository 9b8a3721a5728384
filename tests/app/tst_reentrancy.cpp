// SPDX-License-Identifier: MIT
//
// What the user does while a generation is under way: the generator prints, which lets events
// through in the middle of it.

#include "app/identity.h"
#include "app/tarnwick.h"
#include "session/sessionwindow.h"
#include "support/consoledouble.h"
#include "support/generatorfolder.h"
#include "support/modaldriver.h"
#include "support/testmain.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QSettings>
#include <QSpinBox>
#include <QTabBar>
#include <QtTest>

using Change = std::function<void(SessionWindow *)>;
Q_DECLARE_METATYPE(Change)

class tst_Reentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void closedDuring_data();
    void closedDuring();
    void replacedDuring_data();
    void replacedDuring();
    void closedAndReopenedDuringACombination();
    void modeBeingBuiltDoesNotJoinTheNewSession();
    void newerOpeningWins();
    void windowClosedDuring();

private:
    void addChanges() const;
    void trigger(const char *action) { m_window->findChild<QAction *>(action)->trigger(); }
    void openSession(const QString &part);
    QMdiArea *area() const { return m_window->findChild<QMdiArea *>(); }
    SessionWindow *mode(int index) const
    {
        return qobject_cast<SessionWindow *>(area()->subWindowList().at(index)->widget());
    }
    void closeTab(int index) { Q_EMIT area()->findChild<QTabBar *>()->tabCloseRequested(index); }
    static QString notes(SessionWindow *window)
    {
        return window->findChild<QPlainTextEdit *>("notes")->toPlainText();
    }

    ConsoleDouble m_console;
    GeneratorFolder m_folder;
    std::unique_ptr<Tarnwick> m_window;
    std::unique_ptr<ModalDriver> m_driver;
};

void tst_Reentrancy::initTestCase()
{
    applyIdentity();
    m_folder.write("settings_talks.py",
                   GeneratorFolder::source("print('generating'); print(gain)"));
}

void tst_Reentrancy::init()
{
    QSettings().clear();
    QSettings().setValue("pyLocations", QStringList{m_folder.path()});
    ConsoleDouble::onChunk = nullptr;
    m_driver = std::make_unique<ModalDriver>();
    if (!m_window)
        m_window = std::make_unique<Tarnwick>();
    m_window->show();
    openSession("P1");
}

void tst_Reentrancy::cleanup()
{
    QCOMPARE(m_driver->unexpected(), 0);
    if (!m_window)
        return;
    area()->closeAllSubWindows();
    QTRY_VERIFY(m_window->findChildren<SessionWindow *>().isEmpty());
}

/// Opens a session, discarding changes where that is asked about.
void tst_Reentrancy::openSession(const QString &part)
{
    const ModalDriver::Answer pick = [part](QDialog *dialog) {
        auto *const parts = dialog->findChild<QListWidget *>("parts");
        parts->setCurrentItem(parts->findItems(part, Qt::MatchExactly).value(0));
        dialog->accept();
    };
    m_driver->expect([this, pick](QDialog *dialog) {
        auto *const box = qobject_cast<QMessageBox *>(dialog);
        if (!box) {
            pick(dialog);
            return;
        }
        m_driver->expect(pick);
        box->button(QMessageBox::Ok)->click();
    });
    trigger("actionNew");
}

void tst_Reentrancy::addChanges() const
{
    QTest::addColumn<Change>("change");
    QTest::newRow("spin box step") << Change([](SessionWindow *window) {
        QTest::keyClick(window->findChild<QSpinBox *>("gain"), Qt::Key_Up);
    });
    QTest::newRow("spin box arrow") << Change([](SessionWindow *window) {
        auto *const spin = window->findChild<QSpinBox *>("gain");
        QTest::mouseClick(spin, Qt::LeftButton, {}, QPoint(spin->width() - 5, 4));
    });
    QTest::newRow("typed value") << Change([](SessionWindow *window) {
        auto *const spin = window->findChild<QSpinBox *>("gain");
        spin->selectAll();
        QTest::keyClicks(spin, "5");
        QTest::keyClick(spin, Qt::Key_Return);
    });
    QTest::newRow("check box") << Change([](SessionWindow *window) {
        QTest::mouseClick(window->findChild<QCheckBox *>("mode_check"), Qt::LeftButton);
    });
    QTest::newRow("combo box") << Change([](SessionWindow *window) {
        auto *const combo = window->findChild<QComboBox *>("mode");
        combo->setEnabled(true);
        QTest::keyClick(combo, Qt::Key_Down);
    });
}

void tst_Reentrancy::closedDuring_data()
{
    addChanges();
}

// The tab is closed from inside the generation that one of its own widgets started.
void tst_Reentrancy::closedDuring()
{
    QFETCH(const Change, change);
    trigger("actionNew_Mode");
    const QPointer<SessionWindow> closed = mode(0);
    bool aliveInside = false;
    ConsoleDouble::once([&] {
        closeTab(0);
        QTest::qWait(50);
        aliveInside = closed;
    });
    change(closed);
    QVERIFY(aliveInside);
    QTRY_VERIFY(!closed);
    QCOMPARE(area()->subWindowList().size(), 1);
    QCOMPARE(notes(mode(0)), QString("gain 1"));
}

void tst_Reentrancy::replacedDuring_data()
{
    addChanges();
}

// Another session is opened from inside the generation.
void tst_Reentrancy::replacedDuring()
{
    QFETCH(const Change, change);
    const QPointer<SessionWindow> replaced = mode(0);
    ConsoleDouble::once([&] { openSession("P2"); });
    change(replaced);
    QTRY_VERIFY(!replaced);
    QCOMPARE(area()->subWindowList().size(), 1);
    QCOMPARE(area()->subWindowList().first()->windowTitle(), QString("P2_gain1"));
    QCOMPARE(m_window->windowTitle(), QString("Tarnwick P2"));
}

void tst_Reentrancy::closedAndReopenedDuringACombination()
{
    const QPointer<SessionWindow> first = mode(0);
    ConsoleDouble::once([&] {
        QTest::keyClick(first->findChild<QSpinBox *>("gain"), Qt::Key_Up);
        trigger("actionClone_Mode");
        ConsoleDouble::once([&] {
            closeTab(0);
            closeTab(0);
            openSession("P2");
        });
        trigger("actionNew_Mode");
    });
    QTest::keyClick(first->findChild<QSpinBox *>("gain"), Qt::Key_Up);
    QTRY_VERIFY(!first);
    QCOMPARE(area()->subWindowList().size(), 1);
    QCOMPARE(notes(mode(0)), QString("gain 1"));
    QCOMPARE(mode(0)->results().value("name").toString(), QString("P2_gain1"));
}

void tst_Reentrancy::modeBeingBuiltDoesNotJoinTheNewSession()
{
    ConsoleDouble::once([&] { openSession("P2"); });
    trigger("actionClone_Mode");
    QTRY_COMPARE(m_window->findChildren<SessionWindow *>().size(), 1);
    QCOMPARE(area()->subWindowList().first()->windowTitle(), QString("P2_gain1"));
}

// While a generator is being imported for one session, the user opens another.
void tst_Reentrancy::newerOpeningWins()
{
    m_folder.write("settings_slow.py",
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
    QCOMPARE(area()->subWindowList().size(), 1);
    QFile::remove(m_folder.path("settings_slow.py"));
}

void tst_Reentrancy::windowClosedDuring()
{
    m_folder.write("settings_talks.py", GeneratorFolder::source("while True: print('for ever')"));
    ConsoleDouble::once([&] { QVERIFY(m_window->close()); });
    // Ends only because each print raises once the window is closed.
    openSession("P1");
    QVERIFY(!m_window->isVisible());
    QVERIFY(ConsoleDouble::errors.isEmpty());
    QCOMPARE(area()->subWindowList().first()->windowTitle(), QString("Untitled Mode"));
    // Ends the interpreter, so this is the last test.
    m_window.reset();
}

TARNWICK_TEST_MAIN(tst_Reentrancy)
#include "tst_reentrancy.moc"
