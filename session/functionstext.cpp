// SPDX-License-Identifier: MIT
#include "session/functionstext.h"

#include "session/generationresult.h"

// Thousands of lines are made on every change of a parameter, so all of it is appended to one text
// instead of being put together from pieces.

static void appendHexadecimal(QString &text, quint32 value)
{
    constexpr char digits[] = "0123456789abcdef";
    int count = 4;
    while (count < 8 && (value >> (4 * count)) != 0)
        ++count;
    for (int i = count - 1; i >= 0; --i)
        text += QLatin1Char(digits[(value >> (4 * i)) & 0xF]);
}

static void appendIndentation(QString &text, int depth)
{
    text.resize(text.size() + 4 * depth, QLatin1Char(' '));
}

static void appendRegisterWrite(QString &text, const QVariantList &instruction)
{
    const quint32 value = generationresult::registerValue(instruction.at(2));
    text += instruction.at(1).toString();
    text += QLatin1String(" = 0x");
    appendHexadecimal(text, value);
    // Up to 9 the two notations are the same.
    if (value > 9) {
        text += QLatin1String(" (");
        text += QString::number(value);
        text += QLatin1Char(')');
    }
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
        constexpr int usualLineLength = 40;
        text.reserve(text.size() + usualLineLength * (instructions.size() + 1));
        text += QLatin1Char('\n');
        text += function.value(generationresult::name).toString();
        text += QLatin1String(":\n");
        for (const QVariant &instruction : instructions)
            appendInstruction(text, instruction.toList(), 1);
    }
    return text;
}
