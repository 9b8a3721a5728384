// SPDX-License-Identifier: MIT
#pragma once

#include "python/platform.h"

#include <string>
#include <vector>

/// The search for the Python 3 library: one that is in the process already, then that of a given
/// environment, then the installations of the machine from the lowest version upwards. The first one
/// that loads and can be started wins; nothing else is left changed. Failures are silent.
class PythonLocator final
{
public:
    /// How the library was found.
    enum class EnvironmentKind { Plain, ConfigurationFile, ScriptsLayout };

    explicit PythonLocator(Platform &platform);

    /// Looks for a library and loads it. \a givenDirectory is an environment to prefer; empty for
    /// none. False when there is no usable library.
    [[nodiscard]] bool locate(const std::string &givenDirectory);

    [[nodiscard]] Platform::Library library() const { return m_library; }
    [[nodiscard]] EnvironmentKind environmentKind() const { return m_environmentKind; }
    /// The environment that the library was taken from; empty for an installation.
    [[nodiscard]] const std::string &environmentDirectory() const { return m_environmentDirectory; }
    /// The installation that the environment was made from; empty when it is not known.
    [[nodiscard]] const std::string &homeDirectory() const { return m_homeDirectory; }
    /// Where an installation lies that was moved since it was built, and has to be told; else empty.
    [[nodiscard]] const std::string &movedTo() const { return m_movedTo; }
    [[nodiscard]] bool includeSystemSitePackages() const { return m_includeSystemSitePackages; }

    /// The N of a version text that begins with "3.N".
    [[nodiscard]] static int minorVersion(const std::string &version);
    /// False when PYTHONHOME would end the process at the start of Python 3.\a minor.
    [[nodiscard]] static bool isHomeUsable(Platform &platform, int minor);

private:
    [[nodiscard]] bool alreadyLoadedLibrary();
    void takeLoaded(const std::string &path, Platform::Library library);
    void tryGivenDirectory(std::string directory);
    [[nodiscard]] bool tryVirtualEnvironment(const std::string &directory);
    [[nodiscard]] bool tryScriptsLayout(const std::string &directory);
    void
    setEnvironment(EnvironmentKind kind, const std::string &directory, const std::string &home);
    [[nodiscard]] bool isCondaEnvironment(const std::string &directory);
    [[nodiscard]] std::string readEnvironmentConfig(const std::string &directory,
                                                    const std::string &key);
    [[nodiscard]] bool readEnvironmentConfigFlag(const std::string &directory,
                                                 const std::string &key);

    [[nodiscard]] bool buildCandidateList();
    [[nodiscard]] std::string
    registeredDirectory(int minor, const std::string &suffix, const std::string &valueName);
    [[nodiscard]] bool nextCandidateDirectory(std::string *directory);

    [[nodiscard]] bool loadLibraryIn(const std::string &directory, int minor = 0);
    [[nodiscard]] Platform::Library loadLibraryAt(const std::string &path);
    [[nodiscard]] bool isUsable(const std::string &path, Platform::Library library);
    [[nodiscard]] bool survivesStart(const std::string &path, Platform::Library library, int minor);

    Platform &m_platform;
    Platform::Library m_library = nullptr;
    EnvironmentKind m_environmentKind = EnvironmentKind::Plain;
    std::string m_environmentDirectory;
    std::string m_homeDirectory;
    std::string m_movedTo;
    bool m_includeSystemSitePackages = false;
    // Each one a list of directories joined by ';': the installation, then its module path.
    std::vector<std::string> m_candidates;
    // The version that each one is looked for; 0 where the registry tells.
    std::vector<int> m_candidateVersions;
    std::size_t m_candidateIndex = 0;
    std::size_t m_directoryIndex = 0;
};
