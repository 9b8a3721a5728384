// SPDX-License-Identifier: MIT
//
// A walk through an example without anybody at the keyboard: opens a session file in the main window,
// saves a picture of it, and writes all exports, through the menus and file choosers that a user has.
//
//     tarnwick_tour <session file> <output folder>

#include "app/identity.h"
#include "app/tarnwick.h"
#include "python/platform.h"

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QTextStream>
#include <QTimer>

namespace {

int fail(const QString &text)
{
    QTextStream(stderr) << text << Qt::endl;
    return 1;
}

/// Answers file choosers with one path. A message box means that something went wrong, and nobody is
/// there to close it: its text ends the tour.
class Answers
{
public:
    Answers()
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { answer(); });
        m_timer.start(50);
    }

    void setPath(const QString &path) { m_path = path; }

private:
    void answer()
    {
        QWidget *const dialog = QApplication::activeModalWidget();
        if (const auto *const box = qobject_cast<QMessageBox *>(dialog))
            std::exit(fail(box->text()));
        if (auto *const chooser = qobject_cast<QFileDialog *>(dialog)) {
            chooser->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(m_path);
            static_cast<QDialog *>(chooser)->accept();
        }
    }

    QTimer m_timer;
    QString m_path;
};

struct Step
{
    const char *action;
    const char *file;
};

} // namespace

static bool savePicture(Tarnwick &window, const QString &path)
{
    window.resize(1400, 860);
    window.show();
    QEventLoop painting;
    constexpr int timeToPaint = 500;
    QTimer::singleShot(timeToPaint, &painting, &QEventLoop::quit);
    painting.exec();
    return window.grab().save(path);
}

int main(int argc, char *argv[])
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    Platform::native().useUtf8Locale();
    const QApplication application(argc, argv);
    applyIdentity();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3)
        return fail(QStringLiteral("Usage: tarnwick_tour <session file> <output folder>"));
    const QDir folder(arguments.at(2));

    Answers answers;
    Tarnwick window;
    const auto choose = [&](const char *action, const QString &path) {
        answers.setPath(path);
        window.findChild<QAction *>(QLatin1String(action))->trigger();
    };
    choose("actionOpen", QFileInfo(arguments.at(1)).absoluteFilePath());
    if (!savePicture(window, folder.absoluteFilePath(QStringLiteral("tarnwick.png"))))
        return fail(QStringLiteral("The picture could not be written."));
    constexpr Step exports[] = {
        {"actionIni_File", "example_modes.ini"},
        {"actionJson", "example_results.txt"},
        {"actionShared_Settings", "example_initializer.py"},
    };
    for (const Step &step : exports)
        choose(step.action, folder.absoluteFilePath(QLatin1String(step.file)));

    QTextStream out(stdout);
    out << "A picture of the window and the exports of its session:" << Qt::endl;
    const QFileInfoList files = folder.entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo &file : files)
        out << file.size() << '\t' << file.absoluteFilePath() << Qt::endl;
    constexpr int expectedFiles = 5;
    return files.size() == expectedFiles ? 0 : fail(QStringLiteral("Some files are missing."));
}
