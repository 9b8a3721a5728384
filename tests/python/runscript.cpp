// SPDX-License-Identifier: MIT
#include "python/pythonmodule.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <tuple>

namespace {

std::unique_ptr<PythonModule> python;
int answers[2];

void writeText(int unit, const char *text)
{
    if (std::strcmp(text, "destroy the wrapper") == 0)
        python.reset();
    std::FILE *const stream = unit == 1 ? stderr : stdout;
    std::fputs(text, stream);
    std::fflush(stream);
}

/// Waits for an answer, which comes when the interpreter is gone.
std::string readLine()
{
    char answer = '\0';
    std::ignore = read(answers[0], &answer, 1);
    return "\n";
}

} // namespace

/// Runs its arguments as scripts, one after the other, and ends as the program ends.
int main(int argc, char *argv[])
{
    if (pipe(answers) != 0)
        return 2;
    PythonModule::setConsole({writeText, readLine});
    python = std::make_unique<PythonModule>();
    python->initialize(L"runscript");
    for (int i = 1; i < argc; ++i)
        CPython::execute(argv[i]);
    writeText(0, "returned\n");
    python.reset();
    close(answers[1]);
    writeText(0, "ended\n");
}
