// SPDX-License-Identifier: MIT
#include "python/pythonlocator.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <map>
#include <tuple>

namespace {

constexpr int lowestMinorVersion = 4;
constexpr int highestMinorVersion = 29;

std::string lowerCase(std::string text)
{
    for (char &character : text)
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    return text;
}

std::string trimmed(const std::string &text)
{
    constexpr char blanks[] = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos
        ? std::string()
        : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// WinPython is a folder that is moved about: its interpreter is told where it lies.
bool isWinPythonPath(const std::string &path)
{
    const std::string lower = lowerCase(path);
    const auto occursInside = [&](const char *word) {
        return lower.find(word, 1) != std::string::npos;
    };
    return occursInside("winpython") || occursInside("wpy64");
}

/// Variables that one attempt sets, for the case that it fails. One that was not set at all differs
/// from one that was set and empty.
class SavedEnvironment final
{
public:
    explicit SavedEnvironment(Platform &platform)
        : m_platform(platform)
    {
    }
    void set(const char *name, const std::string &value)
    {
        m_values[name] = m_platform.environmentVariable(name);
        m_platform.setEnvironmentVariable(name, value);
    }
    void restore()
    {
        for (const auto &[name, value] : m_values)
            m_platform.setEnvironmentVariable(name.c_str(), value);
    }

private:
    Platform &m_platform;
    std::map<std::string, std::optional<std::string>> m_values;
};

/// The library's own version text; empty when it does not tell.
std::string versionOf(Platform &platform, Platform::Library library)
{
    const auto version =
        reinterpret_cast<const char *(*)()>(platform.findExport(library, "Py_GetVersion"));
    return version ? version() : std::string();
}

/// A build without the interpreter lock has other objects and no stable interface.
bool isFreeThreaded(const std::string &version)
{
    return version.find("free-threading") != std::string::npos;
}

} // namespace

PythonLocator::PythonLocator(Platform &platform)
    : m_platform(platform)
{
}

int PythonLocator::minorVersion(const std::string &version)
{
    return std::atoi(version.c_str() + std::min<std::size_t>(version.size(), 2));
}

bool PythonLocator::isHomeUsable(Platform &platform, int minor)
{
    const std::optional<std::string> home = platform.environmentVariable("PYTHONHOME");
    return !home || home->empty() || platform.holdsStandardLibrary(*home, minor);
}

bool PythonLocator::locate(const std::string &givenDirectory)
{
    // Two of them in one process would call each other's functions.
    if (m_library || alreadyLoadedLibrary())
        return m_library != nullptr;
    if (!givenDirectory.empty())
        tryGivenDirectory(givenDirectory);
    if (m_library)
        return true;

    m_candidateIndex = 0;
    m_directoryIndex = 0;
    if (!buildCandidateList())
        return false;
    while (!m_library && m_candidateIndex < m_candidates.size()) {
        std::string directory;
        if (nextCandidateDirectory(&directory)) {
            std::ignore = loadLibraryIn(directory, m_candidateVersions[m_candidateIndex]);
        } else {
            ++m_candidateIndex;
            m_directoryIndex = 0;
        }
    }
    return m_library != nullptr;
}

/// True when the process has one, which is taken if it can be started.
bool PythonLocator::alreadyLoadedLibrary()
{
    const std::string prefix = m_platform.pythonLibraryPrefix();
    for (const std::string &path : m_platform.loadedModules()) {
        const std::string name = path.substr(path.find_last_of("/\\") + 1);
        if (lowerCase(name.substr(0, prefix.size())) != prefix)
            continue;
        if (const Platform::Library library = m_platform.openLoadedModule(path)) {
            takeLoaded(path, library);
            return true;
        }
    }
    const Platform::Library program = m_platform.programWithPython();
    if (program)
        takeLoaded({}, program);
    return program != nullptr;
}

void PythonLocator::takeLoaded(const std::string &path, Platform::Library library)
{
    const std::string version = versionOf(m_platform, library);
    if (isFreeThreaded(version))
        return;
    const int minor = minorVersion(version);
    SavedEnvironment environment(m_platform);
    // The start itself does without such a home.
    if (!isHomeUsable(m_platform, minor))
        environment.set("PYTHONHOME", {});
    if (survivesStart(path, library, minor))
        m_library = library;
    environment.restore();
}

void PythonLocator::tryGivenDirectory(std::string directory)
{
    std::replace(directory.begin(), directory.end(), '/', m_platform.separator());
    if (isCondaEnvironment(directory) || tryVirtualEnvironment(directory)
        || tryScriptsLayout(directory)) {
        return;
    }
    if (loadLibraryIn(directory))
        m_environmentDirectory = directory;
}

bool PythonLocator::tryVirtualEnvironment(const std::string &directory)
{
    const std::string home = readEnvironmentConfig(directory, "home");
    if (home.empty())
        return false;
    setEnvironment(EnvironmentKind::ConfigurationFile, directory, home);
    if (!loadLibraryIn(home)) {
        setEnvironment(EnvironmentKind::Plain, {}, {});
        return false;
    }
    m_includeSystemSitePackages =
        readEnvironmentConfigFlag(directory, "include-system-site-packages");
    return true;
}

bool PythonLocator::tryScriptsLayout(const std::string &directory)
{
    setEnvironment(EnvironmentKind::ScriptsLayout, directory, directory);
    if (loadLibraryIn(m_platform.scriptsDirectory(directory)))
        return true;
    setEnvironment(EnvironmentKind::Plain, {}, {});
    return false;
}

void PythonLocator::setEnvironment(EnvironmentKind kind,
                                   const std::string &directory,
                                   const std::string &home)
{
    m_environmentKind = kind;
    m_environmentDirectory = directory;
    m_homeDirectory = home;
}

bool PythonLocator::isCondaEnvironment(const std::string &directory)
{
    return m_platform.isDirectory(directory + m_platform.separator() + "conda-meta");
}

std::string PythonLocator::readEnvironmentConfig(const std::string &directory,
                                                 const std::string &key)
{
    const std::string text =
        m_platform.readTextFile(directory + m_platform.separator() + "pyvenv.cfg").value_or("");
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find_first_of("\r\n", start), text.size());
        const std::string line = text.substr(start, end - start);
        const std::size_t equals = line.find('=');
        if (equals != std::string::npos && trimmed(line.substr(0, equals)) == key)
            return trimmed(line.substr(equals + 1));
        start = end + 1;
    }
    return {};
}

