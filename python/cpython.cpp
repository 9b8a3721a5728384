// SPDX-License-Identifier: MIT
#include "python/cpython.h"

#include "python/executionwatchdog.h"
#include "python/pyref.h"
#include "python/virtualenvironment.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tuple>

int CPython::s_instanceCount = 0;
Platform *CPython::s_platform = nullptr;
Platform::Library CPython::s_library = nullptr;
bool CPython::s_startedElsewhere = false;
std::thread::id CPython::s_initialisingThread;
long CPython::s_processId = 0;
char CPython::s_versionString[16] = "";
std::atomic<int> CPython::s_runDepth{0};
std::atomic<bool> CPython::s_stopRequested{false};
std::atomic<bool> CPython::s_interrupted{false};
std::atomic<int> CPython::s_callsUnderWay{0};
std::atomic<int> CPython::s_executionTimeLimit{0};

namespace {

// The interpreter's start symbols; its header leaves them out of the limited interface.
constexpr int singleInput = 256;
constexpr int fileInput = 257;
constexpr int evalInput = 258;

constexpr char builtinsName[] = "__builtins__";

void displayError(PyObject *type, PyObject *value, PyObject *traceback)
{
    py.PyErr_Display(type, value, traceback);
    py.PyErr_Clear();
}

/// The status that a forked child ends with: that of its last error, if there was one.
int childStatus = 0;

/// What the interpreter's own program ends with on an error.
int exitStatusOf(PyObject *type, PyObject *error)
{
    if (!py.PyErr_GivenExceptionMatches(type, *py.SystemExit))
        return 1;
    const PyRef code(py.PyObject_GetAttrString(error, "code"));
    if (code && code.get() == py.None)
        return 0;
    const long status = code ? py.PyLong_AsLong(code.get()) : 1;
    const bool isNumber = !py.PyErr_Occurred();
    py.PyErr_Clear();
    return isNumber ? static_cast<int>(status) : 1;
}

/// Prints and clears the pending error. PyErr_Print() would do, but it ends the process on
/// SystemExit, and on an excepthook that raises one.
void printError()
{
    PyObject *type = nullptr;
    PyObject *value = nullptr;
    PyObject *traceback = nullptr;
    py.PyErr_Fetch(&type, &value, &traceback);
    if (!type)
        return;
    py.PyErr_NormalizeException(&type, &value, &traceback);
    const PyRef typeRef(type);
    const PyRef valueRef(value);
    const PyRef tracebackRef(traceback);
    if (CPython::isForkedChild())
        childStatus = exitStatusOf(type, value);
    // The streams refuse everything then.
    if (CPython::stopRequested())
        return;
    if (traceback)
        py.PyException_SetTraceback(value, traceback);
    PyObject *const shownTraceback = traceback ? traceback : py.None;
    // What pdb.pm() and traceback.print_last() look at.
    py.PySys_SetObject("last_type", type);
    py.PySys_SetObject("last_value", value);
    py.PySys_SetObject("last_traceback", shownTraceback);
    constexpr int firstWithOneObject = 12;
    if (PythonLocator::minorVersion(CPython::versionString()) >= firstWithOneObject)
        py.PySys_SetObject("last_exc", value);

    PyObject *const current = py.PySys_GetObject("excepthook");
    if (!current) {
        py.PySys_WriteStderr("sys.excepthook is missing\n");
        displayError(type, value, traceback);
        return;
    }
    const PyRef hook = PyRef::share(current);
    const PyRef result(
        py.PyObject_CallFunctionObjArgs(hook.get(), type, value, shownTraceback, nullptr));
    if (result)
        return;

    PyObject *hookType = nullptr;
    PyObject *hookValue = nullptr;
    PyObject *hookTraceback = nullptr;
    py.PyErr_Fetch(&hookType, &hookValue, &hookTraceback);
    py.PyErr_NormalizeException(&hookType, &hookValue, &hookTraceback);
    const PyRef hookTypeRef(hookType);
    const PyRef hookValueRef(hookValue);
    const PyRef hookTracebackRef(hookTraceback);
    py.PySys_WriteStderr("Error in sys.excepthook:\n");
    displayError(hookType, hookValue, hookTraceback);
    py.PySys_WriteStderr("\nOriginal exception was:\n");
    displayError(type, value, traceback);
}

/// The value of \a code run in the namespace of __main__, or none after the error was printed.
PyRef run(const char *code, const char *fileName, int start)
{
    if (!code)
        return {};
    PyObject *const mainModule = py.PyImport_AddModule("__main__");
    if (!mainModule) {
        py.PyErr_Clear();
        return {};
    }
    // A script may remove __main__ from sys.modules while it runs, and what is made in its place
    // lacks the builtins.
    const PyRef dictionary = PyRef::share(py.PyModule_GetDict(mainModule));
    if (!py.PyDict_GetItemString(dictionary.get(), builtinsName))
        py.PyDict_SetItemString(dictionary.get(), builtinsName, py.PyEval_GetBuiltins());
    const PyRef compiled(py.Py_CompileString(code, fileName ? fileName : "<string>", start));
    PyRef value;
    if (compiled)
        value = PyRef(py.PyEval_EvalCode(compiled.get(), dictionary.get(), dictionary.get()));
    if (!value)
        printError();
    return value;
}

/// Runs the program's own statements in a namespace that no script sees, with \a argument bound
/// there, and gives that namespace; none after the error was printed.
PyRef runPrivately(const char *code, const char *argument = nullptr)
{
    PyRef dictionary(py.PyDict_New());
    py.PyDict_SetItemString(dictionary.get(), builtinsName, py.PyEval_GetBuiltins());
    if (argument) {
        const PyRef text(py.PyUnicode_FromString(argument));
        if (text)
            py.PyDict_SetItemString(dictionary.get(), "argument", text.get());
    }
    const PyRef compiled(py.Py_CompileString(code, "<Tarnwick>", fileInput));
    PyRef value;
    if (compiled)
        value = PyRef(py.PyEval_EvalCode(compiled.get(), dictionary.get(), dictionary.get()));
    if (value)
        return dictionary;
    printError();
    return {};
}

bool isText(PyObject *object)
{
    return (py.PyType_GetFlags(Py_TYPE(object)) & Py_TPFLAGS_UNICODE_SUBCLASS) != 0;
}

/// Byte code is matched with its source by size and whole seconds: a file saved twice within one
/// second would run as it was before. So a user's module loses its cached copy before each import;
/// the standard library keeps its own. A module that was compiled and has no source is no copy.
void dropByteCode(const char *moduleName)
{
    std::ignore =
        runPrivately("try:\n"
                     "    import importlib, importlib.machinery, os\n"
                     "    importlib.invalidate_caches()\n"
                     "    spec = importlib.machinery.PathFinder.find_spec(argument)\n"
                     "    folder = os.path.basename(os.path.dirname(spec.cached))\n"
                     "    if (spec.origin.endswith('.py') and folder == '__pycache__'\n"
                     "            and not spec.origin.startswith(os.path.dirname(os.__file__))):\n"
                     "        os.remove(spec.cached)\n"
                     "except Exception:\n"
                     "    pass\n",
                     moduleName);
}

/// True when \a name can stand in a statement as a name: identifiers joined by dots.
bool isModuleName(const char *name)
{
    const PyRef dictionary =
        runPrivately("answer = all(word.isidentifier() for word in argument.split('.'))\n", name);
    return dictionary && py.PyDict_GetItemString(dictionary.get(), "answer") == py.True;
}

/// Ends scripts' threads before the interpreter is shut down, which would wait for them for ever.
/// Gives them a second to notice that their next print fails, and wakes idle pools, which wait to
/// be told. False when some run on.
bool endThreads()
{
    const PyRef dictionary =
        runPrivately("import sys, time\n"
                     "running = []\n"
                     "threading = sys.modules.get('threading')\n"
                     "if threading:\n"
                     "    def wake():\n"
                     "        for call in getattr(threading, '_threading_atexits', ()):\n"
                     "            call()\n"
                     "    threading.Thread(target=wake, daemon=True).start()\n"
                     "    end = time.monotonic() + 1\n"
                     "    while True:\n"
                     "        running = [t for t in threading.enumerate()\n"
                     "                   if t is not threading.main_thread() and not t.daemon]\n"
                     "        if not running or time.monotonic() > end:\n"
                     "            break\n"
                     "        time.sleep(0.01)\n"
                     "    threading._shutdown = lambda: None\n");
    if (!dictionary)
        return false;
    PyObject *const running = py.PyDict_GetItemString(dictionary.get(), "running");
    return running && py.PyList_Size(running) == 0;
}

} // namespace

