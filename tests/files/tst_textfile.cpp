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

/// Runs \a check in a process of its own whose files may not grow beyond \a fileSizeLimit bytes.
static bool holdsInChild(rlim_t fileSizeLimit, const std::function<bool()> &check)
{
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{fileSizeLimit, RLIM_INFINITY};
        _exit(setrlimit(RLIMIT_FSIZE, &limit) == 0 && check() ? 0 : 1);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

/// A user for whom permissions count: the superuser may ignore them.
static bool becomeOrdinaryUser()
{
    constexpr uid_t nobody = 65534;
    return geteuid() != 0 || (setgid(nobody) == 0 && setuid(nobody) == 0);
}

class tst_TextFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup() { m_folder.reset(); }

    void roundTrip_data();
    void roundTrip();
    void permissionsStay();
    void linkStays_data();
    void linkStays();
    void refused_data();
    void refused();
    void writeProtectedFile();
    void protectedFolder_data();
    void protectedFolder();
    void device_data();
    void device();
    void pipe();
    void fullDisk_data();
    void fullDisk();
    void newFileOnFullDisk();
    void killedWhileSaving();

private:
    [[nodiscard]] QString path(const QString &name) const { return m_folder->filePath(name); }
    [[nodiscard]] QStringList names() const
    {
        return QDir(m_folder->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_TextFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    QCOMPARE(chmod(qPrintable(m_folder->path()), 0777), 0);
}

void tst_TextFile::roundTrip_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("both line ends") << QByteArray("a\nb\r\nc\r");
    QTest::newRow("zero bytes and no UTF-8") << QByteArray("a\0b\xff\x80", 5);
    QTest::newRow("larger than any buffer") << QByteArray(5000000, 'x');
}

void tst_TextFile::roundTrip()
{
    QFETCH(QByteArray, text);
    const QString file = path("größe & more.txt");
    QByteArray read("before");
    QString error("unchanged");
    // The second time there is a file to replace.
    for (int i = 0; i < 2; ++i) {
        QVERIFY(writeTextFile(file, text, &error));
        QVERIFY(contentOf(file) == text);
        QVERIFY(readTextFile(file, &read, &error));
        QVERIFY(read == text);
    }
    QCOMPARE(error, "unchanged");
    QCOMPARE(names(), QStringList("größe & more.txt"));
}

void tst_TextFile::permissionsStay()
{
    QVERIFY(create(path("file"), "old", 0640));
    QVERIFY(writeTextFile(path("file"), "new"));
    struct stat status = {};
    QCOMPARE(stat(qPrintable(path("file")), &status), 0);
    QCOMPARE(int(status.st_mode & 0777), 0640);
}

void tst_TextFile::linkStays_data()
{
    QTest::addColumn<bool>("targetExists");
    QTest::newRow("to a file") << true;
    QTest::newRow("to nothing") << false;
}

void tst_TextFile::linkStays()
{
    QFETCH(bool, targetExists);
    QVERIFY(QDir(m_folder->path()).mkdir("other"));
    QVERIFY(!targetExists || create(path("other/file"), "old"));
    QVERIFY(QFile::link("other/file", path("link")));
    QVERIFY(writeTextFile(path("link"), "new"));
    QVERIFY(QFileInfo(path("link")).isSymLink());
    QCOMPARE(contentOf(path("other/file")), QByteArray("new"));
}

void tst_TextFile::refused_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("folder") << "folder";
    QTest::newRow("missing folder") << "missing/file";
    QTest::newRow("file as folder") << "file/file";
    QTest::newRow("name too long") << QString(300, 'n');
}

void tst_TextFile::refused()
{
    QFETCH(QString, name);
    QVERIFY(QDir(m_folder->path()).mkdir("folder"));
    QVERIFY(create(path("file"), "old"));
    QString error;
    QVERIFY(!writeTextFile(path(name), "new", &error));
    QVERIFY(!error.isEmpty());
    QByteArray text("unchanged");
    error.clear();
    QVERIFY(!readTextFile(path(name), &text, &error));
    QVERIFY(!error.isEmpty());
    QCOMPARE(text, QByteArray("unchanged"));
    QCOMPARE(contentOf(path("file")), QByteArray("old"));
    QCOMPARE(names(), QStringList({"file", "folder"}));
    // An empty path is none of the folder's names, and without a place for it there is no error text.
    QVERIFY(!writeTextFile({}, "new"));
    QVERIFY(!readTextFile({}, &text));
}

void tst_TextFile::writeProtectedFile()
{
    QVERIFY(create(path("file"), "old", 0444));
    QString error;
    QVERIFY(!writeTextFile(path("file"), "new", &error));
    QVERIFY(!error.isEmpty());
    // Somebody else's file, in a folder that would let it be replaced.
    QVERIFY(geteuid() != 0 || create(path("file"), "old", 0644));
    QVERIFY(holdsInChild(RLIM_INFINITY, [this] {
        return becomeOrdinaryUser() && !writeTextFile(path("file"), "new");
    }));
    QCOMPARE(contentOf(path("file")), QByteArray("old"));
    QCOMPARE(names(), QStringList("file"));
}

void tst_TextFile::protectedFolder_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("takesNewFiles");
    QTest::newRow("read-only") << 0555 << false;
    QTest::newRow("only the owner may replace a file") << 01777 << true;
}

