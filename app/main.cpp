// SPDX-License-Identifier: MIT
#include "app/identity.h"
#include "app/tarnwick.h"
#include "python/platform.h"

#include <QApplication>
#include <QCommandLineParser>

int main(int argc, char *argv[])
{
    Platform::native().useUtf8Locale();
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    const QApplication application(argc, argv);
    applyIdentity();
    // The name of the desktop entry, whose icon the windows have.
    QApplication::setDesktopFileName(QStringLiteral("tarnwick"));

    QCommandLineParser parser;
    parser.addPositionalArgument(
        QStringLiteral("file"),
        QCoreApplication::translate("main", "Python library file for directory to open."));
    parser.process(application);
    const QStringList arguments = parser.positionalArguments();

    Tarnwick window;
    if (!arguments.isEmpty() && !window.startSession(arguments.first()))
        return 0;
    window.show();
    return QApplication::exec();
}
