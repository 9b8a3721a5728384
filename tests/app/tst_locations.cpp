// SPDX-License-Identifier: MIT
#include "app/identity.h"
#include "app/rememberedlocations.h"
#include "support/testmain.h"

#include <QDir>
#include <QSettings>
#include <QtTest>

class tst_Locations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { applyIdentity(); }
    void init() { QSettings().clear(); }
    void remember_data();
    void remember();
    void fallback();
    void librariesDirectoryPrefersTheProgram();
    void identity();
};

static QStringList letters(int count)
{
    QStringList list;
    for (int i = 0; i < count; ++i)
        list.append(QString(QChar('a' + i)));
    return list;
}

void tst_Locations::remember_data()
{
    QTest::addColumn<QStringList>("list");
    QTest::addColumn<QString>("item");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<bool>("stored");
    QTest::newRow("second comes first") << letters(3) << "b" << QStringList{"b", "a", "c"} << true;
    QTest::newRow("first stays") << letters(3) << "a" << letters(3) << false;
    QTest::newRow("case matters") << letters(1) << "A" << QStringList{"A", "a"} << true;
    QTest::newRow("empty list") << QStringList() << "x" << QStringList{"x"} << true;
    QTest::newRow("sixteenth drops the last")
        << letters(15) << "new" << QStringList{"new"} + letters(14) << true;
    QTest::newRow("longer list is cut")
        << letters(20) << "t" << QStringList{"t"} + letters(14) << true;
}

void tst_Locations::remember()
{
    QFETCH(QStringList, list);
    QFETCH(const QString, item);
    QFETCH(const bool, stored);
    rememberLocation(list, item, "pyLocations");
    QTEST(list, "expected");
    QCOMPARE(QSettings().contains("pyLocations"), stored);
    if (stored)
        QCOMPARE(rememberedLocations("pyLocations", "unused"), list);
}

void tst_Locations::fallback()
{
    QCOMPARE(rememberedLocations("iniLocations", "default"), QStringList{"default"});
    QSettings().setValue("iniLocations", QStringList());
    QCOMPARE(rememberedLocations("iniLocations", "default"), QStringList{"default"});
    QSettings().setValue("iniLocations", "single");
    QCOMPARE(rememberedLocations("iniLocations", "default"), QStringList{"single"});
}

void tst_Locations::librariesDirectoryPrefersTheProgram()
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

void tst_Locations::identity()
{
    QCOMPARE(QCoreApplication::applicationVersion(), QString("6.1.63.61641"));
    QCOMPARE(QSettings().organizationName(), QString("kelvra"));
    QCOMPARE(QSettings().applicationName(), QString("Tarnwick"));
}

TARNWICK_TEST_MAIN(tst_Locations)
#include "tst_locations.moc"
