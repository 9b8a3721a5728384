// SPDX-License-Identifier: MIT
#pragma once

#include "python/pythonapi.h"

#include <utility>

/// One owned reference to a Python object, or none. Needs the interpreter lock for as long as it
/// lives, so it is declared after the GilGuard.
class PyRef final
{
public:
    PyRef() noexcept = default;
    /// Takes over a reference that the caller owns ("new reference" in the interpreter's manual).
    explicit PyRef(PyObject *owned) noexcept
        : m_object(owned)
    {
    }
    /// Shares an object that somebody else owns ("borrowed reference").
    [[nodiscard]] static PyRef share(PyObject *borrowed)
    {
        py.Py_IncRef(borrowed);
        return PyRef(borrowed);
    }
    PyRef(PyRef &&other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    PyRef &operator=(PyRef &&other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~PyRef()
    {
        if (m_object)
            py.Py_DecRef(m_object);
    }

    explicit operator bool() const noexcept { return m_object != nullptr; }
    [[nodiscard]] PyObject *get() const noexcept { return m_object; }
    [[nodiscard]] PyObject *release() noexcept { return std::exchange(m_object, nullptr); }

private:
    PyObject *m_object = nullptr;
};

/// Holds the interpreter lock, from any thread and nested at will. Does nothing while no interpreter
/// runs.
class GilGuard final
{
public:
    GilGuard()
        : m_locked(py.Py_IsInitialized() != 0)
    {
        if (m_locked)
            m_state = py.PyGILState_Ensure();
    }
    ~GilGuard()
    {
        if (m_locked && py.Py_IsInitialized())
            py.PyGILState_Release(m_state);
    }
    GilGuard(const GilGuard &) = delete;
    GilGuard &operator=(const GilGuard &) = delete;

    [[nodiscard]] bool isLocked() const noexcept { return m_locked; }

private:
    const bool m_locked;
    PyGILState_STATE m_state = PyGILState_UNLOCKED;
};
