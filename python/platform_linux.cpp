// SPDX-License-Identifier: MIT
#include "python/platform.h"

#include "python/installations_linux.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <tuple>
#include <vector>

namespace {

// Extension modules don't name the interpreter's library: they expect its symbols in the process.
// NODELETE because a thread of the interpreter may run on after everybody let go of the library.
constexpr int keepFlags = RTLD_NOW | RTLD_GLOBAL | RTLD_NODELETE | RTLD_NOLOAD;

int collectModule(dl_phdr_info *info, std::size_t, void *paths)
{
    // A library may have been preloaded by a relative path.
    const char *const name = info->dlpi_name;
    char path[PATH_MAX];
    const bool isRelative = *name != '/' && std::strchr(name, '/') && realpath(name, path);
    static_cast<std::vector<std::string> *>(paths)->emplace_back(isRelative ? path : name);
    return 0;
}

/// Variables of the interpreter that no value of theirs makes it end its start, and its home, which is
/// looked at by itself.
constexpr const char *harmlessVariables[] = {"PYTHONDONTWRITEBYTECODE",
                                             "PYTHONFAULTHANDLER",
                                             "PYTHONHOME",
                                             "PYTHONNOUSERSITE",
                                             "PYTHONOPTIMIZE",
                                             "PYTHONSTARTUP",
                                             "PYTHONUNBUFFERED",
                                             "PYTHONUSERBASE",
                                             "PYTHONWARNINGS"};

/// Modules that the interpreter ends its start without: encodings in all versions, the others in some
/// of 3.6 to 3.10.
constexpr const char *startModules[] = {"_bootlocale",
                                        "_collections_abc",
                                        "_sitebuiltins",
                                        "_weakrefset",
                                        "abc",
                                        "codecs",
                                        "encodings",
                                        "genericpath",
                                        "io",
                                        "os",
                                        "posixpath",
                                        "site",
                                        "stat",
                                        "sysconfig"};

/// Whether a place of PYTHONPATH hides one of them, or may, being an archive.
bool mayHideStartModule(const std::string &place)
{
    struct stat status;
    if (stat(place.c_str(), &status) != 0)
        return errno == ENOTDIR;
    if (!S_ISDIR(status.st_mode))
        return true;
    for (const std::string module : startModules) {
        for (const char *const tail : {".py", ".pyc", "/__init__.py", "/__init__.pyc"}) {
            if (access((place + '/' + module + tail).c_str(), F_OK) == 0)
                return true;
        }
    }
    return false;
}

/// Whether a value of PYTHONPATH could make the interpreter end its start. One that only leads to more
/// modules is no reason for a trial, which would run what is customised there once more.
bool isDoubtfulModulePath(const std::string &value)
{
    std::istringstream places(value + ':');
    for (std::string place; std::getline(places, place, ':');) {
        if (mayHideStartModule(place.empty() ? "." : place))
            return true;
    }
    return false;
}

bool isDoubtfulVariable(const std::string &name, const std::string &value)
{
    if (name.compare(0, 6, "PYTHON") != 0 || value.empty())
        return false;
    if (name == "PYTHONPATH")
        return isDoubtfulModulePath(value);
    const auto *const end = std::end(harmlessVariables);
    return std::find(std::begin(harmlessVariables), end, name) == end;
}

/// Whether there are variables that could make the interpreter end its start.
bool hasDoubtfulVariable()
{
    for (const char *const *variable = environ; *variable; ++variable) {
        const std::string text(*variable);
        const std::size_t nameEnd = std::min(text.find('='), text.size() - 1);
        if (isDoubtfulVariable(text.substr(0, nameEnd), text.substr(nameEnd + 1)))
            return true;
    }
    return false;
}

// What the handler of a signal looks at.
std::atomic<bool (*)()> interruptHandler{nullptr};
int interruptPipe[2] = {-1, -1};
pid_t interruptedProcess = 0;

void handleInterrupt(int signal)
{
    const int error = errno;
    if (getpid() != interruptedProcess) {
        // A child that a script forked off.
        std::signal(signal, SIG_DFL);
        std::raise(signal);
    } else if (const auto handler = interruptHandler.load(); !handler || !handler()) {
        std::ignore = write(interruptPipe[1], "", 1);
    }
    errno = error;
}

class LinuxPlatform final : public Platform
{
public:
    char separator() override { return '/'; }

    std::string pythonLibraryPrefix() override { return "libpython3"; }

    std::vector<std::string> loadedModules() override
    {
        std::vector<std::string> paths;
        dl_iterate_phdr(collectModule, &paths);
        return paths;
    }

    Library openLoadedModule(const std::string &path) override
    {
        return dlopen(path.c_str(), keepFlags);
    }

    Library programWithPython() override
    {
        return dlsym(RTLD_DEFAULT, "Py_IsInitialized") ? dlopen(nullptr, RTLD_NOW) : nullptr;
    }

    std::vector<std::string> pythonLibraries(const std::string &directory,
                                             const std::string &environment,
                                             int minor) override
    {
        return installations::libraries(directory, environment, minor);
    }

    // Local at first: what is not kept must not answer the calls of the next one.
    Library loadLibrary(const std::string &path) override
    {
        return dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    }