/// One run operation: holds the lock and counts the depth.
class CPython::Run final
{
public:
    Run()
    {
        if (!isInitialisingThread())
            return;
        // Each time, as a script may have set a handler of its own.
        if (!s_startedElsewhere && s_runDepth == 0)
            s_platform->catchInterrupts(&interruptRun);
        ++s_runDepth;
    }
    ~Run()
    {
        // A child that a script forked comes back here with a copy of this program around it.
        if (isForkedChild())
            s_platform->endProcess(childStatus);
        if (isInitialisingThread() && --s_runDepth == 0)
            endInterruption();
    }
    Run(const Run &) = delete;
    Run &operator=(const Run &) = delete;

    /// False when the interpreter was shut down already.
    [[nodiscard]] bool isPossible() const { return m_lock.isLocked(); }

private:
    const GilGuard m_lock;
};

CPython::CPython(Platform &platform)
    : m_platform(platform)
    , m_locator(platform)
{
    ++s_instanceCount;
}

CPython::~CPython()
{
    if (--s_instanceCount > 0 || !isLoaded())
        return;
    // Below a run it would pull the interpreter away under its own feet.
    if (!s_startedElsewhere && !isRunning() && py.Py_IsInitialized())
        shutDown();
    // The library stays in the process: one of its threads may still be on the way out.
    s_library = nullptr;
}

