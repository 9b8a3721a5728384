// SPDX-License-Identifier: MIT
#include "session/functionstext.h"

#include "session/generationresult.h"

#include <algorithm>
#include <charconv>
#include <iterator>

// Thousands of lines are made on every change of a parameter, so all of it is appended to one text
// instead of being put together from pieces.

/// Such as " = 0x000a (10)".
static void appendValue(QString &text, quint32 value)
{
    char piece[32];
    char *end = std::copy_n(" = 0x", 5, piece);
    int digits = 4;
    while (digits < 8 && (value >> (4 * digits)) != 0)
        ++digits;
    while (--digits >= 0)
        *end++ = "0123456789abcdef"[(value >> (4 * digits)) & 0xF];
    // Up to 9 the two notations are the same.
    if (value > 9) {
        end = std::copy_n(" (", 2, end);
        end = std::to_chars(end, std::end(piece), value).ptr;
        *end++ = ')';
    }
    text += QLatin1String(piece, end);
}

static void appendIndentation(QString &text, int depth)
{
    text.resize(text.size() + 4 * depth, QLatin1Char(' '));
}

static void appendRegisterWrite(QString &text, const QVariantList &instruction)
{
    text += instruction.at(1).toString();
    appendValue(text, generationresult::registerValue(instruction.at(2)));
    if (instruction.size() == 4) {
        text += QLatin1String("  # ");
        text += instruction.at(3).toString();
    }
}

static void appendInstruction(QString &text, const QVariantList &instruction, int depth)
{
    const int size = instruction.size();
    if (size < 2 || size > 4)
        return;
    const QString operation = instruction.at(0).toString();
    if (operation == generationresult::comment && size == 2) {
        appendIndentation(text, depth);
        text += QLatin1String("#  ");
        text += instruction.at(1).toString();
        text += QLatin1Char('\n');
    } else if (operation == generationresult::registerWrite && size >= 3) {
        appendIndentation(text, depth);
        appendRegisterWrite(text, instruction);
        text += QLatin1Char('\n');
    }
}

QString instructionText(const QVariantList &instruction, int depth)
{
    QString text;
    appendInstruction(text, instruction, depth);
    return text;
}

QString functionsText(const QString &name, const QVariantList &functions)
{
    QString text = name + QLatin1Char('\n');
    for (const QVariant &element : functions) {
        const QVariantMap function = element.toMap();
        const QVariantList instructions = function.value(generationresult::instructions).toList();
        text += QLatin1Char('\n');
        text += function.value(generationresult::name).toString();
        text += QLatin1String(":\n");
        for (const QVariant &instruction : instructions)
            appendInstruction(text, instruction.toList(), 1);
    }
    return text;
}
