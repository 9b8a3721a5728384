// SPDX-License-Identifier: MIT
#pragma once

#include <QRegularExpression>

/// Whether a text is what the pattern says, in which "..." stands for anything.
inline bool matches(const QString &text, const QString &pattern)
{
    const QString expression = QRegularExpression::escape(pattern).replace("\\.\\.\\.", ".*");
    const auto option = QRegularExpression::DotMatchesEverythingOption;
    return QRegularExpression("\\A" + expression + "\\z", option).match(text).hasMatch();
}
