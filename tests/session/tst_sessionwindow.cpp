// SPDX-License-Identifier: MIT
#include "params/parameterspane.h"
#include "session/errorspane.h"
#include "session/session.h"
#include "session/sessionwindow.h"
#include "support/generatorfolder.h"
#include "support/recordingconsole.h"
#include "support/testmain.h"

#include <QCheckBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QSignalSpy>
#include <QSpinBox>
#include <QtTest>

class tst_SessionWindow : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void layout();
    void change();
    void missingKeysAreCompleted();
    void failure_data();
    void failure();
    void reload();
    void changeWhileGenerating();
    void oldTextIsGoneWhileGenerating();

private:
    std::shared_ptr<Session> session(const QByteArray &source);
    static QString text(const SessionWindow &window, const QString &pane)
    {
        return window.findChild<QPlainTextEdit *>(pane)->toPlainText();
    }
    static QSpinBox *gain(const SessionWindow &window)
    {
        return window.findChild<QSpinBox *>("gain");
    }

    /// Does something at the next chunk, and lets events through as the console does.
    static void once(const std::function<void()> &action)
    {
        RecordingConsole::onWrite = [action] {
            RecordingConsole::onWrite = nullptr;
            action();
            QCoreApplication::processEvents();
        };
    }

    PythonModule m_python;
    GeneratorFolder m_folder;
    int m_modules = 0;
};

void tst_SessionWindow::initTestCase()
{
    m_python.initialize(L"tst_sessionwindow");
    QVERIFY2(PythonModule::isLoaded(), "these tests need a Python 3 library");
    RecordingConsole::install();
}

void tst_SessionWindow::init()
{
    RecordingConsole::clear();
}

std::shared_ptr<Session> tst_SessionWindow::session(const QByteArray &source)
{
    return std::make_shared<Session>(
        m_folder.write(QString("settings_w%1.py").arg(++m_modules), source), "P1");
}

void tst_SessionWindow::layout()
{
    SessionWindow window(session(GeneratorFolder::source()));
    QCOMPARE(window.orientation(), Qt::Horizontal);
    QCOMPARE(window.widget(0), static_cast<QWidget *>(window.parametersPane()));
    auto *const right = qobject_cast<QSplitter *>(window.widget(1));
    QVERIFY(right);
    QCOMPARE(right->orientation(), Qt::Vertical);
    auto *const upper = qobject_cast<QSplitter *>(right->widget(0));
    QVERIFY(upper);
    QCOMPARE(upper->orientation(), Qt::Horizontal);
    QCOMPARE(upper->widget(0)->objectName(), QString("NotesPane"));
    QCOMPARE(upper->widget(1)->objectName(), QString("FunctionsPane"));
    QCOMPARE(right->widget(1)->objectName(), QString("ErrorsPane"));
    QCOMPARE(right->widget(0)->sizePolicy().verticalStretch(), 4);
    QCOMPARE(right->widget(1)->sizePolicy().verticalStretch(), 1);
    // Building generates nothing.
    QCOMPARE(window.results(), QVariantMap());

    window.regenerate();
    QCOMPARE(window.focusWidget()->objectName(), QString("gain_check"));
    window.resize(1000, 600);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    auto *const label = window.findChild<QLabel *>("mode_value");
    const int right_ = label->mapTo(window.parametersPane(), label->rect().topRight()).x();
    QVERIFY2(right_ < window.parametersPane()->width(), "the form is too narrow for its rows");
    QVERIFY(right->width() > window.parametersPane()->width());
}

void tst_SessionWindow::change()
{
    SessionWindow window(session(GeneratorFolder::source()));
    window.regenerate();
    QSignalSpy regenerated(&window, &SessionWindow::regenerated);
    QTest::keyClick(gain(window), Qt::Key_Up);
    QCOMPARE(regenerated.size(), 1);
    QCOMPARE(regenerated.first().first().value<SessionWindow *>(), &window);
    QCOMPARE(text(window, "functions"), QString("P1_gain2\n\nsetup:\n    GAIN = 0x0002\n"));
    QCOMPARE(text(window, "notes"), QString("gain 2"));
    QCOMPARE(text(window, "errors"), QString());
    QCOMPARE(window.findChild<QLabel *>("mode_value")->text(), QString("slow"));
    const QVariantMap inputs{{"gain", QVariantMap{{"value", 2}}}};
    QCOMPARE(window.results().value("inputs").toMap(), inputs);

    QTest::mouseClick(window.findChild<QCheckBox *>("gain_check"), Qt::LeftButton);
    QCOMPARE(regenerated.size(), 2);
    QCOMPARE(window.results().value("inputs").toMap(), QVariantMap());
    QCOMPARE(text(window, "notes"), QString("gain 3"));
}

