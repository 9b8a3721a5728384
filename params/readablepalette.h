// SPDX-License-Identifier: MIT
#pragma once

class QColor;
class QPalette;

/// What a text needs against its ground; a little above the usual 4.5, as styles shade their grounds.
constexpr double readableContrast = 5.0;

/// How well \a a is told from \a b: from 1, not at all, to 21, black on white.
[[nodiscard]] double contrast(const QColor &a, const QColor &b);

/// The application's palette, in which, on dark grounds, the texts of disabled widgets are as close to
/// those of enabled ones as they have to be to be read.
[[nodiscard]] QPalette readablePalette();
