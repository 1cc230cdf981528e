#include "EmulatedSystemInfo.h"
#include "EmulatedPlatform.h"
#include "EmulatedPlist.h"

#include <QDir>
#include <QGuiApplication>
#include <QStandardPaths>

#include <sys/utsname.h>
#include <unistd.h>

QString EmulatedSystemInfo::machineName() const
{
    struct utsname name;
    if (uname(&name) != 0)
        return QString();
    return QString::fromLocal8Bit(name.machine);
}

QVersionNumber EmulatedSystemInfo::operatingSystemVersion() const
{
    const QString path = pathInSystemRoot(QStringLiteral("/System/Library/CoreServices/SystemVersion.plist"));
    const QString version = EmulatedPlist::readStrings(path).value(QStringLiteral("ProductVersion")).toString();
    return QVersionNumber::fromString(version);
}

SystemInfo::ModifierKeys EmulatedSystemInfo::heldModifierKeys() const
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

QString EmulatedSystemInfo::defaultSystemRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/lumivane-manager/system-root");
}

QString EmulatedSystemInfo::systemRoot() const
{
    const QString configured = qEnvironmentVariable("LV_SYSTEM_ROOT");
    // A forced emulated Mac never works on the machine's own "/".
    if (configured.isEmpty() || (EmulatedPlatform::isForced() && QDir::cleanPath(configured) == QLatin1String("/")))
        return QDir::cleanPath(defaultSystemRoot());
    return QDir::cleanPath(configured);
}

QString EmulatedSystemInfo::userFolder(const QString& name) const
{
    const QString user = QString::fromLocal8Bit(qgetenv("USER").isEmpty() ? QByteArray("user") : qgetenv("USER"));
    return pathInSystemRoot(QStringLiteral("/Users/%1/%2").arg(user, name));
}

QString EmulatedSystemInfo::userLibraryDirectory() const
{
    return userFolder(QStringLiteral("Library"));
}

QString EmulatedSystemInfo::downloadsDirectory() const
{
    return userFolder(QStringLiteral("Downloads"));
}

QString EmulatedSystemInfo::trashDirectory() const
{
    return userFolder(QStringLiteral(".Trash"));
}
