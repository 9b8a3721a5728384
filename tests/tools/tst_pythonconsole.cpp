// SPDX-License-Identifier: MIT
#include "python/pythonmodule.h"
#include "support/modaldriver.h"
#include "support/table.h"
#include "support/testmain.h"
#include "tools/pythonconsole.h"

#include <QAbstractItemView>
#include <QCompleter>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSettings>
#include <QSignalSpy>
#include <QTextBlock>
#include <QToolButton>

#include <thread>

static const char historyKey[] = "Python History";

class tst_PythonConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void form();
    void statements_data() { loadTable("tools/statements"); }
    void statements();
    void history();
    void historyKeys();
    void errorsAreReportedInBursts();
    void input_data() { loadTable("tools/input"); }
    void input();
    void threads();
    void threadsThatAsk();
    void endOfInput();
    void longText();
    void view();
    void withoutConsole();

private:
    template <typename Widget> Widget *child(const char *name) const
    {
        return m_console->findChild<Widget *>(name);
    }
    void enter(const QString &statement)
    {
        child<QLineEdit>("prompt")->setText(statement);
        QTest::keyClick(child<QLineEdit>("prompt"), Qt::Key_Return);
    }
    QString output() const { return child<QPlainTextEdit>("console")->toPlainText(); }
    QStringList entries() const
    {
        const auto *const model = child<QLineEdit>("prompt")->completer()->model();
        QStringList entries;
        for (int row = 0; row < model->rowCount(); ++row)
            entries.append(model->index(row, 0).data().toString());
        return entries;
    }

    PythonModule m_python;
    std::unique_ptr<PythonConsole> m_console;
    std::unique_ptr<ModalDriver> m_driver;
};

void tst_PythonConsole::initTestCase()
{
    m_python.initialize(L"tst_pythonconsole");
    QVERIFY2(CPython::isLoaded(), "these tests need a Python 3 library");
}

void tst_PythonConsole::init()
{
    QSettings().clear();
    m_console = std::make_unique<PythonConsole>(&m_python);
    m_driver = std::make_unique<ModalDriver>();
    m_console->show();
}

void tst_PythonConsole::cleanup()
{
    QCOMPARE(m_driver->unexpected(), 0);
    QCOMPARE(m_driver->pending(), 0);
}

void tst_PythonConsole::form()
{
    QCOMPARE(m_console->windowTitle(), QString("Python %1 Console").arg(CPython::versionString()));
    QCOMPARE(m_console->objectName(), QString("PythonConsole"));
    const auto *const console = child<QPlainTextEdit>("console");
    QVERIFY(console->isReadOnly());
    QCOMPARE(console->font().pointSize(), 9);
    QVERIFY(QFontInfo(console->font()).fixedPitch());
    QCOMPARE(console->document()->maximumBlockCount(), 5000);
    QCOMPARE(child<QLineEdit>("prompt")->placeholderText(), QString("Enter a Python statement"));
    const QCompleter *const completer = child<QLineEdit>("prompt")->completer();
    QCOMPARE(completer->completionMode(), QCompleter::UnfilteredPopupCompletion);
    QCOMPARE(completer->modelSorting(), QCompleter::UnsortedModel);
    QCOMPARE(completer->maxVisibleItems(), 15);
    const QFontMetrics metrics = m_console->fontMetrics();
    QCOMPARE(m_console->preferredSize(),
             QSize(100 * metrics.horizontalAdvance('0'), 25 * metrics.lineSpacing()));
}

void tst_PythonConsole::statements()
{
    QFETCH(QString, statement);
    QFETCH(QString, printed);
    enter(statement);
    const QRegularExpression expected("^" + printed + "$");
    QVERIFY2(expected.match(output()).hasMatch(), qPrintable(output()));
    QCOMPARE(child<QLineEdit>("prompt")->text(), statement);
    QCOMPARE(entries(), QStringList(statement.trimmed()).filter(QRegularExpression(".")));
    child<QToolButton>("clear")->click();
    QCOMPARE(output(), QString());
}

