// SPDX-License-Identifier: MIT
#include "session/session.h"

#include "session/generator.h"

#include <QFileInfo>

Session::Session(const QString &modulePath, const QString &partNumber, const QDir &folder)
    : m_modulePath(modulePath)
    , m_absolutePath(modulePath.isEmpty() ? QString() : folder.absoluteFilePath(modulePath))
    , m_partNumber(partNumber)
{
    const QFileInfo file(m_absolutePath);
    if (!file.isFile())
        return;
    m_moduleName = file.baseName();
    load();
}

void Session::load()
{
    const int load = ++m_loads;
    if (!generator::importGenerator(m_absolutePath) || load != m_loads)
        return;

    const QVariantList parts = generator::queryPartNumbers(m_moduleName);
    if (load != m_loads)
        return;
    m_partNumbers.clear();
    for (const QVariant &part : parts)
        m_partNumbers.append(part.toString());
    if (m_partNumber.isEmpty() && !m_partNumbers.isEmpty())
        m_partNumber = m_partNumbers.first();

    QVariantMap parameters;
    if (!m_moduleName.isEmpty())
        parameters = generator::queryParameterList(m_moduleName, m_partNumber);
    if (load != m_loads)
        return;
    const QVariantMap groups = generator::queryParameterGroupList(m_moduleName, m_partNumber);
    if (load != m_loads)
        return;
    m_parameterList = parameters;
    m_parameterGroupList = groups;
}

QVariantMap Session::generate(const QVariantMap &values) const
{
    return generator::generate(m_moduleName, m_partNumber, values);
}
