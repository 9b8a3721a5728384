// SPDX-License-Identifier: MIT
#include "python/pythonmodule.h"

#include "python/pyref.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

// Threads of scripts look at them while the console goes away.
static std::atomic<decltype(PythonModule::ConsoleEntries::writeText)> writeEntry{nullptr};
static std::atomic<decltype(PythonModule::ConsoleEntries::readLine)> readEntry{nullptr};

/// What the module's type needs of the wrapper.
struct ConsoleStream
{
    static constexpr int errorUnit = 1;

    static void write(int unit, const char *text);
    /// Lets go of the interpreter lock meanwhile, unless this is the thread that started it: the
    /// console may make other threads wait. \a text belongs to something that the caller keeps.
    static void writeUnlocked(int unit, const char *text);
    static std::string readLine();
};

void ConsoleStream::write(int unit, const char *text)
{
    if (PythonModule::isForkedChild())
        PythonModule::platform().writeToDescriptor(
            unit == errorUnit ? 2 : 1, text, std::strlen(text));
    else if (const auto entry = writeEntry.load())
        entry(unit, text);
}

void ConsoleStream::writeUnlocked(int unit, const char *text)
{
    if (PythonModule::isInitialisingThread() || PythonModule::isForkedChild()) {
        write(unit, text);
        return;
    }
    PyThreadState *const state = py.PyEval_SaveThread();
    write(unit, text);
    py.PyEval_RestoreThread(state);
}

std::string ConsoleStream::readLine()
{
    // Nobody answers a forked child: its input is at its end.
    if (PythonModule::isForkedChild())
        return {};
    const auto entry = readEntry.load();
    return entry ? entry() : "\n";
}

