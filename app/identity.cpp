// SPDX-License-Identifier: MIT
#include "app/identity.h"

#include <QCoreApplication>

void applyIdentity()
{
    constexpr int major = 6;
    constexpr int minor = 1;
    constexpr int release = 63;
    constexpr int build = 61641;
    QCoreApplication::setOrganizationName(QStringLiteral("kelvra"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("kelvra.example"));
    QCoreApplication::setApplicationName(QStringLiteral("Tarnwick"));
    QCoreApplication::setApplicationVersion(
        QStringLiteral("%1.%2.%3.%4").arg(major).arg(minor).arg(release).arg(build));
}
