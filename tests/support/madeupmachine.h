// SPDX-License-Identifier: MIT
#pragma once

#include "python/platform.h"

#include <QDir>
#include <QMap>
#include <QStringList>

#include <cstdlib>

/// A machine that doesn't exist, with folders separated by backslashes and nothing on it unless a test
/// puts it there.
struct MadeUpMachine : Platform
{
    QMap<QString, QString> keys; // "LM" or "CU", then the key
    QMap<QString, QString> libraries; // path to the name of an export that it lacks
    QMap<QString, QString> variables;
    QMap<QString, QString> files;
    QStringList directories;
    QStringList modules;
    QStringList attempts; // of loading, in their order
    QStringList kept;
    QString version = "3.8.1 (made up)";
    QString current = "D:\\work";

    static QString text(const std::string &path) { return QString::fromStdString(path); }

    char separator() override { return '\\'; }
    std::string pythonLibraryPrefix() override { return "python3"; }
    std::vector<std::string> loadedModules() override
    {
        std::vector<std::string> paths;
        for (const QString &module : qAsConst(modules))
            paths.push_back(module.toStdString());
        return paths;
    }
    Library openLoadedModule(const std::string &path) override
    {
        return kept.append(text(path)), &kept.last();
    }
    Library programWithPython() override { return nullptr; }
    std::vector<std::string> pythonLibraries(const std::string &directory,
                                             const std::string &,
                                             int) override
    {
        return {directory + "\\python3.dll"};
    }
    Library loadLibrary(const std::string &path) override
    {
        attempts.append(text(path));
        loadedFrom = current;
        const auto found = libraries.find(text(path));
        return found == libraries.end() ? nullptr : &found.value();
    }
    void keepLibrary(const std::string &path) override { kept.append(text(path)); }
    void unloadLibrary(Library) override { ++unloaded; }
    void *findExport(Library library, const char *name) override
    {
        if (*static_cast<QString *>(library) == name)
            return nullptr;
        static QByteArray answer;
        answer = version.toUtf8();
        const char *(*const getVersion)() = [] { return answer.constData(); };
        return reinterpret_cast<void *>(getVersion);
    }
    std::optional<std::string> registeredText(Hive hive, const std::string &key) override
    {
        const auto found = keys.find((hive == Hive::LocalMachine ? "LM " : "CU ") + text(key));
        return found == keys.end() ? std::nullopt : std::optional(found.value().toStdString());
    }
    std::vector<std::string> installedDirectories(int) override { return {}; }
    bool holdsStandardLibrary(const std::string &home, int) override
    {
        return isDirectory(home + "\\Lib");
    }
    std::string scriptsDirectory(const std::string &environment) override
    {
        return environment + "\\Scripts";
    }
    std::string interpreter(const std::string &environment) override
    {
        return scriptsDirectory(environment) + "\\python.exe";
    }
    std::string installationPrefix(const std::string &home) override { return home; }
    std::vector<std::string> packageDirectories(const std::string &prefix, int) override
    {
        return {prefix + "\\lib\\site-packages"};
    }
    bool isDirectory(const std::string &path) override { return directories.contains(text(path)); }
    std::optional<std::string> readTextFile(const std::string &path) override
    {
        const auto found = files.find(text(path));
        return found == files.end() ? std::nullopt : std::optional(found.value().toStdString());
    }
    std::string currentDirectory() override { return current.toStdString(); }
    void setCurrentDirectory(const std::string &path) override { current = text(path); }
    std::optional<std::string> environmentVariable(const char *name) override
    {
        const auto found = variables.find(name);
        return found == variables.end() ? std::nullopt : std::optional(found.value().toStdString());
    }
    void setEnvironmentVariable(const char *name, const std::optional<std::string> &value) override
    {
        if (value)
            variables[name] = text(*value);
        else
            variables.remove(name);
    }
    void useUtf8Locale() override { }
    void ignoreWriteSignals() override { }
    long processId() override { return 1; }
    void writeToDescriptor(int, const char *, std::size_t) override { }
    void endProcess(int status) override { std::exit(status); }

    QString loadedFrom;
    int unloaded = 0;
};