namespace {

struct ConsoleObject
{
    PyObject_HEAD int unit;
};

int unitOf(PyObject *self)
{
    return reinterpret_cast<ConsoleObject *>(self)->unit;
}

PyObject *shared(PyObject *singleton)
{
    py.Py_IncRef(singleton);
    return singleton;
}

PyObject *consoleNew(PyTypeObject *type, PyObject *, PyObject *)
{
    // The slot, not a fixed allocator: subclasses have more to allocate.
    const auto allocate = reinterpret_cast<allocfunc>(py.PyType_GetSlot(type, Py_tp_alloc));
    PyObject *const self = allocate(type, 0);
    if (self)
        reinterpret_cast<ConsoleObject *>(self)->unit = 0;
    return self;
}

int consoleInit(PyObject *self, PyObject *arguments, PyObject *keywords)
{
    static char unitName[] = "unit";
    static char *names[] = {unitName, nullptr};
    auto *const object = reinterpret_cast<ConsoleObject *>(self);
    object->unit = 0;
    return py.PyArg_ParseTupleAndKeywords(arguments, keywords, "|i", names, &object->unit) ? 0 : -1;
}

void consoleDealloc(PyObject *self)
{
    PyTypeObject *const type = Py_TYPE(self);
    const auto release = reinterpret_cast<freefunc>(py.PyType_GetSlot(type, Py_tp_free));
    release(self);
    // Since 3.8 each object of such a type holds a reference to it; before, this would be one too
    // many.
    static const bool countsInstances = std::strncmp(CPython::versionString(), "3.", 2) != 0
        || std::atoi(CPython::versionString() + 2) >= 8;
    if (countsInstances)
        py.Py_DecRef(reinterpret_cast<PyObject *>(type));
}

/// An error text that the argument parser refused (NUL, half of a surrogate pair) with those
/// characters escaped; the rest of a traceback would be lost with them. None when it is no text at
/// all; the parser's error then stays.
std::optional<std::string> escapedText(PyObject *arguments)
{
    if (!py.PyErr_ExceptionMatches(*py.ValueError))
        return std::nullopt;
    py.PyErr_Clear();
    PyObject *text = nullptr;
    if (!py.PyArg_ParseTuple(arguments, "O", &text))
        return std::nullopt;
    const PyRef bytes(py.PyUnicode_AsEncodedString(text, "utf-8", "backslashreplace"));
    char *data = nullptr;
    Py_ssize_t size = 0;
    if (!bytes || py.PyBytes_AsStringAndSize(bytes.get(), &data, &size) != 0)
        return std::nullopt;
    std::string whole;
    for (const char character : std::string(data, static_cast<std::size_t>(size))) {
        if (character == '\0')
            whole += "\\x00";
        else
            whole += character;
    }
    return whole;
}

/// Scripts end at their next print or question once the program is being closed.
bool refuseWhenStopping()
{
    if (!CPython::stopRequested())
        return false;
    py.PyErr_SetString(*py.KeyboardInterrupt, "the program is being closed");
    return true;
}

PyObject *consoleWrite(PyObject *self, PyObject *arguments)
{
    if (refuseWhenStopping())
        return nullptr;
    const char *text = nullptr;
    const int unit = unitOf(self);
    std::optional<std::string> escaped;
    if (!py.PyArg_ParseTuple(arguments, "s", &text)) {
        if (unit == ConsoleStream::errorUnit)
            escaped = escapedText(arguments);
        if (!escaped)
            return nullptr;
        text = escaped->c_str();
    }
    ConsoleStream::writeUnlocked(unit, text);
    return shared(py.None);
}

/// The first \a size bytes of a line. No character is cut in two: fewer bytes then, but the first
/// character whole, as no text at all would mean the end of input.
std::string firstBytes(const std::string &line, std::size_t size)
{
    const auto continues = [&](std::size_t at) {
        return at < line.size() && (static_cast<unsigned char>(line[at]) & 0xC0) == 0x80;
    };
    std::size_t end = size;
    while (end > 0 && continues(end))
        --end;
    if (end == 0 && size > 0) {
        end = size;
        while (continues(end))
            ++end;
    }
    return line.substr(0, end);
}

PyObject *consoleReadline(PyObject *self, PyObject *arguments)
{
    int size = -1;
    if (!py.PyArg_ParseTuple(arguments, "|i", &size))
        return nullptr;
    std::string line;
    if (unitOf(self) == 0) {
        if (refuseWhenStopping())
            return nullptr;
        PyThreadState *const state = py.PyEval_SaveThread();
        line = ConsoleStream::readLine();
        py.PyEval_RestoreThread(state);
    }
    if (size >= 0 && static_cast<std::size_t>(size) < line.size())
        line = firstBytes(line, static_cast<std::size_t>(size));
    return py.PyUnicode_FromString(line.c_str());
}

PyObject *answerTrue(PyObject *, PyObject *)
{
    return shared(py.True);
}

PyObject *answerFalse(PyObject *, PyObject *)
{
    return shared(py.False);
}

PyObject *answerNone(PyObject *, PyObject *)
{
    return shared(py.None);
}

PyObject *consoleFileno(PyObject *, PyObject *)
{
    return py.PyLong_FromLong(-1);
}

PyObject *consoleEncoding(PyObject *, void *)
{
    return py.PyUnicode_FromString("utf-8");
}

PyObject *consoleErrors(PyObject *self, void *)
{
    return py.PyUnicode_FromString(unitOf(self) == ConsoleStream::errorUnit ? "backslashreplace"
                                                                            : "strict");
}

PyMethodDef consoleMethods[] = {
    {"write", consoleWrite, METH_VARARGS, "Write"},
    {"readline", consoleReadline, METH_VARARGS, "Readline"},
    {"isatty", answerTrue, METH_NOARGS, "isatty"},
    {"readable", answerTrue, METH_NOARGS, "readable"},
    {"writable", answerTrue, METH_NOARGS, "writable"},
    {"seekable", answerFalse, METH_NOARGS, "seekable"},
    {"fileno", consoleFileno, METH_NOARGS, "fileno"},
    {"flush", answerNone, METH_NOARGS, "Flush"},
    {"close", answerNone, METH_NOARGS, "Close"},
    {nullptr, nullptr, 0, nullptr},
};

// The standard library asks a stream for these two; the interpreter's old headers want mutable text.
char encodingName[] = "encoding";
char errorsName[] = "errors";
PyGetSetDef consoleAttributes[] = {
    {encodingName, consoleEncoding, nullptr, nullptr, nullptr},
    {errorsName, consoleErrors, nullptr, nullptr, nullptr},
    {nullptr, nullptr, nullptr, nullptr, nullptr},
};

char consoleDocumentation[] = "Tarnwick Console objects";

template <typename Function> void *slotFunction(Function *function)
{
    return reinterpret_cast<void *>(function);
}

PyType_Slot consoleSlots[] = {
    {Py_tp_doc, consoleDocumentation},
    {Py_tp_new, slotFunction(consoleNew)},
    {Py_tp_init, slotFunction(consoleInit)},
    {Py_tp_dealloc, slotFunction(consoleDealloc)},
    {Py_tp_methods, consoleMethods},
    {Py_tp_getset, consoleAttributes},
    {0, nullptr},
};

PyType_Spec consoleSpec = {
    "tarnwick.Console",
    sizeof(ConsoleObject),
    0,
    Py_TPFLAGS_DEFAULT | Py_TPFLAGS_BASETYPE,
    consoleSlots,
};

PyModuleDef moduleDefinition = {
    PyModuleDef_HEAD_INIT,
    "tarnwick",
    "Tarnwick extensions",
    0,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
    nullptr,
};

PyObject *consoleType = nullptr;

PyObject *initialiseModule()
{
    consoleType = py.PyType_FromSpec(&consoleSpec);
    if (!consoleType || py.PyType_Ready(reinterpret_cast<PyTypeObject *>(consoleType)) < 0)
        return nullptr;
    constexpr int limitedInterfaceVersion = 3;
    PyObject *const module = py.PyModule_Create2(&moduleDefinition, limitedInterfaceVersion);
    if (!module)
        return nullptr;
    // Adding takes a reference over; the pointer above keeps its own.
    py.PyModule_AddObject(module, "Console", shared(consoleType));
    return module;
}

} // namespace

void PythonModule::setConsole(const ConsoleEntries &entries)
{
    writeEntry = entries.writeText;
    readEntry = entries.readLine;
}

void PythonModule::registerModules()
{
    CPython::registerModules();
    py.PyImport_AppendInittab("tarnwick", initialiseModule);
}

void PythonModule::interpreterStarted()
{
    CPython::interpreterStarted();
    runString("import tarnwick\n");
    runString("sys.stdin = tarnwick.Console(0)\n");
    runString("sys.stdout = tarnwick.Console(0)\n");
    runString("sys.stderr = tarnwick.Console(1)\n");
    runString("import json\n");
}
