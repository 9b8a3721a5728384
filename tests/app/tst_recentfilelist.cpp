// SPDX-License-Identifier: MIT
#include "app/identity.h"
#include "app/recentfilelist.h"
#include "app/rememberedlocations.h"
#include "support/table.h"
#include "support/testmain.h"

#include <QSettings>
#include <QTemporaryDir>

/// What the program remembers between runs: recent files, and locations.
class tst_RecentFileList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyIdentity(); }
    void init() { QSettings().clear(); }
    void cleanup() { QDir(QCoreApplication::applicationDirPath()).rmdir("tarnwick_libraries"); }
    void recentFiles_data() { loadTable("app/recentfiles"); }
    void recentFiles()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, steps);
        store(before);
        QWidget parent;
        RecentFileList list(&parent, m_key);
        // What opening a chosen file does: the list changes while its signal is under way.
        connect(&list, &RecentFileList::fileSelected, &list, [&](const QString &fileName) {
            list.addFile("/other");
            list.addFile(fileName);
        });
        QPointer<QMenu> menu = list.menu("Files of Today");
        for (const QString &step : steps.split("; ", Qt::SkipEmptyParts)) {
            if (step.startsWith("add"))
                list.addFile(step.mid(4));
            else if (step.startsWith("click"))
                menu->actions().at(step.mid(6).toInt())->trigger();
            else
                delete menu;
        }
        menu = menu ? menu.data() : list.menu({});
        QStringList entries;
        for (const QAction *const action : menu->actions())
            entries += action->text() + (action->isEnabled() ? " = " : " - ") + action->toolTip();
        QTEST(entries.join(", "), "menu");
        QTEST(QSettings().value(m_key).toStringList().join(','), "after");
        QCOMPARE(list.menu({}), menu.data());
        QCOMPARE(menu->title(), steps.contains("delete") ? "Recent Files" : "Files of Today");
        QCOMPARE(menu->parent(), &parent);
    }
    void labelOfNoFile()
    {
        QCOMPARE(recentFileLabel({}, -1) + recentFileLabel({}, 0) + recentFileLabel({}, 12), "");
    }
    void locations_data() { loadTable("app/locations"); }
    void locations()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, item);
        store(before);
        QStringList locations = rememberedLocations(m_key, "default");
        QSettings().clear();
        rememberLocation(locations, item, m_key);
        QTEST(locations.join(','), "locations");
        QTEST(QSettings().value(m_key).toStringList().join(','), "stored");
    }
    void librariesDirectoryPrefersTheProgram()
    {
        const QTemporaryDir work;
        QVERIFY(QDir::setCurrent(work.path()));
        QCOMPARE(librariesDirectory(), "./");
        QVERIFY(QDir().mkdir("tarnwick_libraries"));
        QCOMPARE(librariesDirectory(), "./tarnwick_libraries");
        const QDir program(QCoreApplication::applicationDirPath());
        QVERIFY(program.mkdir("tarnwick_libraries"));
        QCOMPARE(librariesDirectory(), program.path() + "/tarnwick_libraries");
        QDir::setCurrent(program.path());
    }
    void settingsStore() { QVERIFY(QSettings().fileName().endsWith("/kelvra/Tarnwick.conf")); }

private:
    /// A single item is a text in the settings store.
    void store(const QString &list) const
    {
        if (!list.isEmpty())
            QSettings().setValue(m_key, list.contains(',') ? QVariant(list.split(',')) : list);
    }

    const QString m_key = "recentTestList";
};

TARNWICK_TEST_MAIN(tst_RecentFileList)
#include "tst_recentfilelist.moc"