bool PythonLocator::readEnvironmentConfigFlag(const std::string &directory, const std::string &key)
{
    return lowerCase(readEnvironmentConfig(directory, key)) == "true";
}

bool PythonLocator::buildCandidateList()
{
    if (!m_candidates.empty())
        return true;
    const auto append = [](std::string &candidate, const std::string &directory) {
        if (!directory.empty())
            candidate += candidate.empty() ? directory : ';' + directory;
    };
    const auto keep = [this](const std::string &candidate, int minor) {
        if (candidate.empty())
            return;
        m_candidates.push_back(candidate);
        m_candidateVersions.push_back(minor);
    };
    for (int minor = lowestMinorVersion; minor <= highestMinorVersion; ++minor) {
        for (const char *suffix : {"", "-64"}) {
            std::string candidate;
            for (const char *valueName : {"InstallPath", "PythonPath"})
                append(candidate, registeredDirectory(minor, suffix, valueName));
            keep(candidate, 0);
        }
        std::string candidate;
        for (const std::string &directory : m_platform.installedDirectories(minor))
            append(candidate, directory);
        keep(candidate, minor);
    }
    return !m_candidates.empty();
}

/// What an installation registered, or nothing. It may be a ';'-separated list itself.
std::string PythonLocator::registeredDirectory(int minor,
                                               const std::string &suffix,
                                               const std::string &valueName)
{
    const std::string tail =
        "Python\\PythonCore\\3." + std::to_string(minor) + suffix + '\\' + valueName + '\\';
    std::optional<std::string> text;
    for (const char *root : {"Software\\", "Software\\Wow6432Node\\"}) {
        for (const Platform::Hive hive :
             {Platform::Hive::LocalMachine, Platform::Hive::CurrentUser}) {
            if (!text)
                text = m_platform.registeredText(hive, root + tail);
        }
    }
    if (!text)
        return {};
    const std::string directory = text->substr(0, text->find('\0'));
    return isCondaEnvironment(directory) ? std::string() : directory;
}

