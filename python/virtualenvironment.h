// SPDX-License-Identifier: MIT
#pragma once

#include "python/platform.h"

#include <string>
#include <vector>

/// The Python texts that make an interpreter, started from the library of the base installation, look
/// like one that was started inside a virtual environment.
struct VirtualEnvironment
{
    std::string directory;
    /// The base installation, as the environment's configuration names it.
    std::string home;
    bool includeSystemSitePackages = false;
    /// The N of Python 3.N.
    int minorVersion = 0;

    /// Statements about sys, each to be run on its own.
    [[nodiscard]] std::vector<std::string> statements(Platform &platform) const;
    /// What comes after them: runs site again, and takes the base installation's packages off
    /// sys.path or moves them to its end. One script for each folder of packages.
    [[nodiscard]] std::vector<std::string> scripts(Platform &platform) const;
};
