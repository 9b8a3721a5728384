// SPDX-License-Identifier: MIT
#include "session/generationresult.h"

#include <cmath>

static quint32 roundedModulo(double number)
{
    if (!std::isfinite(number))
        return 0;
    // Adding a half before cutting off would itself round, for instance just under a half.
    double rounded = std::floor(number);
    if (number - rounded >= 0.5)
        rounded += 1;
    constexpr double modulus = 4294967296.0;
    // A double holds all of these numbers exactly; a 64-bit integer holds the remainder.
    return static_cast<quint32>(static_cast<qint64>(std::fmod(rounded, modulus)));
}

quint32 generationresult::registerValue(const QVariant &number)
{
    switch (number.userType()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
        return static_cast<quint32>(number.toLongLong());
    case QMetaType::ULongLong:
        return static_cast<quint32>(number.toULongLong());
    case QMetaType::Double:
    case QMetaType::Float:
        return roundedModulo(number.toDouble());
    case QMetaType::QString:
        return static_cast<quint32>(number.toString().toULongLong());
    default:
        return 0;
    }
}