    bool survivesStart(const std::string &path, Library library) override
    {
        const auto isInitialized = reinterpret_cast<int (*)()>(dlsym(library, "Py_IsInitialized"));
        if (isInitialized && isInitialized() != 0)
            return true;
        const bool isDoubtful = hasDoubtfulVariable();
        if (installations::isSystems(path.substr(0, path.rfind('/'))) && !isDoubtful)
            return true;
        const auto setProgramName =
            reinterpret_cast<void (*)(wchar_t *)>(dlsym(library, "Py_SetProgramName"));
        const auto initialize = reinterpret_cast<void (*)(int)>(dlsym(library, "Py_InitializeEx"));
        if (!setProgramName || !initialize || m_startHangs)
            return false;
        int answer[2];
        if (pipe2(answer, O_CLOEXEC | O_NONBLOCK) != 0)
            return false;
        const pid_t child = fork();
        if (child == 0) {
            const int nowhere = open("/dev/null", O_RDWR);
            for (const int stream : {0, 1, 2})
                dup2(nowhere, stream);
            const rlimit noCoreFile{0, 0};
            setrlimit(RLIMIT_CORE, &noCoreFile);
            // What is customised may never return.
            constexpr unsigned deadline = 10; // seconds
            std::signal(SIGALRM, SIG_DFL);
            alarm(deadline);
            // Handlers that are there already wait for threads, which a fork does not copy.
            std::atexit([] { _exit(1); });
            // As for the real start: the empty home is removed, the current folder may be gone, and no
            // program on the path has this name, from whose place it would learn its own.
            if (environmentVariable("PYTHONHOME") == "")
                unsetenv("PYTHONHOME");
            if (currentDirectory().empty())
                setCurrentDirectory("/");
            dlopen(path.c_str(), keepFlags);
            // Whether it finds its standard library can be told without what the user has customised.
            const auto noSite = static_cast<int *>(dlsym(library, "Py_NoSiteFlag"));
            if (noSite && !isDoubtful)
                *noSite = 1;
            static wchar_t name[] = L"Tarnwick";
            setProgramName(name);
            initialize(0);
            writeToDescriptor(answer[1], "", 1);
            _exit(0);
        }
        int status = 0;
        while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) { }
        // It would hold up the next library as well.
        m_startHangs = WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
        // Not its status, which a module may choose that ends the start.
        char survived;
        const bool hasSurvived = read(answer[0], &survived, 1) == 1;
        close(answer[0]);
        close(answer[1]);
        return hasSurvived;
    }

    void keepLibrary(const std::string &path) override { dlopen(path.c_str(), keepFlags); }

    void unloadLibrary(Library library) override { dlclose(library); }

    void *findExport(Library library, const char *name) override { return dlsym(library, name); }

    std::optional<std::string> registeredText(Hive, const std::string &) override
    {
        return std::nullopt;
    }

    std::vector<std::string> installedDirectories(int minor) override
    {
        return installations::directories(minor);
    }

    bool holdsStandardLibrary(const std::string &home, int minor) override
    {
        return installations::holdsStandardLibrary(home.substr(0, home.find(':')), minor);
    }

    std::string scriptsDirectory(const std::string &environment) override
    {
        return environment + "/bin";
    }

    std::string interpreter(const std::string &environment) override
    {
        return environment + "/bin/python";
    }

    std::string installationPrefix(const std::string &home) override
    {
        return installations::prefix(home);
    }

    std::vector<std::string> packageDirectories(const std::string &prefix, int minor) override
    {
        return installations::packageDirectories(prefix, minor);
    }

    bool isDirectory(const std::string &path) override
    {
        struct stat status;
        return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    }

    std::optional<std::string> readTextFile(const std::string &path) override
    {
        std::ifstream file(path);
        if (!file)
            return std::nullopt;
        return std::string(std::istreambuf_iterator<char>(file), {});
    }

    std::string currentDirectory() override
    {
        char path[PATH_MAX];
        return getcwd(path, sizeof path) ? path : std::string();
    }

    // Libraries are found without it here, so a folder that cannot be entered does no harm.
    void setCurrentDirectory(const std::string &path) override
    {
        std::ignore = chdir(path.c_str());
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
            if (!value || !*value)
                continue;
            if (std::strcmp(value, "C") != 0 && std::strcmp(value, "POSIX") != 0)
                return;
            if (std::strcmp(name, "LC_ALL") != 0)
                break;
            // It hides all others, so it has to say so itself; and a choice of languages would count
            // that "C" makes no difference to.
            setenv(name, "C.UTF-8", 1);
            unsetenv("LANGUAGE");
            return;
        }
        setenv("LC_CTYPE", "C.UTF-8", 1);
    }

    void ignoreWriteSignals() override
    {
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGXFSZ, SIG_IGN);
    }

    void catchInterrupts(bool (*handler)()) override
    {
        interruptHandler = handler;
        if (interruptedProcess == 0) {
            struct sigaction present;
            if (sigaction(SIGINT, nullptr, &present) != 0 || present.sa_handler == SIG_IGN
                || pipe2(interruptPipe, O_CLOEXEC | O_NONBLOCK) != 0)
                return;
            interruptedProcess = getpid();
        }
        struct sigaction action = {};
        action.sa_handler = handleInterrupt;
        sigaction(SIGINT, &action, nullptr);
    }

    int interruptDescriptor() override { return interruptPipe[0]; }

    bool takeInterrupt() override
    {
        char byte;
        return read(interruptPipe[0], &byte, 1) == 1;
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

private:
    bool m_startHangs = false;
};

} // namespace

Platform &Platform::native()
{
    static LinuxPlatform platform;
    return platform;
}
