// SPDX-License-Identifier: MIT
#include "python/platform.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr int lowestMinorVersion = 4;
constexpr int highestMinorVersion = 29;

// Extension modules don't name the interpreter's library: they expect its symbols in the process.
// NODELETE because a thread of the interpreter may run on after everybody let go of the library.
constexpr int loadFlags = RTLD_NOW | RTLD_GLOBAL | RTLD_NODELETE;

const char *baseName(const char *path)
{
    const char *const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

int collectPythonLibrary(dl_phdr_info *info, std::size_t, void *paths)
{
    constexpr char prefix[] = "libpython3";
    if (std::strncmp(baseName(info->dlpi_name), prefix, sizeof prefix - 1) == 0)
        static_cast<std::vector<std::string> *>(paths)->emplace_back(info->dlpi_name);
    return 0;
}

Platform::Library loadMinorVersion(int minor)
{
    // Up to 3.7 the regular build carries the letter of its memory allocator.
    const std::string name = "libpython3." + std::to_string(minor) + (minor <= 7 ? "m" : "");
    return dlopen((name + ".so.1.0").c_str(), loadFlags);
}

/// The N of python3.N that the link /usr/bin/python3 names, or -1.
int defaultMinorVersion()
{
    char target[PATH_MAX];
    const ssize_t length = readlink("/usr/bin/python3", target, sizeof target - 1);
    if (length < 0)
        return -1;
    target[length] = '\0';
    constexpr char prefix[] = "python3.";
    const char *const name = baseName(target);
    if (std::strncmp(name, prefix, sizeof prefix - 1) != 0)
        return -1;
    return std::atoi(name + sizeof prefix - 1);
}

class LinuxPlatform final : public Platform
{
public:
    Library loadedPython() override
    {
        std::vector<std::string> paths;
        dl_iterate_phdr(collectPythonLibrary, &paths);
        for (const std::string &path : paths) {
            if (Library library = dlopen(path.c_str(), loadFlags | RTLD_NOLOAD))
                return library;
        }
        // A host program may contain the interpreter itself.
        return dlsym(RTLD_DEFAULT, "Py_IsInitialized") ? dlopen(nullptr, RTLD_NOW) : nullptr;
    }

    Library loadDefaultPython() override
    {
        if (const int minor = defaultMinorVersion(); minor >= lowestMinorVersion) {
            if (Library library = loadMinorVersion(minor))
                return library;
        }
        for (int minor = highestMinorVersion; minor >= lowestMinorVersion; --minor) {
            if (Library library = loadMinorVersion(minor))
                return library;
        }
        return nullptr;
    }

    void *findExport(Library library, const char *name) override { return dlsym(library, name); }

    bool fileExists(const std::string &path) override
    {
        struct stat status;
        return stat(path.c_str(), &status) == 0;
    }

    std::optional<std::string> environmentVariable(const char *name) override
    {
        const char *const value = std::getenv(name);
        return value ? std::optional<std::string>(value) : std::nullopt;
    }

    void setEnvironmentVariable(const char *name, const std::optional<std::string> &value) override
    {
        if (value)
            setenv(name, value->c_str(), 1);
        else
            unsetenv(name);
    }

    void useUtf8Locale() override
    {
        for (const char *name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
            const char *const value = std::getenv(name);
            if (value && *value)
                return;
        }
        setenv("LC_CTYPE", "C.UTF-8", 1);
    }

    void ignoreWriteSignals() override
    {
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGXFSZ, SIG_IGN);
    }

    long processId() override { return getpid(); }

    void writeToDescriptor(int descriptor, const char *text, std::size_t size) override
    {
        while (size > 0) {
            const ssize_t written = write(descriptor, text, size);
            if (written < 0 && errno == EINTR)
                continue;
            if (written <= 0)
                return;
            text += written;
            size -= static_cast<std::size_t>(written);
        }
    }

    void endProcess(int status) override { _exit(status); }
};

} // namespace

Platform &Platform::native()
{
    static LinuxPlatform platform;
    return platform;
}
