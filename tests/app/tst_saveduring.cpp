// SPDX-License-Identifier: MIT
//
// Saving from inside a generation: what is not whole must not replace what a file has.

#include "app/identity.h"
#include "app/tarnwick.h"
#include "session/sessionwindow.h"
#include "support/consoledouble.h"
#include "support/generatorfolder.h"
#include "support/modaldriver.h"
#include "support/testmain.h"

#include <QAction>
#include <QMdiArea>
#include <QSettings>
#include <QSpinBox>
#include <QTabBar>

class tst_SaveDuring : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void opening();
    void closingTheLastTab();

private:
    void trigger(const char *action) { m_window->findChild<QAction *>(action)->trigger(); }
    QByteArray saved() const
    {
        QFile file(m_file);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    void open()
    {
        m_driver.expect([this](QDialog *chooser) { ModalDriver::choose(chooser, m_file); });
        trigger("actionOpen");
    }

    ConsoleDouble m_console;
    GeneratorFolder m_folder;
    QString m_file;
    QByteArray m_text;
    std::unique_ptr<Tarnwick> m_window;
    ModalDriver m_driver;
};

void tst_SaveDuring::initTestCase()
{
    applyIdentity();
    QSettings().clear();
    m_window = std::make_unique<Tarnwick>();
    m_window->show();
    const QByteArray generator =
        m_folder.write("settings_prints.py", GeneratorFolder::source("print('generating')"))
            .toUtf8();
    m_text = "{\"all_parameters\": [{}, {}, {}], \"module_local_path\": \"" + generator
        + "\", \"part_number\": \"P1\"}";
    m_file = m_folder.write("session.txt", m_text);
}

void tst_SaveDuring::opening()
{
    int chunks = 0;
    ConsoleDouble::onChunk = [&] {
        // The second mode is being built: one of three is there.
        if (++chunks == 3)
            trigger("actionSave");
    };
    open();
    ConsoleDouble::onChunk = nullptr;
    QVERIFY(chunks > 3);
    QCOMPARE(m_window->findChild<QMdiArea *>()->subWindowList().size(), 3);
    QCOMPARE(saved(), m_text);
}

void tst_SaveDuring::closingTheLastTab()
{
    auto *const area = m_window->findChild<QMdiArea *>();
    auto *const tabs = area->findChild<QTabBar *>();
    Q_EMIT tabs->tabCloseRequested(2);
    Q_EMIT tabs->tabCloseRequested(1);
    ConsoleDouble::once([&] {
        Q_EMIT tabs->tabCloseRequested(0);
        trigger("actionSave");
    });
    area->findChild<QSpinBox *>("gain")->stepUp();
    QTRY_VERIFY(m_window->findChildren<SessionWindow *>().isEmpty());
    QCOMPARE(saved(), m_text);
}

TARNWICK_TEST_MAIN(tst_SaveDuring)
#include "tst_saveduring.moc"
