// SPDX-License-Identifier: MIT
#include "files/rescuefolder.h"
#include "files/textfile.h"
#include "support/table.h"

#include <QDirIterator>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <csignal>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

/// A cell of the running row, with "5*x" replaced by "xxxxx".
static QString cell(const char *column)
{
    QString text = *static_cast<QString *>(QTest::qData(column, qMetaTypeId<QString>()));
    const QRegularExpression repetition("(\\d+)\\*(.)");
    for (auto found = repetition.match(text); found.hasMatch(); found = repetition.match(text))
        text.replace(found.captured(), found.captured(2).repeated(found.captured(1).toInt()));
    return text;
}

class tst_TextFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { umask(022); }
    void init() { m_folder = std::make_unique<QTemporaryDir>(); }
    void cleanup() { chmod(qPrintable(m_folder->path()), 0700); }
    void saving_data() { loadTable("files/saving"); }
    void saving()
    {
        const QString file = path(cell("file"));
        const QByteArray text = cell("text").toLatin1();
        const QString commands = QString("cd '%1'; %2").arg(m_folder->path(), cell("folder"));
        const bool isMade = QProcess::execute("/bin/sh", {"-c", commands}) == 0;
        const bool isDevice = commands.contains("mknod");
        if (isDevice && !(isMade && QFile(file).open(QIODevice::ReadOnly)))
            QSKIP("Only the superuser can make devices, and not on every file system.");
        QVERIFY(isMade);
        QCOMPARE(chmod(qPrintable(m_folder->path()), cell("mode").toUInt(nullptr, 8)), 0);
        const bool isSaved = !cell("after").isEmpty();
        const QByteArray expected = isSaved ? cell("after").toLatin1() : listing();
        const pid_t child = fork();
        if (child == 0) {
            // Permissions count for another user, while the superuser may ignore them.
            constexpr uid_t nobody = 65534;
            const bool isOther = cell("by") != "owner" && geteuid() == 0;
            const rlimit limit{cell("by") == "full" ? 10000 : RLIM_INFINITY, RLIM_INFINITY};
            std::signal(SIGXFSZ, SIG_IGN);
            if (isOther && (setgid(nobody) != 0 || setuid(nobody) != 0))
                _exit(2);
            QString error;
            const bool isReady = setrlimit(RLIMIT_FSIZE, &limit) == 0;
            const bool isCorrect = writeTextFile(file, text, &error) == isSaved;
            _exit(isReady && isCorrect && error.isEmpty() == isSaved ? 0 : 1);
        }
        int status = -1;
        QCOMPARE(waitpid(child, &status, 0), child);
        QCOMPARE(status, 0);
        QCOMPARE(listing(), expected);

        QByteArray read("unchanged");
        QString error;
        const bool isFile = QFileInfo(file).isFile();
        QVERIFY(isDevice || readTextFile(file, &read, &error) == isFile);
        QCOMPARE(error.isEmpty(), isDevice || isFile);
        QVERIFY(isFile ? !isSaved || read == text : read == "unchanged");
    }
    void rescue_data() { loadTable("files/rescue"); }
    void rescue()
    {
        const QString folder = RescueFolder().path();
        QDir(folder).removeRecursively();
        QFile::remove(folder);
        QVERIFY(QDir::setCurrent(m_folder->path()));
        for (const QString &step : cell("steps").replace("@R", folder).split(" -> ")) {
            if (step.startsWith("save "))
                QVERIFY(writeTextFile(step.section(' ', 1, 1), step.section(' ', 2).toUtf8()));
            else
                QCOMPARE(QProcess::execute("/bin/sh", {"-c", step}), 0);
        }
        const QRegularExpression time(R"((^|, )\d{4}-\d\d-\d\dT\d\d-\d\d-\d\d (\(\d+\) )?)");
        QStringList copies = QString(listing(folder)).replace(time, "\\1").split(", ");
        copies.sort();
        if (copies.size() > 100) {
            const QString number = QString::number(copies.size());
            copies = QStringList(copies.first() + " ... " + copies.last() + ": " + number);
        }
        QCOMPARE(copies.join(", "), cell("copies"));
        const auto others = QFile::ReadGroup | QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther;
        QVERIFY(copies.first().isEmpty() || !(QFile::permissions(folder) & others));
    }
    void noName() { QVERIFY(!writeTextFile({}, "new")); }
    void toPipe()
    {
        const QByteArray pipe = path("pipe").toUtf8();
        QCOMPARE(mkfifo(pipe, 0666), 0);
        QFile reader;
        const int descriptor = open(pipe, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        QVERIFY(reader.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
        QVERIFY(writeTextFile(pipe, "text"));
        QCOMPARE(reader.readAll(), QByteArray("text"));
        QCOMPARE(listing(), "pipe 10644");
    }
    void killedWhileSaving()
    {
        const QByteArray texts[] = {QByteArray(300000, 'a'), QByteArray(200000, 'b')};
        QVERIFY(writeTextFile(path("file"), texts[0]));
        for (int i = 0; i < 100; ++i) {
            int ends[2] = {};
            QCOMPARE(pipe(ends), 0);
            const pid_t child = fork();
            if (child == 0) {
                // Tells of each save before it begins; the kill strikes at some moment of one.
                for (int k = 0; write(ends[1], "", 1) == 1; ++k)
                    std::ignore = writeTextFile(path("file"), texts[k % 2]);
                _exit(1);
            }
            char begun = 0;
            QCOMPARE(read(ends[0], &begun, 1), ssize_t(1));
            usleep(10 * i);
            QCOMPARE(kill(child, SIGKILL), 0);
            QCOMPARE(waitpid(child, nullptr, 0), child);
            close(ends[0]);
            close(ends[1]);
            QByteArray content;
            QVERIFY(readTextFile(path("file"), &content));
            QVERIFY(content == texts[0] || content == texts[1]);
        }
    }

private:
    QString path(const QString &name) const { return m_folder->filePath(name); }
    QByteArray listing() const { return listing(m_folder->path()); }
    /// What is in a folder: "name mode content", the content of a link being where it leads.
    static QByteArray listing(const QDir &folder)
    {
        QByteArrayList entries;
        const auto all = QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDotAndDotDot;
        QDirIterator entry(folder.path(), all, QDirIterator::Subdirectories);
        while (entry.hasNext()) {
            QFile file(entry.next());
            struct stat status = {};
            lstat(qPrintable(file.fileName()), &status);
            const QByteArray name = folder.relativeFilePath(file.fileName()).toLatin1();
            QByteArray content = folder.relativeFilePath(file.symLinkTarget()).toLatin1();
            if (S_ISREG(status.st_mode) && file.open(QIODevice::ReadOnly))
                content =
                    file.size() < 20'000'000 ? file.readAll() : QByteArray::number(file.size());
            const QByteArray mode = QByteArray::number(status.st_mode, 8);
            entries.append((name + ' ' + mode + ' ' + content).trimmed());
        }
        std::sort(entries.begin(), entries.end());
        return entries.join(", ");
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

QTEST_GUILESS_MAIN(tst_TextFile)
#include "tst_textfile.moc"
