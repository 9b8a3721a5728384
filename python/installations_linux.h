// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// Where Linux keeps Python.
namespace installations {

/// The folders with a shared library of Python 3.\a minor: those of the dynamic linker, /usr/local and
/// /opt. The version managers in the user's home count only when none of these holds any version. A
/// folder whose only library does not tell its version comes with the highest one.
[[nodiscard]] std::vector<std::string> directories(int minor);

/// The libraries that exist in a folder, lowest version first, the library of the limited interface
/// last. A folder of programs stands for its installation. With an \a environment, only the versions
/// that it has packages for; with a \a minor above 0, only that version, or the library of the limited
/// interface where a folder holds nothing else.
[[nodiscard]] std::vector<std::string>
libraries(const std::string &directory, const std::string &environment, int minor);

/// Whether the dynamic linker looks into a folder, so that what is there was installed for all.
[[nodiscard]] bool isSystems(const std::string &directory);

/// The prefix of an installation, given it or its folder of programs.
[[nodiscard]] std::string prefix(const std::string &home);

[[nodiscard]] bool holdsStandardLibrary(const std::string &prefix, int minor);

/// Where packages are added to an installation, Debian's folders included.
[[nodiscard]] std::vector<std::string> packageDirectories(const std::string &prefix, int minor);

} // namespace installations
