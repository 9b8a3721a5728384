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
#include <QStringListModel>
#include <QTextBlock>
#include <QToolButton>

class tst_PythonConsole : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QCoreApplication::setOrganizationName("kelvra");
        m_python.initialize(L"tst_pythonconsole");
        QVERIFY2(CPython::isLoaded(), "these tests need a Python 3 library");
        QFile functions(TEST_DATA_DIR "/tools/consolefunctions.txt");
        QVERIFY(functions.open(QIODevice::ReadOnly));
        QCOMPARE(CPython::execute(functions.readAll()), 0);
    }
    void init()
    {
        QSettings().clear();
        m_console = std::make_unique<PythonConsole>(&m_python);
        m_driver = std::make_unique<ModalDriver>();
        m_console->show();
        m_console->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(m_console.get()));
    }
    void cleanup() { QCOMPARE(m_driver->unexpected() + m_driver->pending(), 0); }

    void form()
    {
        const QString version = CPython::versionString();
        QCOMPARE(m_console->windowTitle(), "Python " + version + " Console");
        QCOMPARE(prompt()->placeholderText(), QString("Enter a Python statement"));
        QVERIFY(console()->isReadOnly());
        QVERIFY(QFontInfo(console()->font()).fixedPitch());
        const QFontMetrics metrics = m_console->fontMetrics();
        QCOMPARE(m_console->preferredSize(),
                 QSize(100 * metrics.horizontalAdvance('0'), 25 * metrics.lineSpacing()));
    }
    void statements_data() { loadTable("tools/statements"); }
    /// Twice: nothing of the first time is left, and each burst of errors is one report.
    void statements()
    {
        QFETCH(QString, statement);
        QFETCH(QString, title);
        QFETCH(QString, answers);
        QFETCH(QString, printed);
        QFETCH(QString, errors);
        const QString trimmed = statement.trimmed();
        const QString echo = ">>> " + trimmed + '\n';
        printed.replace("<echo>", QRegularExpression::escape(echo));
        QSignalSpy reports(m_console.get(), &PythonConsole::errorOccurred);
        for (int time = 1; time <= 2; ++time) {
            for (const QString &answer : title.isEmpty() ? QStringList() : answers.split(", ")) {
                m_driver->expect([title, answer](QDialog *dialog) {
                    const QString shown = dialog->windowTitle();
                    auto *const line = dialog->findChild<QLineEdit *>("input");
                    line->setText(answer);
                    QTest::keyClick(line, answer.startsWith('-') ? Qt::Key_Escape : Qt::Key_Return);
                    QCOMPARE(shown, title);
                });
            }
            enter(statement);
            QTRY_VERIFY2(matches(output(), printed), qPrintable(output()));
            QCOMPARE(prompt()->text(), statement);
            QCOMPARE(entries(), trimmed.isEmpty() ? QStringList() : QStringList(trimmed));
            QTRY_COMPARE(reports.size(), errors.isEmpty() ? 0 : time);
            const QString report = errors.isEmpty() ? "" : reports.last().at(0).toString();
            if (errors == "all")
                QCOMPARE(report, output().mid(echo.size()));
            else
                QVERIFY2(matches(report, errors), qPrintable(report));
            m_console->findChild<QToolButton *>("clear")->click();
            QCOMPARE(output(), QString());
        }
    }
    void keys_data() { loadTable("tools/consolekeys"); }
    void keys()
    {
        QFETCH(QString, keys);
        QFETCH(QString, listed);
        const QCompleter *const completer = prompt()->completer();
        QWidget *const popup = completer->popup();
        prompt()->setFocus();
        for (const QString &key : keys.split(' ')) {
            QWidget *const target = popup->isVisible() ? popup : prompt();
            if (key.at(0).isUpper())
                QTest::keySequence(target, QKeySequence(key));
            else
                QTest::keyClicks(target, key);
        }
        QTEST(prompt()->text(), "prompt");
        QCOMPARE(popup->isVisible() ? completer->completionModel()->rowCount() : 0, listed.toInt());
        QTEST(output(), "printed");
    }
    void history()
    {
        // Without statements the stored ones stay.
        QSettings().setValue("Python History", "one");
        m_console.reset();
        QCOMPARE(stored(), QStringList("one"));
        m_console = std::make_unique<PythonConsole>(&m_python);
        QStringList statements("one");
        for (int i = 0; i < 60; ++i) {
            statements.prepend(QString::number(i));
            enter(statements.first());
        }
        // At once, not only at the end.
        QCOMPARE(stored(), QStringList(statements.mid(0, 50)));
        enter("7");
        QCOMPARE(entries(), statements);
        QCOMPARE(prompt()->completer()->currentIndex().data().toString(), QString("7"));
        m_console.reset();
        m_console = std::make_unique<PythonConsole>(&m_python);
        QCOMPARE(entries(), QStringList(statements.mid(0, 50)));
    }
    /// The window stays alive while a thread prints without end, and asks the user.
    void floodOfAThread()
    {
        CPython::execute("going = True\nstart(flood)\n");
        QTimer timer;
        QSignalSpy rounds(&timer, &QTimer::timeout);
        // What the thread holds while it prints is wanted here too, at last from inside a question.
        connect(&timer, &QTimer::timeout, [] { CPython::execute("with lock: pass\n"); });
        timer.start(1);
        QTRY_VERIFY(rounds.size() > 20);
        m_driver->expect([](QDialog *dialog) { dialog->accept(); });
        CPython::execute("input('go on?')\ngoing = False\nprint('from the script')\njoin()\n");
        QTRY_VERIFY(output().contains("from the script"));
    }
    /// What was printed last is painted while the script goes on in silence, and nothing else happens then.
    void silentScript()
    {
        struct Painting : QObject
        {
            bool eventFilter(QObject *, QEvent *event) override
            {
                if (event->type() == QEvent::Paint)
                    text = console->toPlainText();
                return false;
            }
            const QPlainTextEdit *console = nullptr;
            QString text;
        } painting;
        painting.console = console();
        console()->viewport()->installEventFilter(&painting);
        QTimer timer;
        QSignalSpy rounds(&timer, &QTimer::timeout);
        timer.start(0);
        for (const char *const printing :
             {"print(*range(100), sep='\\n')", "start(print, 'in a thread')"}) {
            CPython::execute(printing);
            CPython::execute("join()");
            const int before = rounds.size();
            CPython::execute("end = time.monotonic() + 0.5\n"
                             "while time.monotonic() < end: pass\n");
            QCOMPARE(painting.text, output());
            QCOMPARE(rounds.size(), before);
        }
        QVERIFY(output().endsWith("99\nin a thread\n"));
    }
    /// Each with its own prompt, one at a time, in their order.
    void questionsOfThreads()
    {
        QStringList titles;
        for (int i = 0; i < 3; ++i) {
            m_driver->expect([&titles, this](QDialog *dialog) {
                titles += dialog->windowTitle();
                QTest::qWait(20);
                QCOMPARE(m_console->findChildren<QDialog *>().size(), 1);
                dialog->accept();
            });
        }
        CPython::execute(
            "for i in range(3): start(input, 'question %d? ' % i); time.sleep(0.05)\n");
        QTRY_COMPARE(titles.size(), 3);
        CPython::execute("join()\n");
        QCOMPARE(titles.join(", "),
                 "Python: question 0? , Python: question 1? , Python: question 2? ");
    }
    /// The console goes while a thread and a script wait, and text of a thread is on its way.
    void endOfInput()
    {
        CPython::execute("start(ask)\n");
        m_driver->expect([this](QDialog *) { m_console->endInput(); });
        enter("print('got', [input(), input()])");
        QVERIFY(output().endsWith("got ['', '']\n"));
        CPython::execute("start(print, 'late')\nthreads.pop().join()\n");
        m_console.reset();
        QCOMPARE(CPython::execute("join()\n"), 0);
        QCOMPARE(CPython::evaluate("answers"), std::string("['']"));
    }
    /// Follows the end unless the user looks at something else.
    void view()
    {
        QScrollBar *const bar = console()->verticalScrollBar();
        enter("for i in range(100): print(i)");
        QTRY_COMPARE(bar->value(), bar->maximum());
        bar->setValue(3);
        QTextCursor cursor(console()->document()->findBlockByNumber(5));
        cursor.select(QTextCursor::LineUnderCursor);
        console()->setTextCursor(cursor);
        const int value = bar->value();
        enter("for i in range(100): print(i)");
        QTest::qWait(50);
        QCOMPARE(bar->value(), value);
        QCOMPARE(console()->textCursor().selectedText(), QString("4"));
        // With what is seen, while lines above it are dropped.
        const auto topLine = [this] { return console()->cursorForPosition({0, 0}).block().text(); };
        enter("for i in range(5100): print(i)");
        bar->setValue(200);
        const QString top = topLine();
        enter("for i in range(150): print(i)");
        QCOMPARE(topLine(), top);
        // At the end once all is in view, and there when there is less room.
        bar->setValue(0);
        m_console->findChild<QToolButton *>("clear")->click();
        enter("for i in range(100): print(i)");
        QCOMPARE(bar->value(), bar->maximum());
        m_console->resize(m_console->width(), m_console->height() / 2);
        enter("1");
        QTRY_COMPARE(bar->value(), bar->maximum());
    }
    void withoutConsole()
    {
        m_console.reset();
        QCOMPARE(CPython::execute("print('dropped')\nx = input('?')\n"), 0);
        QCOMPARE(CPython::evaluate("x"), std::string());
        PythonConsole::writeText(1, "dropped");
        QCOMPARE(PythonConsole::readLine(), std::string("\n"));
        const PythonConsole first(&m_python);
        m_console = std::make_unique<PythonConsole>(&m_python);
        CPython::execute("print('to the newest')\n");
        QCOMPARE(output(), QString("to the newest\n"));
        QCOMPARE(first.findChild<QPlainTextEdit *>("console")->toPlainText(), QString());
    }

private:
    QLineEdit *prompt() const { return m_console->findChild<QLineEdit *>("prompt"); }
    QPlainTextEdit *console() const { return m_console->findChild<QPlainTextEdit *>("console"); }
    QString output() const { return console()->toPlainText(); }
    QStringList entries() const
    {
        return qobject_cast<QStringListModel *>(prompt()->completer()->model())->stringList();
    }
    static QStringList stored() { return QSettings().value("Python History").toStringList(); }
    void enter(const QString &statement)
    {
        prompt()->setText(statement);
        QTest::keyClick(prompt(), Qt::Key_Return);
    }
    static bool matches(const QString &text, const QString &pattern)
    {
        const QRegularExpression expected(QRegularExpression::anchoredPattern(pattern),
                                          QRegularExpression::DotMatchesEverythingOption);
        return expected.match(text).hasMatch();
    }

    PythonModule m_python;
    std::unique_ptr<PythonConsole> m_console;
    std::unique_ptr<ModalDriver> m_driver;
};

TARNWICK_TEST_MAIN(tst_PythonConsole)
#include "tst_pythonconsole.moc"
