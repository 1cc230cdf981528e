#include "PosixSystemInfo.h"
#include "PosixPlist.h"

#include <QDir>
#include <QGuiApplication>
#include <QStandardPaths>

#include <sys/utsname.h>
#include <unistd.h>

QString PosixSystemInfo::machineName() const
{
    struct utsname name;
    if (uname(&name) != 0)
        return QString();
    return QString::fromLocal8Bit(name.machine);
}

QVersionNumber PosixSystemInfo::operatingSystemVersion() const
{
    const QString path = pathInSystemRoot(QStringLiteral("/System/Library/CoreServices/SystemVersion.plist"));
    const QString version = PosixPlist::readStrings(path).value(QStringLiteral("ProductVersion")).toString();
    return QVersionNumber::fromString(version);
}

SystemInfo::ModifierKeys PosixSystemInfo::heldModifierKeys() const
{
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return NoModifier;
    // The PC keyboard's Alt stands for Option and Ctrl for Command, as Qt maps them on a Mac.
    const Qt::KeyboardModifiers held = QGuiApplication::queryKeyboardModifiers();
    ModifierKeys keys;
    if (held & Qt::ShiftModifier)
        keys |= Shift;
    if (held & Qt::AltModifier)
        keys |= Option;
    if (held & Qt::ControlModifier)
        keys |= Command;
    if (held & Qt::MetaModifier)
        keys |= Control;
    return keys;
}

QString PosixSystemInfo::defaultSystemRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/lumivane-manager/system-root");
}

QString PosixSystemInfo::systemRoot() const
{
    const QString configured = qEnvironmentVariable("LV_SYSTEM_ROOT");
    return QDir::cleanPath(configured.isEmpty() ? defaultSystemRoot() : configured);
}

QString PosixSystemInfo::downloadsDirectory() const
{
    const QString location = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    return location.isEmpty() ? SystemInfo::downloadsDirectory() : location;
}

QString PosixSystemInfo::userLibraryDirectory() const
{
    const QString user = QString::fromLocal8Bit(qgetenv("USER").isEmpty() ? QByteArray("user") : qgetenv("USER"));
    return pathInSystemRoot(QStringLiteral("/Users/%1/Library").arg(user));
}

QString PosixSystemInfo::trashDirectory() const
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/Trash/files");
}
