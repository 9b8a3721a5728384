// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QStringList>
#include <QVariantMap>

/// One loaded generator with a part number, and what the generator says about that part. Shared by
/// the modes of the open session. Its operations run Python, which may let events through: callers
/// keep the session alive (by a shared pointer) until they return.
class Session
{
public:
    /// Loads the generator at \a modulePath, which is relative to \a folder. Without such a file the
    /// session stays without a module name and without descriptors.
    Session(const QString &modulePath,
            const QString &partNumber,
            const QDir &folder = QDir(QDir::currentPath()));

    /// Imports or reloads the generator and reads its descriptors anew. Changes nothing when the
    /// file is missing or raises. An empty part number becomes the generator's first.
    void load();
    /// The generation result for \a values; empty when it failed.
    [[nodiscard]] QVariantMap generate(const QVariantMap &values) const;

    /// The generator file, as it was given.
    [[nodiscard]] QString modulePath() const { return m_modulePath; }
    [[nodiscard]] QString moduleName() const { return m_moduleName; }
    [[nodiscard]] QString partNumber() const { return m_partNumber; }
    [[nodiscard]] QStringList partNumbers() const { return m_partNumbers; }
    /// Parameter name to descriptor.
    [[nodiscard]] QVariantMap parameterList() const { return m_parameterList; }
    /// Group name to descriptor.
    [[nodiscard]] QVariantMap parameterGroupList() const { return m_parameterGroupList; }

private:
    const QString m_modulePath;
    /// Where the path leads: generators may change the current directory.
    const QString m_absolutePath;
    QString m_moduleName;
    QString m_partNumber;
    QStringList m_partNumbers;
    QVariantMap m_parameterList;
    QVariantMap m_parameterGroupList;
    /// Counts the loads, so that one which a newer load has overtaken stops.
    int m_loads = 0;
};
