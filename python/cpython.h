// SPDX-License-Identifier: MIT
#pragma once

#include "python/platform.h"
#include "python/pythonlocator.h"

#include <atomic>
#include <string>
#include <thread>

/// The one Python interpreter of the process.
///
/// The library is looked for and loaded when initialize() runs; the program starts without it, and
/// every run operation may be called without it. Python errors are printed by the interpreter to
/// its sys.stderr at once and turned into return values. Code, file names and directories are
/// UTF-8. The run operations take the interpreter lock themselves, from any thread; they may call
/// back into the program (whatever the stream entries of PythonModule do) before they return.
class CPython
{
public:
    /// \a platform is the machine on which the library is looked for; it must outlive the process's
    /// last wrapper. Creating a wrapper loads nothing.
    explicit CPython(Platform &platform = Platform::native());
    /// The last wrapper shuts down the interpreter that it started.
    virtual ~CPython();
    CPython(const CPython &) = delete;
    CPython &operator=(const CPython &) = delete;

    /// Finds and loads the library and starts the interpreter, or attaches to one that runs already.
    /// Success is read from isLoaded(). \a environmentDirectory is a virtual environment to start
    /// in; null for none.
    void initialize(const std::wstring &programName, const char *environmentDirectory = nullptr);

    /// Runs code in __main__ under the execution time limit. 0 on success, -1 on a Python error or
    /// null code, -2 without a library.
    virtual int runCode(const char *code, const char *fileName);

    [[nodiscard]] static bool isLoaded() { return s_library != nullptr; }
    /// Such as "3.11.2"; empty before a library was loaded. At most 15 characters.
    [[nodiscard]] static const char *versionString() { return s_versionString; }

    /// How long runCode() may take before continueRunning() is asked, in seconds; 0 is for ever.
    static void setExecutionTimeLimit(int seconds) { s_executionTimeLimit = seconds; }

    /// Runs \a code in __main__ for a caller that holds the interpreter lock. \a startMode 0 means
    /// file input. 0 on success, -1 on failure.
    static int runString(const char *code, const char *fileName = nullptr, int startMode = 0);
    /// Runs statements in __main__; \a fileName is what tracebacks show, null means "<string>". 0 on
    /// success, -1 on a Python error or null code, -2 without a library.
    static int execute(const char *code, const char *fileName = nullptr);
    /// Runs one console line (ending in a line feed), echoing an expression's value. Returns as
    /// execute().
    static int runStatement(const char *line);
    /// The value of an expression as text; empty on any error.
    [[nodiscard]] static std::string evaluate(const char *expression,
                                              const char *fileName = nullptr);
    /// Puts a directory in front of sys.path unless it is in it. 0 when it is there afterwards or is
    /// empty; -1 on failure, without a library, and for a name that could not stand in the statement
    /// without becoming code.
    static int addSysPath(const char *directory);
    /// Imports a module and binds its name in __main__, or reloads it from its source as it stands
    /// on disk. False when that failed.
    static bool importOrReload(const char *moduleName);
    /// Prints "ValueError: " and \a message as the interpreter prints its own errors. For text that
    /// is refused before it reaches Python.
    static void reportError(const std::string &message);
    /// Prints a line to the interpreter's sys.stderr, as it is; at most 1000 bytes of it. Nothing
    /// without a library.
    static void printErrorLine(const std::string &line);
    /// The __file__ of a loaded module, UTF-8; empty when there is no such module or it has none.
    [[nodiscard]] static std::string moduleFile(const char *moduleName);

    /// Has \a function called between two steps of the Python code that the initialising thread runs
    /// at present, with the lock held. From any thread, without the lock. Nothing happens while none
    /// runs.
    static void callDuringRun(void (*function)());

    /// True while a run operation of the initialising thread has not returned. Objects that such a
    /// call may still touch must not be destroyed then.
    [[nodiscard]] static bool isRunning() { return s_runDepth > 0; }
    /// How many run operations of the thread that started the interpreter are inside each other.
    [[nodiscard]] static int runDepth() { return s_runDepth; }
    /// True in a process that a script forked off. Such a child owns no window and no display.
    [[nodiscard]] static bool isForkedChild();
    /// From now on each write to the standard streams raises KeyboardInterrupt, so that scripts that
    /// print come to an end. For a program that is about to quit; lasts until the shutdown.
    static void requestStop() { s_stopRequested = true; }
    [[nodiscard]] static bool stopRequested() { return s_stopRequested; }

protected:
    /// Called just before the interpreter starts: the moment to add builtin modules.
    virtual void registerModules();
    /// Called once the interpreter runs, with the lock held. Binds sys in __main__.
    virtual void interpreterStarted();
    /// Called instead of the two above when somebody else had started the interpreter.
    virtual void interpreterAttached();
    /// Asked on another thread when runCode() reaches the execution time limit; true lets it go on,
    /// false ends it with a KeyboardInterrupt.
    virtual bool continueRunning();

    /// True on the thread that started the interpreter.
    [[nodiscard]] static bool isInitialisingThread();
    [[nodiscard]] static Platform &platform() { return *s_platform; }

private:
    class Run;

    [[nodiscard]] bool loadLibrary(const char *environmentDirectory);
    void prepareProcess() const;
    void enterEnvironment() const;
    static void shutDown();
    [[nodiscard]] static bool interruptRun();
    static void endInterruption();

    // The interpreter is one per process, and so is what is known about it.
    static int s_instanceCount;
    static Platform *s_platform;
    static Platform::Library s_library;
    static bool s_startedElsewhere;
    static std::thread::id s_initialisingThread;
    static long s_processId;
    static char s_versionString[16];
    static std::atomic<int> s_runDepth;
    static std::atomic<bool> s_stopRequested;
    static std::atomic<bool> s_interrupted;
    static std::atomic<int> s_callsUnderWay;
    static std::atomic<int> s_executionTimeLimit;

    Platform &m_platform;
    PythonLocator m_locator;
};
