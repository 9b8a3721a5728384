// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QVariant>

/// The generation result: what a generator's generate() returned, as the map made from its JSON
/// object. It is never turned into structures: missing or ill-typed data reads as empty text, an
/// empty list, an empty map or 0 through the variant's conversions.
///
/// - name: text; functions: list of {name, instructions}; notes and errors: lists of text;
/// - parameters: map from parameter name to {value}, what the generator used;
/// - inputs: the same shape, what it was given; added by the mode window.
///
/// A stored result is empty (the generation failed) or holds all six keys.
namespace generationresult {

inline const QString name = QStringLiteral("name");
inline const QString functions = QStringLiteral("functions");
inline const QString notes = QStringLiteral("notes");
inline const QString errors = QStringLiteral("errors");
inline const QString parameters = QStringLiteral("parameters");
inline const QString inputs = QStringLiteral("inputs");
inline const QString instructions = QStringLiteral("instructions");
inline const QString value = QStringLiteral("value");

inline const QString comment = QStringLiteral("COMMENT");
inline const QString registerWrite = QStringLiteral("REG_WRITE");

/// The 32 bits that an instruction writes: a number rounded to the nearest integer and taken modulo
/// 2^32, or text holding a decimal number; 0 for anything else.
[[nodiscard]] quint32 registerValue(const QVariant &number);

} // namespace generationresult
