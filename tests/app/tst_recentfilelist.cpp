// SPDX-License-Identifier: MIT
#include "app/recentfilelist.h"
#include "support/testmain.h"

#include <QAction>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWidget>

static const QString key = QStringLiteral("recentTestList");

static QStringList stored()
{
    return QSettings().value(key).toStringList();
}

/// The given files followed by free slots.
static QStringList twelve(QStringList files)
{
    while (files.size() < 12)
        files += QString();
    return files;
}

static QStringList toolTips(RecentFileList &list)
{
    QStringList tips;
    for (const QAction *action : list.menu({})->actions())
        tips += action->toolTip();
    return tips;
}

class tst_RecentFileList : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { QSettings().clear(); }

    void label_data();
    void label();
    void emptyList();
    void title();
    void addFile_data();
    void addFile();
    void firstFileAgainWritesNothing();
    void storedList_data();
    void storedList();
    void menuEntries();
    void selection();
    void addingTheSelectedFile();
    void menuDeletedFirst();

private:
    QTemporaryDir m_settings;
};

void tst_RecentFileList::initTestCase()
{
    QVERIFY(m_settings.isValid());
    QCoreApplication::setOrganizationName("tests");
    QCoreApplication::setApplicationName("tst_recentfilelist");
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, m_settings.path());
}

void tst_RecentFileList::label_data()
{
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QStringList>("labels");
    QTest::newRow("one file") << QStringList("C:/a/x.txt") << QStringList("x.txt");
    QTest::newRow("different names")
        << QStringList({"C:/a/x.txt", "C:/a/y.txt"}) << QStringList({"x.txt", "y.txt"});
    QTest::newRow("equal names, two levels up") << QStringList({"C:/a/b/x.txt", "C:/c/b/x.txt"})
                                                << QStringList({"...a/b/x.txt", "...c/b/x.txt"});
    QTest::newRow("suffix of another name")
        << QStringList({"C:/a/x.txt", "C:/a/bx.txt"}) << QStringList({"...a/x.txt", "bx.txt"});
    QTest::newRow("suffix of two others, at different depths")
        << QStringList({"/r/a/x", "/r/bb/x", "/r/ba/x"})
        << QStringList({"/r/a/x", "...bb/x", "...ba/x"});
    QTest::newRow("case counts") << QStringList({"/r/a/x", "/r/a/X"}) << QStringList({"x", "X"});
    QTest::newRow("whole path is a suffix")
        << QStringList({"/a/x", "/b/a/x"}) << QStringList({"/a/x", "/b/a/x"});
    QTest::newRow("nothing before the first component")
        << QStringList({"x", "/x", "a/x", "/b/x"}) << QStringList({"x", "/x", "a/x", "/b/x"});
    QTest::newRow("equal paths") << QStringList({"/r/a/x", "/r/a/x"})
                                 << QStringList({"/r/a/x", "/r/a/x"});
    QTest::newRow("double separators")
        << QStringList({"/r//x", "/s/yx"}) << QStringList({".../x", "yx"});
    QTest::newRow("no name") << QStringList({"/r/a/"}) << QStringList({"...a/"});
}

void tst_RecentFileList::label()
{
    QFETCH(QStringList, files);
    QFETCH(QStringList, labels);
    RecentFiles slotFiles;
    std::copy(files.cbegin(), files.cend(), slotFiles.begin());
    for (int i = 0; i < 12; ++i)
        QCOMPARE(recentFileLabel(slotFiles, i), labels.value(i));
    QCOMPARE(recentFileLabel(slotFiles, 12), QString());
    QCOMPARE(recentFileLabel(slotFiles, -1), QString());
}

void tst_RecentFileList::emptyList()
{
    QWidget parent;
    RecentFileList list(&parent, key);
    const QList<QAction *> actions = list.menu({})->actions();
    QCOMPARE(actions.size(), 1);
    QCOMPARE(actions.first()->text(), "No recent files");
    QVERIFY(!actions.first()->isEnabled());
    QCOMPARE(list.parent(), &parent);
    QCOMPARE(list.menu({})->parent(), &parent);
    list.addFile({});
    QVERIFY(!QSettings().contains(key));
}

void tst_RecentFileList::title()
{
    QWidget parent;
    RecentFileList list(&parent, key);
    QCOMPARE(list.menu({})->title(), "Recent Files");
    QMenu *const menu = list.menu("Files of Today");
    list.addFile("/a/b");
    QCOMPARE(menu->title(), "Files of Today");
    QCOMPARE(list.menu({}), menu);
}

