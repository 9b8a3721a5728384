# SPDX-License-Identifier: MIT
#
# Compiler settings, and the two functions that a folder's CMakeLists.txt is made of.

get_filename_component(TARNWICK_ROOT "${CMAKE_CURRENT_LIST_DIR}" DIRECTORY)

set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTOUIC ON)
set(CMAKE_AUTORCC ON)

# What every target of this project is compiled with.
add_library(tarnwick_options INTERFACE)
target_compile_features(tarnwick_options INTERFACE cxx_std_17)
target_include_directories(tarnwick_options INTERFACE "${TARNWICK_ROOT}")
target_compile_options(tarnwick_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual
    -Wsuggest-override -Wzero-as-null-pointer-constant
    # The macros of the toolkit's tests are called without their last arguments.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
if(TARNWICK_WARNINGS_AS_ERRORS)
    target_compile_options(tarnwick_options INTERFACE -Werror)
endif()
if(TARNWICK_SANITIZE)
    target_compile_options(tarnwick_options INTERFACE
        "-fsanitize=${TARNWICK_SANITIZE}" -fno-omit-frame-pointer -fno-sanitize-recover=undefined)
    target_link_options(tarnwick_options INTERFACE "-fsanitize=${TARNWICK_SANITIZE}")
endif()
target_compile_definitions(tarnwick_options INTERFACE
    QT_NO_KEYWORDS QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_STRICT_ITERATORS
    QT_DEPRECATED_WARNINGS)

# What the product is held to beyond that; tests compare with plain literals.
add_library(tarnwick_strings INTERFACE)
target_compile_definitions(tarnwick_strings INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII)

# tarnwick_add_library(<folder> SOURCES <file>... LINK <target>...)
# makes the static library tarnwick_<folder> with the alias Tarnwick::<folder>.
function(tarnwick_add_library folder)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LINK")
    add_library(tarnwick_${folder} STATIC ${ARG_SOURCES})
    add_library(Tarnwick::${folder} ALIAS tarnwick_${folder})
    target_link_libraries(tarnwick_${folder}
        PUBLIC tarnwick_options ${ARG_LINK}
        PRIVATE tarnwick_strings)
endfunction()

# tarnwick_add_test(<name> SOURCES <file>... LINK <target>... [LABELS <label>...]
#                   [ENVIRONMENT <NAME=value>...])
# makes a Qt Test program and registers it; the first label is the folder that it tests. Each runs
# with a HOME, a settings store and a working directory of its own.
function(tarnwick_add_test name)
    cmake_parse_arguments(PARSE_ARGV 1 ARG "" "" "SOURCES;LINK;LABELS;ENVIRONMENT")
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE tarnwick_options Qt5::Test ${ARG_LINK})
    # What a test does itself takes no time; optimising it takes the compiler long.
    target_compile_options(${name} PRIVATE -O0)
    target_include_directories(${name} PRIVATE "${TARNWICK_ROOT}/tests")
    target_compile_definitions(${name} PRIVATE
        TEST_DATA_DIR="${TARNWICK_ROOT}/tests/data"
        EXAMPLES_DIR="${TARNWICK_ROOT}/examples")
    set(home "${CMAKE_CURRENT_BINARY_DIR}/home/${name}")
    file(MAKE_DIRECTORY "${home}/config" "${home}/work")
    add_test(NAME ${name} COMMAND ${name} WORKING_DIRECTORY "${home}/work")
    set(environment
        "HOME=${home}" "XDG_CONFIG_HOME=${home}/config" "XDG_DATA_HOME=${home}/data"
        "QT_QPA_PLATFORM=offscreen"
        # Byte code is written as on a user's machine, where it must not hide edits.
        "PYTHONDONTWRITEBYTECODE=")
    # Those of the window choose their locale as the program does.
    if("app" IN_LIST ARG_LABELS)
        list(APPEND environment "LC_ALL=C")
    else()
        list(APPEND environment "LC_ALL=C.UTF-8")
    endif()
    if(TARNWICK_SANITIZE)
        # With the interpreter's own allocator the sanitizer sees no Python object.
        list(APPEND environment "PYTHONMALLOC=malloc" "UBSAN_OPTIONS=print_stacktrace=1")
        if(PythonHeaders_INCLUDE_DIR MATCHES "python3\\.(1[2-9]|[2-9][0-9])")
            # Two frames tell the allocation and who asked for it: with more, what our code loses while
            # a script calls it would count as the interpreter's.
            list(APPEND environment "ASAN_OPTIONS=malloc_context_size=2"
                "LSAN_OPTIONS=suppressions=${TARNWICK_ROOT}/cmake/leaks.supp:print_suppressions=0")
        endif()
    endif()
    set_tests_properties(${name} PROPERTIES
        TIMEOUT 300
        LABELS "${ARG_LABELS}"
        ENVIRONMENT "${environment};${ARG_ENVIRONMENT}")
endfunction()