bool CPython::loadLibrary(const char *environmentDirectory)
{
    if (!m_locator.locate(environmentDirectory ? environmentDirectory : "")
        || !py.resolve(m_platform, m_locator.library())) {
        return false;
    }
    s_library = m_locator.library();
    s_platform = &m_platform;
    return true;
}

void CPython::initialize(const std::wstring &programName, const char *environmentDirectory)
{
    if (!isLoaded() && !loadLibrary(environmentDirectory))
        return;
    std::sscanf(py.Py_GetVersion(), "%15s", s_versionString);
    if (s_initialisingThread != std::thread::id())
        return;
    s_initialisingThread = std::this_thread::get_id();
    s_processId = s_platform->processId();
    if (py.Py_IsInitialized()) {
        s_startedElsewhere = true;
        const GilGuard lock;
        interpreterAttached();
        return;
    }
    prepareProcess();
    // The interpreter keeps the pointer.
    static std::wstring name;
    name = programName;
    py.Py_SetProgramName(name.data());
    registerModules();
    py.Py_InitializeEx(0);
    py.PyEval_InitThreads();
    // sys.executable would be this program or nothing, and a generator that starts it gets another
    // window. Byte code would litter the generators' folders, and hide edits. What is started from
    // scripts may be another Python than one that was moved. An interruption raises KeyboardInterrupt.
    std::ignore = runPrivately("import os, sys\n"
                               "if argument:\n"
                               "    os.environ.pop('PYTHONHOME', None)\n"
                               "import _signal\n"
                               "_signal.signal(_signal.SIGINT, _signal.default_int_handler)\n"
                               "sys.argv = ['']\n"
                               "sys.dont_write_bytecode = True\n"
                               "sys.executable = os.path.join(sys.base_prefix, 'bin',\n"
                               "    'python%d.%d' % sys.version_info[:2])\n"
                               "if not os.path.isfile(sys.executable):\n"
                               "    sys.executable = ''\n",
                               m_locator.movedTo().c_str());
    enterEnvironment();
    interpreterStarted();
    s_platform->catchInterrupts(&interruptRun);
    py.PyEval_SaveThread();
}

/// Keeps the process's environment from ending the program, or from taking its terminal.
void CPython::prepareProcess() const
{
    s_platform->ignoreWriteSignals();
    // The interpreter wants to know where it is, and a deleted folder is nowhere.
    if (s_platform->currentDirectory().empty())
        s_platform->setCurrentDirectory("/");
    // help() would start a pager on the terminal that the program was started from.
    s_platform->setEnvironmentVariable("TERM", "dumb");
    s_platform->setEnvironmentVariable("PAGER", std::nullopt);
    s_platform->setEnvironmentVariable("MANPAGER", std::nullopt);

    // A home without this version's standard library ends the process inside the interpreter, and
    // so does an empty one in the oldest versions.
    const std::optional<std::string> home = s_platform->environmentVariable("PYTHONHOME");
    const int minor = PythonLocator::minorVersion(s_versionString);
    if (home && (home->empty() || !PythonLocator::isHomeUsable(*s_platform, minor)))
        s_platform->setEnvironmentVariable("PYTHONHOME", std::nullopt);
    if (!m_locator.movedTo().empty())
        s_platform->setEnvironmentVariable("PYTHONHOME", m_locator.movedTo());
}

