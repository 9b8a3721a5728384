// SPDX-License-Identifier: MIT
#include "python/pythonapi.h"

PythonApi py;

template <typename Entry>
static bool bind(Platform &platform, Platform::Library library, const char *name, Entry &entry)
{
    entry = reinterpret_cast<Entry>(platform.findExport(library, name));
    return entry != nullptr;
}

bool PythonApi::resolve(Platform &platform, Platform::Library library)
{
    PythonApi api;
    bool complete = true;
#define BIND_FUNCTION(name) complete = complete && bind(platform, library, #name, api.name);
    PYTHON_FUNCTIONS(BIND_FUNCTION)
#undef BIND_FUNCTION
    complete = complete && bind(platform, library, "_Py_NoneStruct", api.None)
        && bind(platform, library, "_Py_TrueStruct", api.True)
        && bind(platform, library, "_Py_FalseStruct", api.False)
        && bind(platform, library, "PyExc_AttributeError", api.AttributeError)
        && bind(platform, library, "PyExc_KeyboardInterrupt", api.KeyboardInterrupt)
        && bind(platform, library, "PyExc_SystemExit", api.SystemExit)
        && bind(platform, library, "PyExc_TypeError", api.TypeError)
        && bind(platform, library, "PyExc_ValueError", api.ValueError);
    if (complete)
        *this = api;
    return complete;
}
