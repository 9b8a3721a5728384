// SPDX-License-Identifier: MIT
#include "app/identity.h"
#include "app/recentfilelist.h"
#include "app/rememberedlocations.h"
#include "support/table.h"
#include "support/testmain.h"

#include <QAction>
#include <QDir>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>

/// What the program remembers between runs: recent files, and locations.
class tst_RecentFileList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyIdentity(); }
    void init() { QSettings().clear(); }
    void label_data() { loadTable("app/labels"); }
    void label();
    void emptyList();
    void addFile_data() { loadTable("app/recentfiles"); }
    void addFile();
    void storedList_data();
    void storedList();
    void entriesAndSelection();
    void addingTheSelectedFile();
    void menuDeletedFirst();
    void location_data() { loadTable("app/locations"); }
    void location();
    void fallback();
    void librariesDirectoryPrefersTheProgram();
    void identity();

private:
    static QString toolTips(RecentFileList &list)
    {
        QStringList tips;
        for (const QAction *action : list.menu({})->actions())
            tips += action->toolTip();
        return tips.join(", ");
    }
    /// The given files followed by free slots.
    static QStringList twelve(QStringList files)
    {
        while (files.size() < 12)
            files += QString();
        return files;
    }

    const QString m_key = "recentTestList";
    QWidget m_parent;
};

void tst_RecentFileList::label()
{
    QFETCH(QString, files);
    QFETCH(QString, labels);
    RecentFiles slotFiles;
    const QStringList list = items(files);
    std::copy(list.cbegin(), list.cend(), slotFiles.begin());
    for (int i = -1; i <= 12; ++i)
        QCOMPARE(recentFileLabel(slotFiles, i), items(labels).value(i));
}

void tst_RecentFileList::emptyList()
{
    RecentFileList list(&m_parent, m_key);
    QMenu *const menu = list.menu({});
    QCOMPARE(menu->actions().size(), 1);
    QCOMPARE(menu->actions().first()->text(), "No recent files");
    QVERIFY(!menu->actions().first()->isEnabled());
    QCOMPARE(list.parent(), &m_parent);
    QCOMPARE(menu->parent(), &m_parent);
    QCOMPARE(menu->title(), "Recent Files");
    list.addFile({});
    QVERIFY(!QSettings().contains(m_key));
    QCOMPARE(list.menu("Files of Today"), menu);
    list.addFile("/a/b");
    QCOMPARE(menu->title(), "Files of Today");
    delete menu;
}

void tst_RecentFileList::addFile()
{
    QFETCH(QString, before);
    QFETCH(QString, file);
    QFETCH(QString, after);
    QSettings().setValue(m_key, twelve(items(before)));
    RecentFileList list(&m_parent, m_key);
    list.addFile(file);
    QCOMPARE(QSettings().value(m_key).toStringList(), twelve(items(after)));
    QCOMPARE(toolTips(list), after);
    // Once more changes and writes nothing.
    QSettings().remove(m_key);
    list.addFile(file);
    QVERIFY(!QSettings().contains(m_key));
    QCOMPARE(toolTips(list), after);
}

void tst_RecentFileList::storedList_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("shown");
    const QString none = "No recent files";
    QTest::newRow("fourteen") << QVariant(items("a, b, c, d, e, f, g, h, i, j, k, l, m, n"))
                              << "a, b, c, d, e, f, g, h, i, j, k, l";
    QTest::newRow("single text") << QVariant("a") << "a";
    QTest::newRow("ends at the first free slot") << QVariant(QStringList({"a", "", "b"})) << "a";
    QTest::newRow("free slots only") << QVariant(twelve({})) << none;
    QTest::newRow("no list") << QVariant(QVariantMap{{"a", 1}}) << none;
}

void tst_RecentFileList::storedList()
{
    QFETCH(QVariant, value);
    QSettings().setValue(m_key, value);
    RecentFileList list(&m_parent, m_key);
    QTEST(toolTips(list), "shown");
    QCOMPARE(QSettings().value(m_key), value);
}

