// SPDX-License-Identifier: MIT
#include "files/textfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

/// Anything but a text that a test expects.
static QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

static bool create(const QString &path, const QByteArray &content, mode_t mode = 0644)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size()
        && chmod(qPrintable(path), mode) == 0;
}

/// Runs \a check in a process of its own whose files may not grow beyond \a fileSizeLimit bytes, as a
/// user for whom permissions count: the superuser may ignore them.
static bool holdsForOrdinaryUser(rlim_t fileSizeLimit, const std::function<bool()> &check)
{
    const pid_t child = fork();
    if (child == 0) {
        constexpr uid_t nobody = 65534;
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{fileSizeLimit, RLIM_INFINITY};
        const bool isOrdinary = geteuid() != 0 || (setgid(nobody) == 0 && setuid(nobody) == 0);
        _exit(isOrdinary && setrlimit(RLIMIT_FSIZE, &limit) == 0 && check() ? 0 : 1);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

class tst_TextFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { chmod(qPrintable(m_folder->path()), 0777); }
    void roundTrip();
    void permissionsAndLinksStay();
    void refused();
    void protectedFileAndFolder();
    void devicesAndPipes();
    void fullDisk_data();
    void fullDisk();
    void killedWhileSaving();

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QString names() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).join(", ");
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_TextFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QCOMPARE(chmod(qPrintable(m_folder->path()), 0777), 0);
}

void tst_TextFile::roundTrip()
{
    const QString file = path("größe & more.txt");
    QString error("unchanged");
    // From the second text on there is a file to replace.
    for (const QByteArray &text : {QByteArray(""),
                                   QByteArray("a\nb\r\nc\r"),
                                   QByteArray("a\0b\xff\x80", 5),
                                   QByteArray(5000000, 'x'),
                                   QByteArray("short")}) {
        QByteArray read("before");
        QVERIFY(writeTextFile(file, text, &error));
        QVERIFY(contentOf(file) == text);
        QVERIFY(readTextFile(file, &read, &error));
        QVERIFY(read == text);
    }
    QCOMPARE(error, "unchanged");
    QCOMPARE(names(), "größe & more.txt");
}

void tst_TextFile::permissionsAndLinksStay()
{
    QVERIFY(create(path("file"), "old", 0640));
    QVERIFY(QDir(m_folder->path()).mkdir("other"));
    for (const char *target : {"file", "other/new"}) {
        QFile::remove(path("link"));
        QVERIFY(QFile::link(target, path("link")));
        QVERIFY(writeTextFile(path("link"), "new"));
        QVERIFY(QFileInfo(path("link")).isSymLink());
        QCOMPARE(contentOf(path(target)), QByteArray("new"));
    }
    struct stat status = {};
    QCOMPARE(stat(qPrintable(path("file")), &status), 0);
    QCOMPARE(int(status.st_mode & 0777), 0640);
}

void tst_TextFile::refused()
{
    QVERIFY(QDir(m_folder->path()).mkdir("folder"));
    QVERIFY(create(path("file"), "old"));
    for (const QString &name :
         {QString("folder"), QString("missing/file"), QString("file/file"), QString(300, 'n')}) {
        QString error;
        QVERIFY(!writeTextFile(path(name), "new", &error));
        QVERIFY(!error.isEmpty());
        QByteArray text("unchanged");
        error.clear();
        QVERIFY(!readTextFile(path(name), &text, &error));
        QVERIFY(!error.isEmpty());
        QCOMPARE(text, QByteArray("unchanged"));
        QCOMPARE(contentOf(path("file")), QByteArray("old"));
        QCOMPARE(names(), "file, folder");
    }
    // An empty path is none of the folder's names, and without a place for it there is no error text.
    QVERIFY(!writeTextFile({}, "new"));
}

/// Files that cannot be replaced in their folder are overwritten.
void tst_TextFile::protectedFileAndFolder()
{
    QVERIFY(create(path("file"), "old", 0444));
    QString error;
    QVERIFY(!writeTextFile(path("file"), "new", &error));
    QVERIFY(!error.isEmpty());
    QVERIFY(create(path("longer"), "old", 0666));
    QVERIFY(create(path("shorter"), QByteArray(100, 'x'), 0666));
    // Read-only, and one in which only the owner may replace a file.
    for (const mode_t mode : {0555, 01777}) {
        QCOMPARE(chmod(qPrintable(m_folder->path()), mode), 0);
        QVERIFY(holdsForOrdinaryUser(RLIM_INFINITY, [&] {
            return writeTextFile(path("longer"), "new text")
                && writeTextFile(path("shorter"), "new") && !writeTextFile(path("file"), "new")
                && writeTextFile(path("another"), "new") == (mode == 01777);
        }));
        QCOMPARE(contentOf(path("longer")), QByteArray("new text"));
        QCOMPARE(contentOf(path("shorter")), QByteArray("new"));
        QCOMPARE(contentOf(path("file")), QByteArray("old"));
        QCOMPARE(names(), QString(mode == 01777 ? "another, " : "") + "file, longer, shorter");
    }
}