void tst_PythonConsole::history()
{
    QStringList statements;
    for (int i = 0; i < 60; ++i) {
        enter(QString::number(i));
        statements.prepend(QString::number(i));
    }
    enter("7");
    QCOMPARE(entries(), statements);
    QCOMPARE(child<QLineEdit>("prompt")->completer()->currentIndex().data().toString(),
             QString("7"));
    // At once, not only at the end.
    QCOMPARE(QSettings().value(historyKey).toStringList(), QStringList(statements.mid(0, 50)));
    m_console.reset();
    QCOMPARE(QSettings().value(historyKey).toStringList(), QStringList(statements.mid(0, 50)));
    m_console = std::make_unique<PythonConsole>(&m_python);
    QCOMPARE(entries(), QStringList(statements.mid(0, 50)));
    // Without statements the stored ones stay.
    QSettings().setValue(historyKey, "one");
    {
        const PythonConsole other(&m_python);
    }
    QCOMPARE(QSettings().value(historyKey).toStringList(), QStringList("one"));
}

void tst_PythonConsole::historyKeys()
{
    enter("1");
    enter("2");
    auto *const prompt = child<QLineEdit>("prompt");
    m_console->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_console.get()));
    prompt->setFocus();
    prompt->clear();
    QTest::keyClick(prompt, Qt::Key_Up);
    QAbstractItemView *const popup = prompt->completer()->popup();
    QVERIFY(popup->isVisible());
    QCOMPARE(popup->model()->rowCount(), 2);
    QTest::keyClick(popup, Qt::Key_Down);
    QTest::keyClick(popup, Qt::Key_Down);
    QTest::keyClick(popup, Qt::Key_Return);
    QCOMPARE(prompt->text(), QString("1"));
    QVERIFY(!popup->isVisible());
    QTest::keyClick(prompt, Qt::Key_Down);
    QVERIFY(popup->isVisible());
}

void tst_PythonConsole::errorsAreReportedInBursts()
{
    QSignalSpy errors(m_console.get(), &PythonConsole::errorOccurred);
    enter("def f(): g()");
    enter("f()");
    QCOMPARE(errors.size(), 0);
    QVERIFY(errors.wait());
    const QString text = errors.at(0).at(0).toString();
    QVERIFY(text.startsWith("Traceback"));
    QVERIFY(text.endsWith("NameError: name 'g' is not defined\n"));
    QVERIFY(output().endsWith(text));
    enter("1/0");
    enter("x y");
    QVERIFY(errors.wait());
    QCOMPARE(errors.size(), 2);
    QVERIFY(errors.at(1).at(0).toString().contains("ZeroDivisionError"));
    QVERIFY(errors.at(1).at(0).toString().contains("SyntaxError"));
}

void tst_PythonConsole::input()
{
    QFETCH(QString, statement);
    QFETCH(QString, title);
    QFETCH(QString, answer); // with a minus in front the dialog is rejected
    m_driver->expect([title, answer](QDialog *dialog) {
        const QString shown = dialog->windowTitle();
        auto *const line = dialog->findChild<QLineEdit *>("input");
        line->setText(answer);
        QTest::keyClick(line, answer.startsWith('-') ? Qt::Key_Escape : Qt::Key_Return);
        QCOMPARE(shown, title);
    });
    enter(statement);
    QTEST(output().section("\n", 1), "printed");
}

void tst_PythonConsole::threads()
{
    QSignalSpy errors(m_console.get(), &PythonConsole::errorOccurred);
    enter("import threading, sys");
    child<QToolButton>("clear")->click();
    CPython::execute("def work(i):\n"
                     "    for j in range(50): print(i * 50 + j)\n"
                     "    print('e', file=sys.stderr)\n"
                     "threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]\n"
                     "for t in threads: t.start()\n"
                     "for t in threads: t.join()\n");
    // The digits of 0 to 199; lines of different threads may run into each other.
    QTRY_COMPARE(output().count(QRegularExpression("[0-9]")), 10 + 90 * 2 + 100 * 3);
    QTRY_COMPARE(output().count('e'), 4);
    QVERIFY(errors.size() == 1 || errors.wait());
    QCOMPARE(errors.at(0).at(0).toString().count('e'), 4);
    // Without the GUI thread's help nothing is lost that was printed before the console goes.
    std::thread([] { CPython::execute("print('late')"); }).join();
    m_console.reset();
}