/// Moves the new interpreter into the virtual environment whose base its library belongs to.
void CPython::enterEnvironment() const
{
    if (m_locator.environmentDirectory().empty() || m_locator.homeDirectory().empty())
        return;
    const VirtualEnvironment environment{m_locator.environmentDirectory(),
                                         m_locator.homeDirectory(),
                                         m_locator.includeSystemSitePackages(),
                                         PythonLocator::minorVersion(s_versionString)};
    for (const std::string &statement : environment.statements(*s_platform))
        runString(statement.c_str());
    for (const std::string &script : environment.scripts(*s_platform))
        runString(script.c_str());
}

/// Called from inside a signal handler. False when there is no run to be interrupted.
bool CPython::interruptRun()
{
    if (s_runDepth == 0)
        return false;
    s_interrupted = true;
    py.PyErr_SetInterrupt();
    return true;
}

/// One that came when the last run was all but over must not hit the next one.
void CPython::endInterruption()
{
    if (!s_interrupted.exchange(false) || !py.Py_IsInitialized())
        return;
    std::ignore = runPrivately("try:\n"
                               "    for i in range(100):\n"
                               "        pass\n"
                               "except KeyboardInterrupt:\n"
                               "    pass\n");
}

void CPython::shutDown()
{
    s_platform->catchInterrupts(nullptr);
    // One that waits for the lock must not find the interpreter gone; no other begins now.
    while (s_callsUnderWay > 0)
        std::this_thread::yield();
    // Not a GilGuard: the interpreter takes the lock with it, or the lock is kept for good.
    py.PyGILState_Ensure();
    py.PyErr_Clear();
    s_stopRequested = true;
    const bool ended = endThreads();
    s_stopRequested = false;
    // With threads that don't end, the interpreter stays as it is. They can't run Python code any
    // more, since this thread holds the lock until the process ends.
    if (ended)
        py.Py_Finalize();
    else
        std::ignore = runPrivately("import atexit\natexit._run_exitfuncs()\n");
    // One that was forked off on the way.
    if (isForkedChild())
        s_platform->endProcess(0);
}

bool CPython::isInitialisingThread()
{
    return std::this_thread::get_id() == s_initialisingThread;
}

bool CPython::isForkedChild()
{
    return s_platform->processId() != s_processId;
}

void CPython::registerModules() { }

void CPython::interpreterStarted()
{
    runString("import sys\n");
}

void CPython::interpreterAttached()
{
    runString("import sys\n");
}

bool CPython::continueRunning()
{
    return true;
}

int CPython::runCode(const char *code, const char *fileName)
{
    // Inside another run the lock may be held all the time, which the watchdog would wait for.
    if (s_executionTimeLimit <= 0 || !isInitialisingThread() || isRunning())
        return execute(code, fileName);
    if (!isLoaded())
        return -2;
    // Outlives the lock, which its thread may be waiting for.
    ExecutionWatchdog watchdog([] { return s_executionTimeLimit.load(); },
                               [this] { return continueRunning(); });
    const Run scope;
    const int status = scope.isPossible() ? runString(code, fileName) : -1;
    watchdog.finish();
    return status;
}

int CPython::runString(const char *code, const char *fileName, int startMode)
{
    return run(code, fileName, startMode == 0 ? fileInput : startMode) ? 0 : -1;
}

int CPython::execute(const char *code, const char *fileName)
{
    if (!isLoaded())
        return -2;
    const Run scope;
    return scope.isPossible() ? runString(code, fileName) : -1;
}

int CPython::runStatement(const char *line)
{
    if (!isLoaded())
        return -2;
    const Run scope;
    return scope.isPossible() ? runString(line, "<console>", singleInput) : -1;
}

std::string CPython::evaluate(const char *expression, const char *fileName)
{
    if (!isLoaded())
        return {};
    const Run scope;
    if (!scope.isPossible())
        return {};
    PyRef value = run(expression, fileName, evalInput);
    if (!value)
        return {};
    if (!isText(value.get()))
        value = PyRef(py.PyObject_Str(value.get()));
    const PyRef bytes(value ? py.PyUnicode_AsUTF8String(value.get()) : nullptr);
    char *text = nullptr;
    Py_ssize_t size = 0;
    if (!bytes || py.PyBytes_AsStringAndSize(bytes.get(), &text, &size) != 0) {
        printError();
        return {};
    }
    return {text, static_cast<std::size_t>(size)};
}

