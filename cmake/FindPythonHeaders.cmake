# SPDX-License-Identifier: MIT
#
# Finds the directory of Python.h. Only the header is wanted: the library is looked for when the
# program starts. CMake's own FindPython3 insists on a matching interpreter or library, so the
# directories in which distributions install the header are searched directly.
#
# Defines PythonHeaders_INCLUDE_DIR and the imported target Python::Headers, whose warnings are off.

set(_suffixes)
foreach(_minor RANGE 29 6 -1)
    list(APPEND _suffixes "python3.${_minor}" "python3.${_minor}m")
endforeach()

find_path(PythonHeaders_INCLUDE_DIR Python.h
    PATHS /usr/include /usr/local/include
    PATH_SUFFIXES ${_suffixes}
    DOC "Directory of Python.h")

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PythonHeaders
    REQUIRED_VARS PythonHeaders_INCLUDE_DIR
    REASON_FAILURE_MESSAGE "Install the Python 3 headers (Debian: python3-dev).")
mark_as_advanced(PythonHeaders_INCLUDE_DIR)

if(PythonHeaders_FOUND AND NOT TARGET Python::Headers)
    add_library(Python::Headers INTERFACE IMPORTED)
    set_target_properties(Python::Headers PROPERTIES
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${PythonHeaders_INCLUDE_DIR}"
        INTERFACE_INCLUDE_DIRECTORIES "${PythonHeaders_INCLUDE_DIR}")
endif()