void tst_RecentFileList::addFile_data()
{
    const QStringList five({"/a", "/b", "/c", "/d", "/e"});
    const QStringList full({"1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11", "12"});
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("after");
    QTest::newRow("backslashes") << QStringList() << "C:\\s\\a.txt" << QStringList("C:/s/a.txt");
    QTest::newRow("new") << five << "/n" << QStringList({"/n", "/a", "/b", "/c", "/d", "/e"});
    QTest::newRow("from the middle") << five << "/d" << QStringList({"/d", "/a", "/b", "/c", "/e"});
    QTest::newRow("case counts") << QStringList("/a") << "/A" << QStringList({"/A", "/a"});
    QTest::newRow("thirteenth")
        << full << "13"
        << QStringList({"13", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11"});
    QTest::newRow("last of twelve")
        << full << "12"
        << QStringList({"12", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "11"});
    QTest::newRow("last but one")
        << full << "11"
        << QStringList({"11", "1", "2", "3", "4", "5", "6", "7", "8", "9", "10", "12"});
}

void tst_RecentFileList::addFile()
{
    QFETCH(QStringList, before);
    QFETCH(QString, file);
    QFETCH(QStringList, after);
    QSettings().setValue(key, twelve(before));
    QWidget parent;
    RecentFileList list(&parent, key);
    list.addFile(file);
    QCOMPARE(stored(), twelve(after));
    QCOMPARE(toolTips(list), after);
}

void tst_RecentFileList::firstFileAgainWritesNothing()
{
    QWidget parent;
    RecentFileList list(&parent, key);
    list.addFile("C:/a");
    QSettings().remove(key);
    list.addFile("C:\\a");
    QVERIFY(!QSettings().contains(key));
    QCOMPARE(toolTips(list), QStringList("C:/a"));
}

void tst_RecentFileList::storedList_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QStringList>("shown");
    const QStringList none("No recent files");
    QTest::newRow("fourteen") << QVariant(
        QStringList({"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l", "m", "n"}))
                              << QStringList(
                                     {"a", "b", "c", "d", "e", "f", "g", "h", "i", "j", "k", "l"});
    QTest::newRow("single text") << QVariant("a") << QStringList("a");
    QTest::newRow("ends at the first free slot")
        << QVariant(QStringList({"a", "", "b"})) << QStringList("a");
    QTest::newRow("free slots only") << QVariant(twelve({})) << none;
    QTest::newRow("no list") << QVariant(QVariantMap{{"a", 1}}) << none;
}

void tst_RecentFileList::storedList()
{
    QFETCH(QVariant, value);
    QFETCH(QStringList, shown);
    QSettings().setValue(key, value);
    QWidget parent;
    RecentFileList list(&parent, key);
    QCOMPARE(toolTips(list), shown);
    QCOMPARE(QSettings().value(key), value);
}

void tst_RecentFileList::menuEntries()
{
    QWidget parent;
    RecentFileList list(&parent, key);
    const QMenu *const menu = list.menu("Recent");
    list.addFile("/a/R&D/x.txt");
    list.addFile("/a/b/x.txt");
    list.addFile("/a/y.txt");
    // In an action's text a doubled ampersand stands for one that is shown.
    QCOMPARE(menu->actions().at(0)->text(), "y.txt");
    QCOMPARE(menu->actions().at(1)->text(), "...b/x.txt");
    QCOMPARE(menu->actions().at(2)->text(), "...R&&D/x.txt");
    QCOMPARE(toolTips(list), QStringList({"/a/y.txt", "/a/b/x.txt", "/a/R&D/x.txt"}));
}

void tst_RecentFileList::selection()
{
    QWidget parent;
    RecentFileList list(&parent, key);
    const QMenu *const menu = list.menu("Recent");
    QSignalSpy spy(&list, &RecentFileList::fileSelected);
    list.addFile("/a/x.txt");
    list.addFile("/b/x.txt");
    list.addFile("/a/x.txt");
    menu->actions().at(1)->trigger();
    menu->actions().at(0)->trigger();
    QCOMPARE(spy.size(), 2);
    QCOMPARE(spy.at(0), QVariantList{"/b/x.txt"});
    QCOMPARE(spy.at(1), QVariantList{"/a/x.txt"});
}

/// What opening a chosen file does: the list changes while its signal is under way.
void tst_RecentFileList::addingTheSelectedFile()
{
    QWidget parent;
    RecentFileList list(&parent, key);
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
    QCOMPARE(stored(), twelve({"/c", "/other", "/a", "/b"}));
}

void tst_RecentFileList::menuDeletedFirst()
{
    QWidget parent;
    RecentFileList list(&parent, key);
    delete list.menu({});
    list.addFile("/a/b");
    QCOMPARE(toolTips(list), QStringList("/a/b"));
}

TARNWICK_TEST_MAIN(tst_RecentFileList)
#include "tst_recentfilelist.moc"
