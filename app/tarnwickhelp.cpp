// SPDX-License-Identifier: MIT
//
// The main window's Help menu.

#include "app/tarnwick.h"

#include "app/aboutdlg.h"

#include <QDesktopServices>
#include <QUrl>

void Tarnwick::on_actionAbout_triggered()
{
    AboutDlg(this).exec();
}

void Tarnwick::on_actionUserGuide_triggered()
{
    const QUrl guide(QStringLiteral("https://tarnwick.example/guide/"), QUrl::TolerantMode);
    if (QDesktopServices::openUrl(guide))
        return;
    warn(QStringLiteral("Help File Failure"),
         QStringLiteral("Unable to Open the Help file - network access required to %1.")
             .arg(guide.host()));
}
