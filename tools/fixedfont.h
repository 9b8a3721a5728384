// SPDX-License-Identifier: MIT
#pragma once

#include <QFont>

/// The font of source text in \a points: Consolas, or the machine's own fixed-pitch font.
[[nodiscard]] QFont fixedFont(int points);
