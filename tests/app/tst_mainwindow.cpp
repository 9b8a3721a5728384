// SPDX-License-Identifier: MIT
#include "app/aboutdlg.h"
#include "app/newsessiondlg.h"
#include "support/textcontrast.h"
#include "support/windowtest.h"
#include "tools/pythoninputdlg.h"

#include <QAccessible>
#include <QDesktopServices>
#include <QLabel>

/// A browser that isn't there.
class NoBrowser : public QObject
{
    Q_OBJECT

public Q_SLOTS:
    void open(const QUrl &url) { opened = url; }

public:
    QUrl opened;
};

class tst_MainWindow : public WindowTest
{
    Q_OBJECT

private Q_SLOTS:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void menus_data() { loadTable("app/menus"); }
    void menus()
    {
        const QMenu *const menu = child<QMenu>(QTest::currentDataTag());
        QStringList contents{menu->title() + ':'};
        for (const QAction *const action : menu->actions()) {
            if (action->isVisible())
                contents.append((action->isEnabled() ? "" : "!")
                                + (action->isSeparator() ? QString("-") : action->text()));
        }
        QTEST(contents.join(", "), "entries");
        QCOMPARE(menu->isEnabled(), menu->objectName() != "menuCamera");
    }

    void everyActionSlotIsMatched()
    {
        QStringList matched;
        const QMetaObject *const meta = m_window->metaObject();
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            const QString name = QString::fromLatin1(meta->method(i).name());
            if (name.startsWith("on_"))
                matched.append(name.mid(3).remove("_triggered"));
        }
        QCOMPARE(matched.size(), 14);
        for (const QString &action : qAsConst(matched))
            QVERIFY2(child<QAction>(qPrintable(action)), qPrintable(action));
    }

    void scenarios_data() { loadTable("app/scenarios"); }
    void scenarios() { playRow(); }

    void newSessionDialog()
    {
        const QString a =
            m_folder->write("settings_da.py", "class Settings:\n part_numbers = ['P4', 'P3']\n");
        NewSessionDlg dialog(m_folder->path());
        auto *const parts = dialog.findChild<QListWidget *>("parts");
        QCOMPARE(parts->count(), 4);
        QCOMPARE(dialog.partNumber() + dialog.moduleFile(), QString());
        dialog.show();
        const QPoint third = parts->visualItemRect(parts->item(2)).center();
        QTest::mouseClick(parts->viewport(), Qt::LeftButton, {}, third);
        QTest::mouseDClick(parts->viewport(), Qt::LeftButton, {}, third);
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.partNumber(), QString("P3"));
        QCOMPARE(dialog.moduleFile(), a);

        choose(a);
        dialog.findChild<QPushButton *>("browseFile")->click();
        QCOMPARE(m_driver->newest(),
                 QString("Select a Sensor Settings Generator file: "
                         "Sensor Settings Generator file (settings_*.py), All Files (*.*)"));
        QCOMPARE(dialog.location(), a);
        QCOMPARE(parts->count(), 2);
        // From a file, the folder chooser starts in the file's folder.
        m_driver->expect([&](QDialog *chooser) {
            QCOMPARE(qobject_cast<QFileDialog *>(chooser)->directory(), QDir(m_folder->path()));
            chooser->reject();
        });
        dialog.findChild<QPushButton *>("browseDir")->click();
        QCOMPARE(dialog.location(), a);
    }

    /// A location is remembered although it has no parts, unless the dialog was cancelled.
    void locationIsRemembered()
    {
        const GeneratorFolder other;
        for (const bool accepted : {false, true}) {
            m_driver->expect([&](QDialog *dialog) {
                choose(other.path());
                dialog->findChild<QPushButton *>("browseDir")->click();
                dialog->done(accepted);
            });
            trigger("actionNew");
            QCOMPARE(QSettings().value("pyLocations").toStringList().first(),
                     accepted ? other.path() : m_folder->path());
        }
        QCOMPARE(modeCount(), 0);
    }

    void help()
    {
        m_driver->expect([](QDialog *about) {
            const QString text =
                about->windowTitle() + '\n' + about->findChild<QLabel *>("build")->text();
            const QRegularExpression expected("^About Tarnwick Tool\nVersion :  6.1.63.61641\n\n"
                                              "Build Date : [A-Z][a-z]{2} [ 1-3][0-9] 20[0-9]{2}$");
            about->reject();
            QVERIFY2(expected.match(text).hasMatch(), qPrintable(text));
        });
        trigger("actionAbout");

        NoBrowser browser;
        QDesktopServices::setUrlHandler("https", &browser, "open");
        trigger("actionUserGuide");
        QVERIFY(browser.opened.isValid());
        QDesktopServices::unsetUrlHandler("https");
        // The offscreen platform opens nothing.
        expectBox("Help File Failure",
                  "Unable to Open the Help file - network access required to "
                      + browser.opened.host() + '.');
        trigger("actionUserGuide");
    }

    void crossesOfTabsCanBeSeen()
    {
        const QPalette palette = QApplication::palette();
        act("pick P1; New; New_Mode");
        for (const QPalette &each : {palette, QPalette(QColor("#31363b"), QColor("#2a2e32"))}) {
            QApplication::setPalette(each);
            auto *const bar = area()->findChild<QTabBar *>();
            const QImage image = bar->grab().toImage();
            for (const int tab : {0, 1}) {
                const QWidget *const cross = bar->tabButton(tab, QTabBar::RightSide);
                QVERIFY(textContrast(image.copy(cross->geometry())) >= 4.5);
            }
        }
        QApplication::setPalette(palette);
    }

    /// With a screen reader each stop of the keyboard in the whole program has a name.
    void everyFocusableWidgetHasAName()
    {
        act("pick P1; New; Python_Console; Python_Editor");
        QTest::keyClick(child<QPlainTextEdit>("edit"), Qt::Key_H, Qt::ControlModifier);
        const NewSessionDlg newSession(m_folder->path(), m_window.get());
        const AboutDlg about(m_window.get());
        const PythonInputDlg input("Python: Name", m_window.get());
        int count = 0;
        for (QWidget *const widget : m_window->findChildren<QWidget *>()) {
            // A widget that hands its focus to another one is no stop.
            if (widget->focusPolicy() == Qt::NoFocus || widget->focusProxy())
                continue;
            ++count;
            const auto *const face = QAccessible::queryAccessibleInterface(widget);
            QVERIFY2(face && !face->text(QAccessible::Name).isEmpty(),
                     qPrintable(widget->metaObject()->className() + widget->objectName()));
        }
        QVERIFY(count > 25);
        child<QDialog>("PythonReplaceDlg")->hide();
    }
};

TARNWICK_TEST_MAIN(tst_MainWindow)
#include "tst_mainwindow.moc"
