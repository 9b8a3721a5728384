# SPDX-License-Identifier: MIT
#
# Fails when PROGRAM needs a Python library or one of its symbols: it has to start without any.
execute_process(COMMAND "${NM}" -u "${PROGRAM}" OUTPUT_VARIABLE symbols RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT symbols MATCHES "dlsym")
    message(FATAL_ERROR "The undefined symbols could not be read.")
endif()
if(symbols MATCHES "[ \t](_?Py[A-Z_][A-Za-z_]*)")
    message(FATAL_ERROR "Linked against Python: ${CMAKE_MATCH_1}")
endif()

execute_process(COMMAND "${READELF}" -d "${PROGRAM}" OUTPUT_VARIABLE libraries RESULT_VARIABLE status)
if(NOT status EQUAL 0 OR NOT libraries MATCHES "NEEDED.*libc\\.so")
    message(FATAL_ERROR "The needed libraries could not be read.")
endif()
if(libraries MATCHES "libpython[^]]*")
    message(FATAL_ERROR "Linked against ${CMAKE_MATCH_0}")
endif()