/// Each of two threads gets its own answer.
void tst_PythonConsole::threadsThatAsk()
{
    CPython::execute("import threading\n"
                     "answers = []\n"
                     "def ask(i): answers.append(input('thread'))\n"
                     "threads = [threading.Thread(target=ask, args=(i,)) for i in range(2)]\n"
                     "for t in threads: t.start()\n");
    for (const char *answer : {"a", "b"}) {
        m_driver->expect([answer](QDialog *dialog) {
            dialog->findChild<QLineEdit *>("input")->setText(answer);
            dialog->accept();
        });
    }
    QTRY_COMPARE(QString::fromStdString(CPython::evaluate("sorted(answers)")),
                 QString("['a', 'b']"));
}

/// The console goes while a thread and a script wait.
void tst_PythonConsole::endOfInput()
{
    CPython::execute("import threading\n"
                     "t = threading.Thread(target=lambda: answers.append(input()))\n"
                     "answers = []\n"
                     "t.start()\n");
    m_driver->expect([this](QDialog *) { m_console->endInput(); });
    enter("print('got', repr(input()))");
    QVERIFY(output().endsWith("got ''\n"));
    enter("print('again', repr(input()))");
    QVERIFY(output().endsWith("again ''\n"));
    m_console.reset();
    QCOMPARE(CPython::execute("t.join()\n"), 0);
    QCOMPARE(CPython::evaluate("answers"), std::string("['']"));
}

void tst_PythonConsole::longText()
{
    enter("print('x' * 70000, end='')");
    const QString line = output().section('\n', 1);
    QCOMPARE(line.size(), 65536);
    QVERIFY(line.endsWith("x..."));
    enter("print('\\u20ac' * 30000, end='')");
    QVERIFY(output().endsWith(QString::fromUtf8("\u20ac...")));
    enter("for i in range(5100): print(i)");
    QCOMPARE(child<QPlainTextEdit>("console")->blockCount(), 5000);
    QVERIFY(output().endsWith("\n5099\n"));
}

/// Follows the end unless the user looks at something else.
void tst_PythonConsole::view()
{
    auto *const console = child<QPlainTextEdit>("console");
    const QScrollBar *const bar = console->verticalScrollBar();
    enter("for i in range(100): print(i)");
    QTRY_COMPARE(bar->value(), bar->maximum());
    console->verticalScrollBar()->setValue(3);
    QTextCursor cursor(console->document()->findBlockByNumber(5));
    cursor.select(QTextCursor::LineUnderCursor);
    console->setTextCursor(cursor);
    const int value = bar->value();
    enter("for i in range(100): print(i)");
    QTest::qWait(50);
    QCOMPARE(bar->value(), value);
    QCOMPARE(console->textCursor().selectedText(), QString("4"));
}

void tst_PythonConsole::withoutConsole()
{
    m_console.reset();
    QCOMPARE(CPython::execute("print('dropped')\nx = input('?')\n"), 0);
    QCOMPARE(CPython::evaluate("x"), std::string());
    PythonConsole::writeText(1, "dropped");
    QCOMPARE(PythonConsole::readLine(), std::string("\n"));
    const auto first = std::make_unique<PythonConsole>(&m_python);
    m_console = std::make_unique<PythonConsole>(&m_python);
    CPython::execute("print('to the newest')\n");
    QCOMPARE(output(), QString("to the newest\n"));
    QCOMPARE(first->findChild<QPlainTextEdit *>("console")->toPlainText(), QString());
}

int main(int argc, char *argv[])
{
    QCoreApplication::setOrganizationName("kelvra");
    QCoreApplication::setApplicationName("tst_pythonconsole");
    const auto application = makeTestApplication(argc, argv);
    tst_PythonConsole test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_pythonconsole.moc"
