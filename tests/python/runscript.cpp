// SPDX-License-Identifier: MIT
#include "python/pythonmodule.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <tuple>

static std::unique_ptr<PythonModule> python;
static int answers[2];

static void writeText(int, const char *text)
{
    if (std::strcmp(text, "destroy the wrapper") == 0)
        python.reset();
    std::fputs(text, stdout);
    std::fflush(stdout);
}

/// Waits for an answer, which comes when the interpreter is gone.
static std::string readLine()
{
    char answer = '\0';
    std::ignore = read(answers[0], &answer, 1);
    return "\n";
}

/// Executes its arguments, one after the other, and ends as the program ends. Works in the virtual
/// environment that the variable TARNWICK_TEST_ENVIRONMENT names.
int main(int argc, char *argv[])
{
    if (pipe(answers) != 0)
        return 2;
    PythonModule::setConsole({writeText, readLine});
    python = std::make_unique<PythonModule>();
    python->initialize(L"runscript", std::getenv("TARNWICK_TEST_ENVIRONMENT"));
    if (!CPython::isLoaded())
        writeText(0, "no Python\n");
    for (int i = 1; i < argc; ++i)
        CPython::execute(argv[i]);
    writeText(0, "returned\n");
    python.reset();
    close(answers[1]);
    writeText(0, "ended\n");
}
