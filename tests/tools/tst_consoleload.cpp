// SPDX-License-Identifier: MIT
#include "python/pythonmodule.h"
#include "support/modaldriver.h"
#include "support/testmain.h"
#include "tools/pythonconsole.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSettings>

/// The console under scripts that print more than it can show, and a user who types.
class tst_ConsoleLoad : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        m_python.initialize(L"tst_consoleload");
        QVERIFY2(CPython::isLoaded(), "these tests need a Python 3 library");
    }
    void init()
    {
        QSettings().clear();
        m_console = std::make_unique<PythonConsole>(&m_python);
        m_console->show();
    }

    /// The window stays alive while a thread prints without end.
    void floodOfAThread()
    {
        CPython::execute("import threading\n"
                         "going = True\n"
                         "def flood():\n"
                         "    while going: print('some text of a thread')\n"
                         "thread = threading.Thread(target=flood)\n"
                         "thread.start()\n");
        int rounds = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&rounds] { ++rounds; });
        timer.start(1);
        QTRY_VERIFY(rounds > 20);
        // A question to the user as well.
        ModalDriver driver;
        driver.expect([](QDialog *dialog) { dialog->accept(); });
        CPython::execute("input('go on?')\ngoing = False\nprint('from the script')\n"
                         "thread.join()\n");
        QCOMPARE(driver.pending(), 0);
        QTRY_VERIFY(output().contains("from the script"));
    }
    /// A script that lets no events through may wait for a thread that prints.
    void scriptThatWaitsForAThread()
    {
        QCOMPARE(CPython::execute("def work():\n"
                                  "    for i in range(3000): print(i)\n"
                                  "thread = threading.Thread(target=work)\n"
                                  "thread.start()\n"
                                  "thread.join()\n"),
                 0);
        QTRY_VERIFY(output().endsWith("2999\n"));
    }
    /// The list of statements must not put another one into the field.
    void enterKeepsTheStatement()
    {
        auto *const prompt = m_console->findChild<QLineEdit *>("prompt");
        m_console->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_console.get()));
        prompt->setFocus();
        for (const char *statement : {"1+1", "1+10", "1+1"}) {
            prompt->clear();
            QTest::keyClicks(prompt, statement);
            QWidget *const popup = prompt->completer()->popup();
            QTest::keyClick(popup->isVisible() ? popup : prompt, Qt::Key_Return);
            QCOMPARE(prompt->text(), QString(statement));
            QVERIFY(!popup->isVisible());
        }
        QVERIFY(output().endsWith(">>> 1+10\n11\n>>> 1+1\n2\n"));
    }

private:
    QString output() const
    {
        return m_console->findChild<QPlainTextEdit *>("console")->toPlainText();
    }

    PythonModule m_python;
    std::unique_ptr<PythonConsole> m_console;
};

int main(int argc, char *argv[])
{
    QCoreApplication::setOrganizationName("kelvra");
    QCoreApplication::setApplicationName("tst_consoleload");
    const auto application = makeTestApplication(argc, argv);
    tst_ConsoleLoad test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_consoleload.moc"
