// SPDX-License-Identifier: MIT
//
// Makes the pictures of the guides from the real program, driven as a user would drive it.
//
//     tarnwick_pictures <session file> <output folder>

#include "app/aboutdlg.h"
#include "app/identity.h"
#include "app/tarnwick.h"
#include "tools/pythonconsole.h"
#include "tools/pythoneditor.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QDockWidget>
#include <QFileDialog>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QSettings>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

static void settle()
{
    QEventLoop painting;
    constexpr int timeToPaint = 300;
    QTimer::singleShot(timeToPaint, &painting, &QEventLoop::quit);
    painting.exec();
}

static bool save(QWidget &widget, const QSize &size, const QDir &folder, const char *name)
{
    widget.resize(size);
    widget.show();
    settle();
    return widget.grab().save(folder.filePath(QLatin1String(name)));
}

static void enter(PythonConsole *console, const char *statement)
{
    auto *const prompt = console->findChild<QLineEdit *>(QStringLiteral("prompt"));
    prompt->setText(QLatin1String(statement));
    Q_EMIT prompt->returnPressed();
}

int main(int argc, char *argv[])
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    const QApplication application(argc, argv);
    applyIdentity();
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        QTextStream(stderr) << "Usage: tarnwick_pictures <session file> <output folder>\n";
        return 2;
    }
    const QTemporaryDir settings;
    QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings.path());
    const QString session = QFileInfo(arguments.at(1)).absoluteFilePath();
    const QDir folder(arguments.at(2));

    QTimer answering;
    QObject::connect(&answering, &QTimer::timeout, [&session] {
        QWidget *const dialog = QApplication::activeModalWidget();
        if (auto *const chooser = qobject_cast<QFileDialog *>(dialog)) {
            chooser->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(session);
            static_cast<QDialog *>(chooser)->accept();
        }
    });
    answering.start(50);

    Tarnwick window;
    window.findChild<QAction *>(QStringLiteral("actionOpen"))->trigger();
    bool complete = save(window, {1400, 860}, folder, "tarnwick.png");

    auto *const console = window.findChild<PythonConsole *>();
    auto *const consoleDock = window.findChild<QDockWidget *>(QStringLiteral("dockPythonConsole"));
    consoleDock->show();
    for (const char *statement : {"import settings_kg1200 as kg",
                                  "sorted(kg.Settings().parameter_list('KG1200M'))[:4]",
                                  "[hex(v) for v in (74565, 4096)]",
                                  "kg.Settings().generate('KG1200M', {})['name']",
                                  "kg.Settings().part_numbers[5]"})
        enter(console, statement);
    complete = save(*consoleDock, {760, 380}, folder, "console.png") && complete;
    consoleDock->hide();

    auto *const editor = window.findChild<PythonEditor *>();
    auto *const editorDock = window.findChild<QDockWidget *>(QStringLiteral("dockPythonEditor"));
    editorDock->show();
    auto *const code = editor->findChild<QPlainTextEdit *>(QStringLiteral("edit"));
    code->find(QStringLiteral("def generate"));
    complete = save(*editorDock, {760, 520}, folder, "editor.png") && complete;
    editor->findChild<QCheckBox *>(QStringLiteral("dark"))->click();
    complete = save(*editorDock, {760, 520}, folder, "editor-dark.png") && complete;
    auto *const replace = editor->findChild<QDialog *>(QStringLiteral("PythonReplaceDlg"));
    complete = save(*replace, replace->size(), folder, "replace.png") && complete;
    replace->hide();

    AboutDlg about;
    complete = save(about, about.size(), folder, "about.png") && complete;
    if (!complete)
        QTextStream(stderr) << "A picture could not be written.\n";
    return complete ? 0 : 1;
}