/// With devices of its own: run by the superuser, a fault would replace those of the machine.
void tst_TextFile::devicesAndPipes()
{
    QCOMPARE(mkfifo(qPrintable(path("pipe")), 0666), 0);
    const int reader = open(qPrintable(path("pipe")), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    QVERIFY(reader >= 0);
    QVERIFY(writeTextFile(path("pipe"), "text"));
    char received[10] = {};
    QCOMPARE(read(reader, received, sizeof received), ssize_t(4));
    QCOMPARE(received, "text");
    close(reader);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::System), QStringList("pipe"));

    constexpr unsigned null = 3;
    constexpr unsigned full = 7;
    for (const unsigned minorNumber : {null, full}) {
        const QString device = path(QString("device%1").arg(minorNumber));
        if (mknod(qPrintable(device), S_IFCHR | 0666, makedev(1, minorNumber)) != 0
            || !QFile(device).open(QIODevice::ReadOnly))
            QSKIP("Only the superuser can make devices, and not on every file system.");
        QVERIFY(QFile::link(device, device + "link"));
        for (const QString &name : {device, device + "link"}) {
            for (const int size : {10, 1000000})
                QCOMPARE(writeTextFile(name, QByteArray(size, 'x')), minorNumber == null);
        }
        struct stat status = {};
        QCOMPARE(lstat(qPrintable(device), &status), 0);
        QVERIFY(S_ISCHR(status.st_mode));
        QVERIFY(QFileInfo(device + "link").isSymLink());
    }
}

void tst_TextFile::fullDisk_data()
{
    QTest::addColumn<bool>("isReplaced"); // else the folder is read-only and the file overwritten
    QTest::addColumn<int>("oldSize"); // -1 for no old file
    QTest::addColumn<int>("newSize");
    QTest::newRow("a large text over a small one") << true << 100 << 1000000;
    QTest::newRow("a text just over the limit") << true << 100 << 10001;
    QTest::newRow("a new file") << true << -1 << 20000;
    QTest::newRow("overwriting a small text") << false << 100 << 1000000;
    QTest::newRow("overwriting just over the limit") << false << 9999 << 10001;
    QTest::newRow("overwriting a larger text") << false << 30000 << 20000;
}

void tst_TextFile::fullDisk()
{
    QFETCH(bool, isReplaced);
    QFETCH(int, oldSize);
    QFETCH(int, newSize);
    // Beside the long name there is no room for the name of a temporary file.
    for (const QString &name : {QString("file"), QString(250, 'n')}) {
        chmod(qPrintable(m_folder->path()), 0777);
        QDir(m_folder->path()).remove("file");
        if (oldSize >= 0)
            QVERIFY(create(path(name), QByteArray(oldSize, 'o'), 0666));
        QCOMPARE(chmod(qPrintable(m_folder->path()), isReplaced ? 0777 : 0555), 0);
        QVERIFY(holdsForOrdinaryUser(10000, [&] {
            QString error;
            return !writeTextFile(path(name), QByteArray(newSize, 'n'), &error) && !error.isEmpty();
        }));
        QCOMPARE(names(), oldSize >= 0 ? name : QString());
        if (oldSize >= 0)
            QVERIFY(contentOf(path(name)) == QByteArray(oldSize, 'o'));
    }
}

void tst_TextFile::killedWhileSaving()
{
    const QByteArray texts[] = {QByteArray(300000, 'a'), QByteArray(200000, 'b')};
    QVERIFY(create(path("file"), texts[0]));
    for (int i = 0; i < 100; ++i) {
        int ends[2] = {};
        QCOMPARE(::pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            // Tells of each save before it begins; the kill strikes at some moment of the last one.
            for (int k = 0; write(ends[1], "", 1) == 1; ++k)
                std::ignore = writeTextFile(path("file"), texts[k % 2]);
            _exit(1);
        }
        char begun = 0;
        for (int k = 0; k <= 1 + i % 3; ++k)
            QCOMPARE(read(ends[0], &begun, 1), ssize_t(1));
        QCOMPARE(kill(child, SIGKILL), 0);
        QCOMPARE(waitpid(child, nullptr, 0), child);
        close(ends[0]);
        close(ends[1]);
        const QByteArray content = contentOf(path("file"));
        QVERIFY(content == texts[0] || content == texts[1]);
    }
}

QTEST_GUILESS_MAIN(tst_TextFile)
#include "tst_textfile.moc"