void tst_SessionWindow::missingKeysAreCompleted()
{
    SessionWindow window(session("class Settings:\n def generate(self, part, parameters):\n"
                                 "  return {'errors': 'single', 'inputs': 5, 'extra': 1}\n"));
    window.regenerate();
    const QStringList keys{"errors", "extra", "functions", "inputs", "name", "notes", "parameters"};
    QCOMPARE(window.results().keys(), keys);
    QVERIFY(window.results().value("functions").isNull());
    QCOMPARE(window.results().value("inputs"), QVariant(QVariantMap()));
    QCOMPARE(text(window, "functions"), QString("\n"));
    QCOMPARE(text(window, "errors"), QString("single"));
}

void tst_SessionWindow::failure_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::newRow("raises") << QByteArray("if gain > 4: raise ValueError('too much')");
    QTest::newRow("raises after printing")
        << QByteArray("if gain > 4: print('out'); raise ValueError('too much')");
    QTest::newRow("wrong type") << QByteArray("result = [result] if gain > 4 else result");
}

void tst_SessionWindow::failure()
{
    QFETCH(const QByteArray, body);
    SessionWindow window(session(GeneratorFolder::source(body)));
    window.regenerate();
    QSignalSpy regenerated(&window, &SessionWindow::regenerated);
    gain(window)->setValue(5);
    QCOMPARE(regenerated.size(), 0);
    QCOMPARE(window.results(), QVariantMap());
    for (const char *const pane : {"functions", "notes", "errors"})
        QCOMPARE(text(window, pane), QString());
    QCOMPARE(window.findChild<QLabel *>("mode_value")->text(), QString("slow"));
    gain(window)->setValue(4);
    QCOMPARE(text(window, "notes"), QString("gain 4"));
}

void tst_SessionWindow::reload()
{
    const auto shared = session(GeneratorFolder::source());
    SessionWindow window(shared);
    window.regenerate();
    gain(window)->setValue(7);
    m_folder.write(QString("settings_w%1.py").arg(m_modules),
                   GeneratorFolder::source("result['notes'] = ['edited']")
                       .replace("'mode': {'enum'", "'speed': {'enum'"));
    shared->load();
    window.reload();
    QCOMPARE(text(window, "notes"), QString("edited"));
    QCOMPARE(gain(window)->value(), 7);
    QVERIFY(!window.findChild<QWidget *>("mode"));
    QVERIFY(window.findChild<QWidget *>("speed"));
}

// The newest values stay, whatever order the nested generations end in.
void tst_SessionWindow::changeWhileGenerating()
{
    SessionWindow window(session(GeneratorFolder::source("print('generating', gain)")));
    window.regenerate();
    QSignalSpy regenerated(&window, &SessionWindow::regenerated);
    once([&] { QTest::keyClick(gain(window), Qt::Key_PageUp); });
    QTest::keyClick(gain(window), Qt::Key_Up);
    QCOMPARE(gain(window)->value(), 12);
    QCOMPARE(regenerated.size(), 1);
    QCOMPARE(text(window, "notes"), QString("gain 12"));
    QCOMPARE(window.results().value("name").toString(), QString("P1_gain12"));

    // A rebuild of the form from inside the spin box's own signal.
    const auto replaceForm = [&] {
        window.parametersPane()->setParameters(
            {{"gain", QVariantMap{{"range", QVariantList{0, 99}}, {"default", 50}}}}, {});
    };
    once(replaceForm);
    QTest::keyClick(gain(window), Qt::Key_Up);
    QTest::qWait(0);
    QCOMPARE(gain(window)->value(), 13);
    QCOMPARE(gain(window)->maximum(), 99);
    QCOMPARE(text(window, "notes"), QString("gain 13"));
}

void tst_SessionWindow::oldTextIsGoneWhileGenerating()
{
    SessionWindow window(session(GeneratorFolder::source("print('one'); print('two')")));
    window.regenerate();
    QStringList seen;
    RecordingConsole::onWrite = [&] {
        seen.append(text(window, "functions") + text(window, "notes"));
        QCoreApplication::processEvents();
    };
    gain(window)->setValue(9);
    // The first chunk arrives before any event was let through.
    QCOMPARE(seen.mid(1), (QStringList{"", "", ""}));
    QCOMPARE(text(window, "notes"), QString("gain 9"));
}

TARNWICK_TEST_MAIN(tst_SessionWindow)
#include "tst_sessionwindow.moc"
