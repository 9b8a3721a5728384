// SPDX-License-Identifier: MIT
#include "tools/fixedfont.h"

QFont fixedFont(int points)
{
    QFont font(QStringLiteral("Consolas"), points);
    // What the font matching goes by where there is no such family.
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
    return font;
}
