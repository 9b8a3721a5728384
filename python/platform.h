// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

/// What the interpreter's host needs of the operating system. One implementation per platform is
/// compiled in; tests hand in machines that don't exist here. All strings are UTF-8,
/// paths as the system gives them.
class Platform
{
public:
    /// A loaded library; null for none.
    using Library = void *;
    /// The roots of the registry.
    enum class Hive { LocalMachine, CurrentUser };

    virtual ~Platform() = default;

    /// The machine that this program runs on.
    [[nodiscard]] static Platform &native();

    /// What separates the folders of a path.
    [[nodiscard]] virtual char separator() = 0;

    /// What the file names of Python 3 libraries begin with, in lower case.
    [[nodiscard]] virtual std::string pythonLibraryPrefix() = 0;
    /// The paths of the libraries in this process, in the system's order.
    [[nodiscard]] virtual std::vector<std::string> loadedModules() = 0;
    /// One of loadedModules(). Its symbols become visible to extension modules.
    [[nodiscard]] virtual Library openLoadedModule(const std::string &path) = 0;
    /// The main program when it contains an interpreter, or null.
    [[nodiscard]] virtual Library programWithPython() = 0;

    /// The paths at which a Python library may lie that belongs to \a directory, in the order in which
    /// they are to be tried. With an \a environment, only those of its version; with a \a minor
    /// above 0, only those of Python 3.\a minor.
    [[nodiscard]] virtual std::vector<std::string>
    pythonLibraries(const std::string &directory, const std::string &environment, int minor) = 0;
    /// Loads a library by its full path, or gives null.
    [[nodiscard]] virtual Library loadLibrary(const std::string &path) = 0;
    /// Whether the interpreter of a library survives its start, which ends the process when it does not
    /// find its standard library or dislikes a variable. Where that is in doubt, a process of its own
    /// tries, for ten seconds at most. One that runs already has survived.
    [[nodiscard]] virtual bool survivesStart(const std::string &path, Library library) = 0;
    /// Makes a loaded library's symbols visible to extension modules, and keeps it in the process for
    /// good: threads of the interpreter may outlive everything else.
    virtual void keepLibrary(const std::string &path) = 0;
    virtual void unloadLibrary(Library library) = 0;
    /// The address of an exported name, or null.
    [[nodiscard]] virtual void *findExport(Library library, const char *name) = 0;

    /// The unnamed text of a registry key; none when the key cannot be opened.
    [[nodiscard]] virtual std::optional<std::string> registeredText(Hive hive,
                                                                    const std::string &key) = 0;
    /// The folders with a library of Python 3.\a minor, where the platform has no registry.
    [[nodiscard]] virtual std::vector<std::string> installedDirectories(int minor) = 0;
    /// Whether a value of PYTHONHOME leads to the standard library of Python 3.\a minor.
    [[nodiscard]] virtual bool holdsStandardLibrary(const std::string &home, int minor) = 0;

    /// The folder of an environment's interpreter, and the interpreter in it.
    [[nodiscard]] virtual std::string scriptsDirectory(const std::string &environment) = 0;
    [[nodiscard]] virtual std::string interpreter(const std::string &environment) = 0;
    /// The prefix of an installation, from the folder that an environment's configuration names.
    [[nodiscard]] virtual std::string installationPrefix(const std::string &home) = 0;
    /// The folders of the packages that were added to the Python 3.\a minor of a prefix. At least one.
    [[nodiscard]] virtual std::vector<std::string> packageDirectories(const std::string &prefix,
                                                                      int minor) = 0;

    [[nodiscard]] virtual bool isDirectory(const std::string &path) = 0;
    /// A file's text with line feeds at the ends of lines; none when it cannot be opened.
    [[nodiscard]] virtual std::optional<std::string> readTextFile(const std::string &path) = 0;
    [[nodiscard]] virtual std::string currentDirectory() = 0;
    virtual void setCurrentDirectory(const std::string &path) = 0;
    /// A variable's value; none when it is not set, which differs from one that is set and empty.
    [[nodiscard]] virtual std::optional<std::string> environmentVariable(const char *name) = 0;
    /// Sets a variable, or removes it when there is no value.
    virtual void setEnvironmentVariable(const char *name,
                                        const std::optional<std::string> &value) = 0;

    /// Gives a process without any locale, or with "C", one that stores text as UTF-8: file names
    /// that are not ASCII would be out of reach. Call it before the toolkit and the interpreter
    /// start. Any other locale that somebody chose stays.
    virtual void useUtf8Locale() = 0;
    /// A write to a closed pipe, or beyond the size that files may have, becomes an error instead of
    /// the end of the process.
    virtual void ignoreWriteSignals() = 0;
    /// Takes over the interruption of the process (Ctrl+C in its terminal), also from whoever else did
    /// so since the last call. \a handler is called from inside a signal handler, on any thread; what
    /// it does not take (false), or nothing does (null), makes interruptDescriptor() readable, by a
    /// byte each. A process that was started to ignore interruptions goes on to.
    virtual void catchInterrupts(bool (*handler)()) = 0;
    /// -1 before the first call, and where interruptions are ignored.
    [[nodiscard]] virtual int interruptDescriptor() = 0;
    /// Reads one byte of it; false when there is none.
    [[nodiscard]] virtual bool takeInterrupt() = 0;
    [[nodiscard]] virtual long processId() = 0;
    /// Writes to the process's own standard output (1) or standard error (2), past all buffers.
    virtual void writeToDescriptor(int descriptor, const char *text, std::size_t size) = 0;
    /// Ends the process at once, without clean-up.
    [[noreturn]] virtual void endProcess(int status) = 0;
};
