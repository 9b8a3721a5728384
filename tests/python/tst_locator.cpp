// SPDX-License-Identifier: MIT
#include "python/pythonlocator.h"
#include "python/virtualenvironment.h"
#include "support/madeupmachine.h"
#include "support/table.h"

/// The search for Python on machines that don't exist here.
class tst_Locator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void search_data() { loadTable("python/locator"); }
    void search();
    void environmentTexts();
};

static void putOn(MadeUpMachine &machine, const QString &item)
{
    const QString kind = item.section(' ', 0, 0);
    const QString rest = item.section(' ', 1);
    const QString name = rest.section('=', 0, 0);
    const QString value = rest.section('=', 1);
    if (kind == "lib")
        machine.libraries[rest.section('!', 0, 0)] = rest.section('!', 1);
    else if (kind == "dir")
        machine.directories.append(rest);
    else if (kind == "cfg")
        machine.files["C:\\venv\\pyvenv.cfg"] = rest;
    else if (kind == "set")
        machine.variables[name] = value;
    else if (kind == "mod")
        machine.modules.append(rest);
    else if (kind == "version")
        machine.version = rest;
    else
        machine.keys[kind + (name.startsWith('W') ? " Software\\Wow6432Node" : " Software")
                     + "\\Python\\PythonCore\\" + name.mid(name.startsWith('W')) + '\\'] = value;
}

void tst_Locator::search()
{
    QFETCH(QString, machine);
    QFETCH(QString, given);
    QFETCH(QString, library);
    MadeUpMachine madeUp;
    for (const QString &item : machine.split(" , ", Qt::SkipEmptyParts))
        putOn(madeUp, item);

    PythonLocator locator(madeUp);
    QCOMPARE(locator.locate(given.toStdString()), !library.isEmpty());
    if (!library.isEmpty())
        QCOMPARE(madeUp.kept, QStringList(library));
    const QString environment = QStringList{QString::number(int(locator.environmentKind())),
                                            QString::fromStdString(locator.environmentDirectory()),
                                            QString::fromStdString(locator.homeDirectory()),
                                            locator.includeSystemSitePackages() ? "system" : ""}
                                    .join(' ');
    QTEST(environment.trimmed(), "environment");
    QStringList variables;
    for (auto it = madeUp.variables.cbegin(); it != madeUp.variables.cend(); ++it)
        variables.append(it.key() + '=' + it.value());
    QTEST(variables.join(' '), "variables");
    QTEST(madeUp.attempts.join(' '), "attempts");
    QCOMPARE(madeUp.current, QString("D:\\work"));
    if (!madeUp.attempts.isEmpty())
        QCOMPARE(madeUp.attempts.last(), madeUp.loadedFrom + "python3.dll");
}

void tst_Locator::environmentTexts()
{
    MadeUpMachine machine;
    VirtualEnvironment environment{"C:\\venv", "C:\\Python39", false, 9};
    const std::vector<std::string> statements = environment.statements(machine);
    const std::vector<std::string> expected{
        "import sys",
        "sys.executable = \"C:\\\\venv\\\\Scripts\\\\python.exe\"\n",
        "sys.prefix = \"C:\\\\venv\"\n",
        "sys.base_prefix = \"C:\\\\Python39\"\n",
        "sys.base_exec_prefix = \"C:\\\\Python39\"\n"};
    QCOMPARE(statements, expected);
    const QString script = QString::fromStdString(environment.scripts(machine).at(0));
    QVERIFY(
        script.startsWith("import os\nimport site\nos.environ['VIRTUAL_ENV'] = \"C:\\\\venv\"\n"
                          "site.main()\nbase_site_packages = "
                          "\"C:\\\\Python39\\\\lib\\\\site-packages\"\n"
                          "include_base_site_packages = False\nbase_site_packages_path = []\n"));
    environment.includeSystemSitePackages = true;
    QCOMPARE(QString::fromStdString(environment.scripts(machine).at(0)),
             QString(script).replace("False", "True"));
}

QTEST_GUILESS_MAIN(tst_Locator)
#include "tst_locator.moc"
