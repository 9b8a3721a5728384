// SPDX-License-Identifier: MIT
#pragma once

// The one way to Python.h. The limited interface keeps its inline functions from reaching into
// structures whose layout differs between versions, so that one build serves all of them. 3.4 is
// the lowest version that declares everything used here.
//
// Functions of the interpreter are called through the table in pythonapi.h alone; macros that hide
// a call (Py_DECREF, Py_None, PyUnicode_Check, ...) would link the library and are not used.
#define Py_LIMITED_API 0x03040000

#include <Python.h>