/// Files that cannot be replaced there are overwritten.
void tst_TextFile::protectedFolder()
{
    QFETCH(int, mode);
    QFETCH(bool, takesNewFiles);
    QVERIFY(create(path("longer"), "old", 0666));
    QVERIFY(create(path("shorter"), QByteArray(100, 'x'), 0666));
    QCOMPARE(chmod(qPrintable(m_folder->path()), mode_t(mode)), 0);
    QVERIFY(holdsInChild(RLIM_INFINITY, [&] {
        return becomeOrdinaryUser() && writeTextFile(path("longer"), "new text")
            && writeTextFile(path("shorter"), "new")
            && writeTextFile(path("another"), "new") == takesNewFiles;
    }));
    QCOMPARE(contentOf(path("longer")), QByteArray("new text"));
    QCOMPARE(contentOf(path("shorter")), QByteArray("new"));
    QCOMPARE(names().size(), takesNewFiles ? 3 : 2);
    QCOMPARE(chmod(qPrintable(m_folder->path()), 0777), 0);
}

void tst_TextFile::device_data()
{
    QTest::addColumn<int>("minorNumber");
    QTest::addColumn<int>("size");
    QTest::addColumn<bool>("isWritten");
    constexpr int null = 3;
    constexpr int full = 7;
    QTest::newRow("null") << null << 10 << true;
    QTest::newRow("full, a small text") << full << 10 << false;
    QTest::newRow("full, a large text") << full << 1000000 << false;
}

/// With devices of its own: run by the superuser, a fault would replace those of the machine.
void tst_TextFile::device()
{
    QFETCH(int, minorNumber);
    QFETCH(int, size);
    QFETCH(bool, isWritten);
    const QString device = path("device");
    if (mknod(qPrintable(device), S_IFCHR | 0666, makedev(1, uint(minorNumber))) != 0
        || !QFile(device).open(QIODevice::ReadOnly))
        QSKIP("Only the superuser can make devices, and not on every file system.");
    QVERIFY(QFile::link(device, path("link")));
    for (const QString &name : {device, path("link")}) {
        QString error;
        QCOMPARE(writeTextFile(name, QByteArray(size, 'x'), &error), isWritten);
        QCOMPARE(error.isEmpty(), isWritten);
    }
    struct stat status = {};
    QCOMPARE(lstat(qPrintable(device), &status), 0);
    QVERIFY(S_ISCHR(status.st_mode));
    QVERIFY(QFileInfo(path("link")).isSymLink());
}

void tst_TextFile::pipe()
{
    QCOMPARE(mkfifo(qPrintable(path("pipe")), 0666), 0);
    const int reader = open(qPrintable(path("pipe")), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    QVERIFY(reader >= 0);
    QVERIFY(writeTextFile(path("pipe"), "text"));
    char received[10] = {};
    QCOMPARE(read(reader, received, sizeof received), ssize_t(4));
    QCOMPARE(received, "text");
    close(reader);
    QCOMPARE(names(), QStringList());
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::System), QStringList("pipe"));
}

void tst_TextFile::fullDisk_data()
{
    QTest::addColumn<bool>("isReplaced"); // else the folder is read-only and the file overwritten
    QTest::addColumn<int>("oldSize");
    QTest::addColumn<int>("newSize");
    QTest::newRow("a large text over a small one") << true << 100 << 1000000;
    QTest::newRow("a text just over the limit") << true << 100 << 10001;
    QTest::newRow("overwriting a small text") << false << 100 << 1000000;
    QTest::newRow("overwriting just over the limit") << false << 9999 << 10001;
    QTest::newRow("overwriting a larger text") << false << 30000 << 20000;
}

void tst_TextFile::fullDisk()
{
    QFETCH(bool, isReplaced);
    QFETCH(int, oldSize);
    QFETCH(int, newSize);
    QVERIFY(create(path("file"), QByteArray(oldSize, 'o'), 0666));
    QCOMPARE(chmod(qPrintable(m_folder->path()), isReplaced ? 0777 : 0555), 0);
    QVERIFY(holdsInChild(10000, [&] {
        QString error;
        return becomeOrdinaryUser()
            && !writeTextFile(path("file"), QByteArray(newSize, 'n'), &error) && !error.isEmpty();
    }));
    QVERIFY(contentOf(path("file")) == QByteArray(oldSize, 'o'));
    QCOMPARE(names(), QStringList("file"));
    QCOMPARE(chmod(qPrintable(m_folder->path()), 0777), 0);
}

void tst_TextFile::newFileOnFullDisk()
{
    // Beside the long name there is no room for the name of a temporary file.
    for (const QString &name : {QString("file"), QString(250, 'n')}) {
        QVERIFY(holdsInChild(10000,
                             [&] { return !writeTextFile(path(name), QByteArray(20000, 'n')); }));
        QCOMPARE(names(), QStringList());
        QVERIFY(writeTextFile(path(name), "text"));
        QVERIFY(QFile::remove(path(name)));
    }
}

void tst_TextFile::killedWhileSaving()
{
    const QByteArray texts[] = {QByteArray(300000, 'a'), QByteArray(200000, 'b')};
    QVERIFY(create(path("file"), texts[0]));
    for (int i = 0; i < 200; ++i) {
        int ends[2] = {};
        QCOMPARE(::pipe(ends), 0);
        const pid_t child = fork();
        if (child == 0) {
            // Tells of each save before it begins; the kill strikes at some moment of the last one.
            for (int k = 0; write(ends[1], "", 1) == 1; ++k)
                std::ignore = writeTextFile(path("file"), texts[k % 2]);
            _exit(1);
        }
        QVERIFY(child > 0);
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
