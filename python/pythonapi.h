// SPDX-License-Identifier: MIT
#pragma once

#include "python/platform.h"
#include "python/pythonheader.h"

#define PYTHON_FUNCTIONS(X)                                                                        \
    X(PyArg_ParseTuple)                                                                            \
    X(PyArg_ParseTupleAndKeywords)                                                                 \
    X(PyBytes_AsStringAndSize)                                                                     \
    X(PyDict_Contains)                                                                             \
    X(PyDict_GetItem)                                                                              \
    X(PyDict_GetItemString)                                                                        \
    X(PyDict_New)                                                                                  \
    X(PyDict_SetItemString)                                                                        \
    X(PyErr_Clear)                                                                                 \
    X(PyErr_Display)                                                                               \
    X(PyErr_ExceptionMatches)                                                                      \
    X(PyErr_Fetch)                                                                                 \
    X(PyErr_GivenExceptionMatches)                                                                 \
    X(PyErr_NormalizeException)                                                                    \
    X(PyErr_Occurred)                                                                              \
    X(PyErr_SetInterrupt)                                                                          \
    X(PyErr_SetString)                                                                             \
    X(PyEval_EvalCode)                                                                             \
    X(PyEval_GetBuiltins)                                                                          \
    X(PyEval_InitThreads)                                                                          \
    X(PyEval_RestoreThread)                                                                        \
    X(PyEval_SaveThread)                                                                           \
    X(PyException_SetTraceback)                                                                    \
    X(PyGILState_Ensure)                                                                           \
    X(PyGILState_Release)                                                                          \
    X(PyImport_AddModule)                                                                          \
    X(PyImport_AddModuleObject)                                                                    \
    X(PyImport_AppendInittab)                                                                      \
    X(PyImport_GetModuleDict)                                                                      \
    X(PyImport_Import)                                                                             \
    X(PyImport_ReloadModule)                                                                       \
    X(PyList_GetItem)                                                                              \
    X(PyList_Size)                                                                                 \
    X(PyLong_AsLong)                                                                               \
    X(PyLong_FromLong)                                                                             \
    X(PyModule_AddObject)                                                                          \
    X(PyModule_Create2)                                                                            \
    X(PyModule_GetDict)                                                                            \
    X(PyObject_CallFunctionObjArgs)                                                                \
    X(PyObject_GetAttrString)                                                                      \
    X(PyObject_IsTrue)                                                                             \
    X(PyObject_RichCompareBool)                                                                    \
    X(PyObject_Str)                                                                                \
    X(PySys_GetObject)                                                                             \
    X(PySys_SetObject)                                                                             \
    X(PySys_WriteStderr)                                                                           \
    X(PyThreadState_SetAsyncExc)                                                                   \
    X(PyThread_get_thread_ident)                                                                   \
    X(PyType_FromSpec)                                                                             \
    X(PyType_GetFlags)                                                                             \
    X(PyType_GetSlot)                                                                              \
    X(PyType_Ready)                                                                                \
    X(PyUnicode_AsEncodedString)                                                                   \
    X(PyUnicode_AsUTF8String)                                                                      \
    X(PyUnicode_FromString)                                                                        \
    X(Py_AddPendingCall)                                                                           \
    X(Py_CompileString)                                                                            \
    X(Py_DecRef)                                                                                   \
    X(Py_Finalize)                                                                                 \
    X(Py_GetVersion)                                                                               \
    X(Py_IncRef)                                                                                   \
    X(Py_InitializeEx)                                                                             \
    X(Py_IsInitialized)                                                                            \
    X(Py_SetProgramName)

/// The functions and objects of the interpreter that this program uses, looked up in the library
/// when it is loaded. Every entry is null before that; all of them are exported by every version
/// since 3.4.
struct PythonApi
{
    // Some of these are deprecated in newer headers; the older libraries still want the calls.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#define DECLARE_FUNCTION(name) decltype(&::name) name = nullptr;
    PYTHON_FUNCTIONS(DECLARE_FUNCTION)
#undef DECLARE_FUNCTION
#pragma GCC diagnostic pop

    PyObject *None = nullptr;
    PyObject *True = nullptr;
    PyObject *False = nullptr;
    // Variables of the library that hold exception types; filled by the interpreter's start.
    PyObject **AttributeError = nullptr;
    PyObject **KeyboardInterrupt = nullptr;
    PyObject **SystemExit = nullptr;
    PyObject **TypeError = nullptr;
    PyObject **ValueError = nullptr;

    /// Binds every entry, or none and false when the library lacks one of them.
    [[nodiscard]] bool resolve(Platform &platform, Platform::Library library);
};

/// The table of the loaded library. Written once, while the library is loaded.
extern PythonApi py;
