// SPDX-License-Identifier: MIT
#include "tools/fixedfont.h"

#include <QFontDatabase>

QFont fixedFont(int points)
{
    const QString family = QStringLiteral("Consolas");
    QFont font(family, points);
    if (!QFontDatabase().hasFamily(family))
        font.setFamily(QFontDatabase::systemFont(QFontDatabase::FixedFont).family());
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    return font;
}
