// SPDX-License-Identifier: MIT
#pragma once

#include "python/platform.h"

#include <QMap>
#include <QStringList>

#include <cstdlib>

/// A machine that doesn't exist, with folders separated by backslashes and nothing on it but what its
/// description names. Items are parted by " , ": "LM" or "CU" and a key of the registry, with its
/// text after a '='; "lib" and a library, with the name of an export that it lacks; "file" and a
/// file, with its text; "set" and a variable, with its value; "dir" and a folder; "mod" and a library
/// that the process has loaded; "dies" and a library that ends a process at its start, unless
/// PYTHONHOME is the text; "version=" and what the libraries say of themselves.
struct MadeUpMachine : Platform
{
    using Text = std::optional<std::string>;
    using Texts = std::vector<std::string>;

    explicit MadeUpMachine(const QString &description = QString())
    {
        for (const QString &item : description.split(" , ", Qt::SkipEmptyParts))
            things[item.section('=', 0, 0)] = item.section('=', 1);
    }

    QMap<QString, QString> things{{"version", "3.8.1 (made up)"}};
    QStringList attempts; // of loading, in their order
    QStringList kept;
    QString current = "D:\\work";

    char separator() override { return '\\'; }
    std::string pythonLibraryPrefix() override { return "python3"; }
    Texts loadedModules() override
    {
        Texts paths;
        for (const QString &thing : things.keys()) {
            if (thing.startsWith("mod "))
                paths.push_back(thing.mid(4).toStdString());
        }
        return paths;
    }
    Library openLoadedModule(const std::string &path) override
    {
        keepLibrary(path);
        return &things["mod " + text(path)];
    }
    Library programWithPython() override { return nullptr; }
    Texts pythonLibraries(const std::string &directory, const std::string &, int) override
    {
        return {directory + "\\python3.dll"};
    }
    /// Libraries are to be loaded with their folder as the current one.
    Library loadLibrary(const std::string &path) override
    {
        const bool isInFolder = text(path) == current + "python3.dll";
        attempts.append(isInFolder ? text(path) : text(path) + " from " + current);
        const auto found = things.find("lib " + text(path));
        return found == things.end() ? nullptr : &found.value();
    }
    bool survivesStart(const std::string &path, Library) override
    {
        const Text home = find("dies ", path);
        return !home || (!home->empty() && home == environmentVariable("PYTHONHOME"));
    }
    void keepLibrary(const std::string &path) override { kept.append(text(path)); }
    void unloadLibrary(Library) override { }
    void *findExport(Library library, const char *name) override
    {
        if (*static_cast<QString *>(library) == name)
            return nullptr;
        static QByteArray answer;
        answer = things["version"].toUtf8();
        const char *(*const getVersion)() = [] { return answer.constData(); };
        return reinterpret_cast<void *>(getVersion);
    }
    Text registeredText(Hive hive, const std::string &key) override
    {
        return find(hive == Hive::LocalMachine ? "LM " : "CU ", key);
    }
    Texts installedDirectories(int) override { return {}; }
    bool holdsStandardLibrary(const std::string &home, int) override
    {
        return isDirectory(home + "\\Lib");
    }
    std::string scriptsDirectory(const std::string &venv) override { return venv + "\\Scripts"; }
    std::string interpreter(const std::string &venv) override
    {
        return venv + "\\Scripts\\python.exe";
    }
    std::string installationPrefix(const std::string &home) override { return home; }
    Texts packageDirectories(const std::string &prefix, int) override
    {
        return {prefix + "\\lib\\site-packages"};
    }
    bool isDirectory(const std::string &path) override { return find("dir ", path).has_value(); }
    Text readTextFile(const std::string &path) override { return find("file ", path); }
    std::string currentDirectory() override { return current.toStdString(); }
    void setCurrentDirectory(const std::string &path) override { current = text(path); }
    Text environmentVariable(const char *name) override { return find("set ", name); }
    void setEnvironmentVariable(const char *name, const Text &value) override
    {
        things.remove("set " + text(name));
        if (value)
            things["set " + text(name)] = text(*value);
    }
    void useUtf8Locale() override { }
    void ignoreWriteSignals() override { }
    void catchInterrupts(bool (*)()) override { }
    int interruptDescriptor() override { return -1; }
    bool takeInterrupt() override { return false; }
    long processId() override { return 1; }
    void writeToDescriptor(int, const char *, std::size_t) override { }
    void endProcess(int status) override { std::exit(status); }

private:
    static QString text(const std::string &path) { return QString::fromStdString(path); }
    Text find(const char *kind, const std::string &name) const
    {
        const auto found = things.find(kind + text(name));
        return found == things.end() ? std::nullopt : Text(found.value().toStdString());
    }
};
