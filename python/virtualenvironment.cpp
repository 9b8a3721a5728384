// SPDX-License-Identifier: MIT
#include "python/virtualenvironment.h"

/// A path as a Python literal.
static std::string quoted(const std::string &path)
{
    std::string text = "\"";
    for (const char character : path) {
        if (character == '\\')
            text += '\\';
        text += character;
    }
    return text + '"';
}

std::vector<std::string> VirtualEnvironment::statements(Platform &platform) const
{
    const std::string prefix = quoted(platform.installationPrefix(home));
    return {"import sys",
            "sys.executable = " + quoted(platform.interpreter(directory)) + '\n',
            "sys.prefix = " + quoted(directory) + '\n',
            "sys.base_prefix = " + prefix + '\n',
            "sys.base_exec_prefix = " + prefix + '\n'};
}

std::vector<std::string> VirtualEnvironment::scripts(Platform &platform) const
{
    std::vector<std::string> scripts;
    const std::string prefix = platform.installationPrefix(home);
    for (const std::string &packages : platform.packageDirectories(prefix, minorVersion)) {
        // Once: since 3.14 it adds the base's folders each time.
        const std::string start = scripts.empty() ? "\nsite.main()" : "";
        scripts.push_back("import os\nimport site\nos.environ['VIRTUAL_ENV'] = " + quoted(directory)
                          + start + "\nbase_site_packages = " + quoted(packages)
                          + "\ninclude_base_site_packages = "
                          + (includeSystemSitePackages ? "True" : "False")
                          + "\n"
                            "base_site_packages_path = []\n"
                            "new_path = []\n"
                            "for p in sys.path:\n"
                            "    if os.path.commonpath([base_site_packages, p])"
                            " == base_site_packages:\n"
                            "        if include_base_site_packages:\n"
                            "            base_site_packages_path.append(p)\n"
                            "    else:\n"
                            "        new_path.append(p)\n"
                            "sys.path = new_path + base_site_packages_path\n");
    }
    return scripts;
}
