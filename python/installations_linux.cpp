// SPDX-License-Identifier: MIT
#include "python/installations_linux.h"

#include <glob.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace {

constexpr int lowestMinorVersion = 4;
constexpr int highestMinorVersion = 29;
constexpr char limitedLibrary[] = "/libpython3.so";
// A configuration file of the dynamic linker may include itself.
constexpr int deepestInclude = 10;

bool exists(const std::string &path)
{
    struct stat status;
    return stat(path.c_str(), &status) == 0;
}

std::vector<std::string> matches(const std::string &pattern)
{
    std::vector<std::string> paths;
    glob_t found;
    if (glob(pattern.c_str(), 0, nullptr, &found) == 0)
        paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    globfree(&found);
    return paths;
}

std::string withoutSlash(const std::string &directory)
{
    return directory.substr(0, directory.find_last_not_of('/') + 1);
}

/// Up to 3.7 the regular build carries the letter of its memory allocator.
std::string libraryName(int minor)
{
    return "/libpython3." + std::to_string(minor) + (minor <= 7 ? "m" : "") + ".so.1.0";
}

std::vector<int> versionsIn(const std::string &directory)
{
    std::vector<int> versions;
    for (int minor = lowestMinorVersion; minor <= highestMinorVersion; ++minor) {
        if (exists(directory + libraryName(minor)))
            versions.push_back(minor);
    }
    return versions;
}

/// Adds the folders that a configuration file of the dynamic linker names, in its order.
void readLinkerConfiguration(const std::string &path,
                             std::vector<std::string> &directories,
                             int depth = 0)
{
    if (depth > deepestInclude)
        return;
    const std::string folder = path.substr(0, path.find_last_of('/') + 1);
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line.substr(0, line.find('#')));
        std::string word;
        words >> word;
        if (word == "include") {
            while (words >> word) {
                const std::string pattern = word.front() == '/' ? word : folder + word;
                for (const std::string &included : matches(pattern))
                    readLinkerConfiguration(included, directories, depth + 1);
            }
        } else if (!word.empty() && word.front() == '/') {
            directories.push_back(word);
        }
    }
}

struct Installation
{
    std::string directory;
    std::vector<int> versions;
};

/// Those of \a directories that hold a library, each once. Conda keeps its own house.
std::vector<Installation> installationsIn(const std::vector<std::string> &directories)
{
    std::vector<Installation> found;
    for (const std::string &directory : directories) {
        const auto isSame = [&](const Installation &other) { return other.directory == directory; };
        if (std::any_of(found.begin(), found.end(), isSame) || exists(directory + "/../conda-meta"))
            continue;
        const std::vector<int> versions = versionsIn(directory);
        if (!versions.empty() || exists(directory + limitedLibrary))
            found.push_back({directory, versions});
    }
    return found;
}

/// Where the dynamic linker looks for libraries.
const std::vector<std::string> &linkerDirectories()
{
    static const std::vector<std::string> found = [] {
        std::vector<std::string> directories;
        readLinkerConfiguration("/etc/ld.so.conf", directories);
        directories.insert(directories.end(),
                           {"/lib/" TARNWICK_MULTIARCH,
                            "/usr/lib/" TARNWICK_MULTIARCH,
                            "/lib",
                            "/usr/lib",
                            "/lib64",
                            "/usr/lib64"});
        return directories;
    }();
    return found;
}

std::vector<Installation> findInstallations()
{
    std::vector<std::string> system = linkerDirectories();
    system.insert(system.end(), {"/usr/local/lib", "/usr/local/lib64"});
    for (const char *pattern : {"/opt/lib", "/opt/*/lib", "/opt/*/*/lib"}) {
        for (const std::string &directory : matches(pattern))
            system.push_back(directory);
    }
    std::vector<Installation> found = installationsIn(system);
    const char *const home = std::getenv("HOME");
    if (!found.empty() || !home)
        return found;
    std::vector<std::string> managed;
    for (const char *pattern : {"/.pyenv/versions/*/lib",
                                "/.asdf/installs/python/*/lib",
                                "/.local/share/mise/installs/python/*/lib",
                                "/.local/share/uv/python/*/lib"}) {
        for (const std::string &directory : matches(home + std::string(pattern)))
            managed.push_back(directory);
    }
    return installationsIn(managed);
}

} // namespace

std::vector<std::string> installations::directories(int minor)
{
    static const std::vector<Installation> found = findInstallations();
    std::vector<std::string> directories;
    for (const auto &[directory, versions] : found) {
        if (versions.empty() ? minor == highestMinorVersion
                             : std::count(versions.begin(), versions.end(), minor) > 0)
            directories.push_back(directory);
    }
    return directories;
}

bool installations::isSystems(const std::string &directory)
{
    const std::vector<std::string> &system = linkerDirectories();
    return std::find(system.begin(), system.end(), directory) != system.end();
}

std::string installations::prefix(const std::string &home)
{
    const std::string folder = withoutSlash(home);
    // Where the two are one folder, as everywhere by now.
    if (folder == "/bin")
        return "/usr";
    const std::string programs = "/bin";
    return folder.size() > programs.size()
            && folder.compare(folder.size() - programs.size(), programs.size(), programs) == 0
        ? folder.substr(0, folder.size() - programs.size())
        : folder;
}

std::vector<std::string>
installations::libraries(const std::string &directory, const std::string &environment, int minor)
{
    std::vector<std::string> directories{withoutSlash(directory)};
    if (const std::string base = prefix(directory); base != directories.front())
        directories = {base + "/lib", base + "/lib/" TARNWICK_MULTIARCH, base + "/lib64"};
    std::vector<std::string> paths;
    for (const std::string &place : directories) {
        for (const int version : versionsIn(place)) {
            const bool isWanted = minor == 0 || version == minor;
            if (isWanted
                && (environment.empty()
                    || exists(environment + "/lib/python3." + std::to_string(version))))
                paths.push_back(place + libraryName(version));
        }
    }
    for (const std::string &place : directories) {
        if (exists(place + limitedLibrary) && (minor == 0 || paths.empty()))
            paths.push_back(place + limitedLibrary);
    }
    return paths;
}

bool installations::holdsStandardLibrary(const std::string &prefix, int minor)
{
    const std::string tail = "/python3." + std::to_string(minor) + "/os.py";
    return !prefix.empty() && (exists(prefix + "/lib" + tail) || exists(prefix + "/lib64" + tail));
}

std::vector<std::string> installations::packageDirectories(const std::string &prefix, int minor)
{
    const std::string version = "python3." + std::to_string(minor);
    std::vector<std::string> directories{prefix + "/lib/" + version + "/site-packages"};
    for (const std::string &added : {prefix + "/local/lib/" + version + "/dist-packages",
                                     prefix + "/lib/" + version + "/dist-packages",
                                     prefix + "/lib/python3/dist-packages"}) {
        if (exists(added))
            directories.push_back(added);
    }
    return directories;
}
