// SPDX-License-Identifier: MIT
#include "python/pythonmodule.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <tuple>

namespace {

std::unique_ptr<PythonModule> python;
int answers[2];

void writeText(int, const char *text)
{
    if (std::strcmp(text, "destroy the wrapper") == 0)
        python.reset();
    std::fputs(text, stdout);
    std::fflush(stdout);
}

/// Waits for an answer, which comes when the interpreter is gone; a debugger is told to go on.
std::string readLine()
{
    if (CPython::evaluate("'pdb' in sys.modules") == "True")
        return "c\n";
    char answer = '\0';
    std::ignore = read(answers[0], &answer, 1);
    return "\n";
}

void print(const std::string &text)
{
    writeText(0, (text + '\n').c_str());
}

/// Runs one step: "line", "value", "import" or "path" and an argument for these operations of the
/// interpreter (<xff> ends a path with that byte); "modules" for a module of the library, imported and reloaded where it exists; "file"
/// with a module's name and text, always with the same time; anything else is executed.
void runStep(const std::string &step)
{
    const std::size_t blank = step.find(' ');
    const std::string kind = step.substr(0, blank);
    const std::string text = blank == std::string::npos ? std::string() : step.substr(blank + 1);
    if (kind == "line") {
        CPython::runStatement((text + '\n').c_str());
    } else if (kind == "value") {
        print('=' + CPython::evaluate(text.c_str()));
    } else if (kind == "path") {
        const std::size_t mark = text.find("<xff>");
        print(std::to_string(CPython::addSysPath(
            (mark == std::string::npos ? text : text.substr(0, mark) + '\xff').c_str())));
    } else if (kind == "import" && text.compare(0, 2, "m_") == 0) {
        CPython::execute("import os\nsys.path[:0] = [os.getcwd()]\n");
        print(CPython::importOrReload(text.c_str()) ? "True" : "False");
    } else if (kind == "modules") {
        CPython::execute(("import importlib.util\nif importlib.util.find_spec('" + text
                          + "'):\n    module = importlib.import_module('" + text
                          + "')\n    importlib.reload(module)\n")
                             .c_str());
    } else if (kind == "file") {
        const std::size_t end = text.find(' ');
        CPython::execute(("import os\nname = '" + text.substr(0, end)
                          + ".py'\nopen(name, 'w').write('''" + text.substr(end + 1)
                          + "''')\nos.utime(name, (10**9, 10**9))\n")
                             .c_str());
    } else {
        CPython::execute(step.c_str());
    }
}

} // namespace

/// Runs its arguments as steps, one after the other, and ends as the program ends. Works in the virtual
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
        runStep(argv[i]);
    writeText(0, "returned\n");
    python.reset();
    close(answers[1]);
    writeText(0, "ended\n");
}