int CPython::addSysPath(const char *directory)
{
    if (!isLoaded())
        return -1;
    if (!directory || !*directory)
        return 0;
    const Run scope;
    if (!scope.isPossible())
        return -1;

    PyObject *const mainModule = py.PyImport_AddModule("__main__");
    const PyRef sys = PyRef::share(
        mainModule ? py.PyDict_GetItemString(py.PyModule_GetDict(mainModule), "sys") : nullptr);
    const PyRef path(sys ? py.PyObject_GetAttrString(sys.get(), "path") : nullptr);
    const bool isList =
        path && (py.PyType_GetFlags(Py_TYPE(path.get())) & Py_TPFLAGS_LIST_SUBCLASS) != 0;
    const PyRef wanted(isList ? py.PyUnicode_FromString(directory) : nullptr);
    if (!wanted) {
        py.PyErr_Clear();
        return -1;
    }
    // The size is read anew each time: comparing may run a script's own code.
    for (Py_ssize_t i = 0; i < py.PyList_Size(path.get()); ++i) {
        const PyRef item = PyRef::share(py.PyList_GetItem(path.get(), i));
        const int equal = py.PyObject_RichCompareBool(item.get(), wanted.get(), Py_EQ);
        if (equal == 1)
            return 0;
        if (equal < 0)
            py.PyErr_Clear();
    }
    if (std::strpbrk(directory, "'\n\r")) {
        reportError("The folder cannot be put on sys.path, because its name holds a quote or a "
                    "line break: "
                    + std::string(directory));
        return -1;
    }
    // Backslashes start escapes inside the literal.
    std::string statement;
    for (const char character : "sys.path.insert(0, '" + std::string(directory) + "')\n") {
        if (character == '\\')
            statement += '\\';
        statement += character;
    }
    return runString(statement.c_str());
}

bool CPython::importOrReload(const char *moduleName)
{
    if (!moduleName || !*moduleName || !isLoaded())
        return false;
    const Run scope;
    if (!scope.isPossible())
        return false;

    const PyRef name(py.PyUnicode_FromString(moduleName));
    if (!name) {
        printError();
        return false;
    }
    dropByteCode(moduleName);
    if (PyObject *const loaded = py.PyDict_GetItem(py.PyImport_GetModuleDict(), name.get())) {
        const PyRef module = PyRef::share(loaded);
        const PyRef reloaded(py.PyImport_ReloadModule(module.get()));
        if (!reloaded)
            printError();
        return static_cast<bool>(reloaded);
    }
    const PyRef imported(py.PyImport_Import(name.get()));
    if (!imported || !py.PyImport_AddModuleObject(name.get())) {
        printError();
        return false;
    }
    if (isModuleName(moduleName))
        runString(("import " + std::string(moduleName) + "\n").c_str());
    else
        reportError("The module cannot be named in Python, because its name is no identifier: "
                    + std::string(moduleName));
    return true;
}

void CPython::reportError(const std::string &message)
{
    if (!isLoaded())
        return;
    const Run scope;
    if (!scope.isPossible())
        return;
    py.PyErr_SetString(*py.ValueError, message.c_str());
    printError();
}

void CPython::printErrorLine(const std::string &line)
{
    // The streams refuse everything once the program is being closed.
    if (!isLoaded() || stopRequested())
        return;
    const Run scope;
    if (scope.isPossible())
        py.PySys_WriteStderr("%.999s\n", line.c_str());
}

std::string CPython::moduleFile(const char *moduleName)
{
    if (!isLoaded())
        return {};
    const Run scope;
    if (!scope.isPossible())
        return {};
    const PyRef name(py.PyUnicode_FromString(moduleName));
    PyObject *const module =
        name ? py.PyDict_GetItem(py.PyImport_GetModuleDict(), name.get()) : nullptr;
    const PyRef file(module ? py.PyObject_GetAttrString(module, "__file__") : nullptr);
    const PyRef bytes(file && isText(file.get()) ? py.PyUnicode_AsUTF8String(file.get()) : nullptr);
    char *text = nullptr;
    Py_ssize_t size = 0;
    const bool isRead = bytes && py.PyBytes_AsStringAndSize(bytes.get(), &text, &size) == 0;
    py.PyErr_Clear();
    return isRead ? std::string(text, static_cast<std::size_t>(size)) : std::string();
}

void CPython::callDuringRun(void (*function)())
{
    ++s_callsUnderWay;
    if (isLoaded() && isRunning() && py.Py_IsInitialized()) {
        const auto call = [](void *address) {
            reinterpret_cast<void (*)()>(address)();
            return 0;
        };
        py.Py_AddPendingCall(call, reinterpret_cast<void *>(function));
        // Up to 3.11 the running thread looks for such calls only when it is asked for the lock.
        const GilGuard lock;
    }
    --s_callsUnderWay;
}