void tst_RecentFileList::entriesAndSelection()
{
    RecentFileList list(&m_parent, m_key);
    const QMenu *const menu = list.menu("Recent");
    for (const char *file : {"/a/R&D/x.txt", "/a/b/x.txt", "/a/y.txt"})
        list.addFile(file);
    // In an action's text a doubled ampersand stands for one that is shown.
    QCOMPARE(menu->actions().at(0)->text(), "y.txt");
    QCOMPARE(menu->actions().at(1)->text(), "...b/x.txt");
    QCOMPARE(menu->actions().at(2)->text(), "...R&&D/x.txt");
    QSignalSpy spy(&list, &RecentFileList::fileSelected);
    menu->actions().at(2)->trigger();
    QCOMPARE(spy.value(0), QVariantList{"/a/R&D/x.txt"});
    list.addFile("/a/b/x.txt");
    menu->actions().at(0)->trigger();
    QCOMPARE(spy.value(1), QVariantList{"/a/b/x.txt"});
}

/// What opening a chosen file does: the list changes while its signal is under way.
void tst_RecentFileList::addingTheSelectedFile()
{
    RecentFileList list(&m_parent, m_key);
    for (const char *file : {"/c", "/b", "/a"})
        list.addFile(file);
    QString seen;
    connect(&list, &RecentFileList::fileSelected, &list, [&](const QString &fileName) {
        list.addFile("/other");
        list.addFile(fileName);
        seen = fileName;
    });
    list.menu({})->actions().at(2)->trigger();
    QCOMPARE(seen, "/c");
    QCOMPARE(toolTips(list), "/c, /other, /a, /b");
}

void tst_RecentFileList::menuDeletedFirst()
{
    RecentFileList list(&m_parent, m_key);
    delete list.menu({});
    list.addFile("/a/b");
    QCOMPARE(toolTips(list), "/a/b");
}

void tst_RecentFileList::location()
{
    QFETCH(QString, list);
    QFETCH(QString, item);
    QStringList locations = items(list);
    rememberLocation(locations, item, "pyLocations");
    QTEST(locations.join(", "), "expected");
    const QStringList stored = list.startsWith(item) ? QStringList{"unused"} : locations;
    QCOMPARE(rememberedLocations("pyLocations", "unused"), stored);
}

void tst_RecentFileList::fallback()
{
    for (const QVariant &stored : {QVariant(), QVariant(QStringList()), QVariant("single")}) {
        QSettings().setValue("iniLocations", stored);
        const QStringList expected{stored == "single" ? "single" : "default"};
        QCOMPARE(rememberedLocations("iniLocations", "default"), expected);
    }
}

void tst_RecentFileList::librariesDirectoryPrefersTheProgram()
{
    const QString name = "tarnwick_libraries";
    const QTemporaryDir work;
    const QString previous = QDir::currentPath();
    QVERIFY(QDir::setCurrent(work.path()));
    QCOMPARE(librariesDirectory(), QString("./"));
    QVERIFY(QDir().mkdir(name));
    QCOMPARE(librariesDirectory(), QString("./tarnwick_libraries"));
    QDir program(QCoreApplication::applicationDirPath());
    QVERIFY(program.mkdir(name));
    QCOMPARE(librariesDirectory(), program.path() + "/tarnwick_libraries");
    QVERIFY(program.rmdir(name));
    QDir::setCurrent(previous);
}

void tst_RecentFileList::identity()
{
    QCOMPARE(QCoreApplication::applicationVersion(), QString("6.1.63.61641"));
    QCOMPARE(QSettings().organizationName(), QString("kelvra"));
    QCOMPARE(QSettings().applicationName(), QString("Tarnwick"));
}

TARNWICK_TEST_MAIN(tst_RecentFileList)
#include "tst_recentfilelist.moc"
