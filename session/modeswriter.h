// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QVariant>

/// Makes the texts of the exports from the results of all modes, in the order in which the modes
/// were created. A result is a map, empty for a mode whose generation failed.
///
/// Every text is UTF-8 with line feeds. A mode or function name is written by the first correct
/// mode that has it: in one text both kinds of name count as the same.
class ModesWriter final
{
public:
    explicit ModesWriter(QVariantList results);

    /// A section per mode that lists its inputs and loads its functions, then a hidden section per
    /// function with the register writes. Empty without modes.
    [[nodiscard]] QByteArray iniText() const;

    /// The Python module with a function per mode and a private one per register-setting function.
    [[nodiscard]] QByteArray initializerPython() const;

    /// The INI text that calls the mode functions of the module. Empty without a correct mode.
    [[nodiscard]] QByteArray initializerIni() const;

private:
    const QVariantList m_results;
};
