#pragma once

#include <QCoreApplication>
#include <QString>

// The names that make QSettings and the data folders the application's own, for the window and
// for the command line alike.
namespace LVApplicationIdentity {

inline void apply()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnet"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("quarnet.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Lumivane Manager"));
}

} // namespace LVApplicationIdentity