/// The next directory of the present candidate; false after its last one.
bool PythonLocator::nextCandidateDirectory(std::string *directory)
{
    const std::string &candidate = m_candidates[m_candidateIndex];
    std::size_t start = 0;
    for (std::size_t skipped = 0; skipped < m_directoryIndex; ++skipped) {
        const std::size_t end = candidate.find(';', start);
        if (end == std::string::npos)
            return false;
        start = end + 1;
    }
    if (start >= candidate.size())
        return false;
    *directory = candidate.substr(start, candidate.find(';', start) - start);
    ++m_directoryIndex;
    return true;
}

bool PythonLocator::loadLibraryIn(const std::string &directory, int minor)
{
    for (const std::string &path :
         m_platform.pythonLibraries(directory, m_environmentDirectory, minor)) {
        m_library = loadLibraryAt(path);
        if (m_library)
            return true;
    }
    return false;
}

/// One attempt, prepared and cleaned up.
Platform::Library PythonLocator::loadLibraryAt(const std::string &path)
{
    const std::string directory = path.substr(0, path.find_last_of("/\\") + 1);
    const std::string currentDirectory = m_platform.currentDirectory();
    // One that has no name could not be returned to.
    if (!currentDirectory.empty())
        m_platform.setCurrentDirectory(directory);
    SavedEnvironment environment(m_platform);
    if (m_environmentKind != EnvironmentKind::Plain) {
        environment.set("VIRTUAL_ENV", m_environmentDirectory);
        environment.set("PYTHONHOME", {});
    } else if (isWinPythonPath(path)) {
        environment.set("PYTHONPATH", directory);
        environment.set("PYTHONHOME", directory);
    }
    const Platform::Library library = m_platform.loadLibrary(path);
    if (!currentDirectory.empty())
        m_platform.setCurrentDirectory(currentDirectory);
    if (library && isUsable(path, library)) {
        m_platform.keepLibrary(path);
        return library;
    }
    if (library)
        m_platform.unloadLibrary(library);
    environment.restore();
    return nullptr;
}

/// Whether a library that was loaded is complete and can be started.
bool PythonLocator::isUsable(const std::string &path, Platform::Library library)
{
    const std::string version = versionOf(m_platform, library);
    const int minor = minorVersion(version);
    // What the search itself chose as home is mended before the start; the user's choice stands.
    const bool ownHome = isWinPythonPath(path) && m_environmentKind == EnvironmentKind::Plain;
    return m_platform.findExport(library, "PyExc_AttributeError")
        && m_platform.findExport(library, "Py_CompileString") && !isFreeThreaded(version)
        && (ownHome || isHomeUsable(m_platform, minor)) && survivesStart(path, library, minor);
}

/// As it is, or told where it lies.
bool PythonLocator::survivesStart(const std::string &path, Platform::Library library, int minor)
{
    if (m_platform.survivesStart(path, library))
        return true;
    const char separator = m_platform.separator();
    const std::string directory = path.substr(0, path.rfind(separator));
    const std::string prefix = directory.substr(0, directory.rfind(separator));
    if (!m_platform.holdsStandardLibrary(prefix, minor))
        return false;
    SavedEnvironment environment(m_platform);
    environment.set("PYTHONHOME", prefix);
    if (m_platform.survivesStart(path, library))
        m_movedTo = prefix;
    environment.restore();
    return !m_movedTo.empty();
}
