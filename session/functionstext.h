// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariantList>

/// The register-setting functions of a result as people read them: the mode's name, then each
/// function after an empty line, with one line per instruction. Every line ends in a line feed.
[[nodiscard]] QString functionsText(const QString &name, const QVariantList &functions);

/// The line of one instruction, indented by \a depth times four blanks and ended by a line feed.
/// Empty for instructions that are not shown: unknown operations, and known ones with a wrong number
/// of elements.
[[nodiscard]] QString instructionText(const QVariantList &instruction, int depth);
