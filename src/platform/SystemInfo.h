#pragma once

#include <QFlags>
#include <QString>
#include <QVersionNumber>

// Facts about the machine and the user's folders. On a Mac these are the system's; elsewhere the
// Mac's folders live inside one folder, the system root.
class SystemInfo
{
public:
    enum ModifierKey { NoModifier = 0, Shift = 0x1, Control = 0x2, Option = 0x4, Command = 0x8 };
    Q_DECLARE_FLAGS(ModifierKeys, ModifierKey)

    virtual ~SystemInfo() = default;

    // The machine name that uname reports ("arm64", "x86_64").
    virtual QString machineName() const { return QString(); }
    // The running macOS version; a null version when it can't be told.
    virtual QVersionNumber operatingSystemVersion() const { return QVersionNumber(); }
    // The modifier keys held at this moment.
    virtual ModifierKeys heldModifierKeys() const { return NoModifier; }

    // The folder that stands for the Mac's "/" ("/" on a Mac).
    virtual QString systemRoot() const;
    virtual QString homeDirectory() const;
    virtual QString temporaryDirectory() const;
    virtual QString downloadsDirectory() const;
    virtual QString userLibraryDirectory() const;
    virtual QString localApplicationsDirectory() const;
    virtual QString trashDirectory() const;
    // Where the application keeps its own files (the history, the operations lock): on a Mac the
    // user's Application Support folder, <organization>/<application> below it, as Qt names it.
    virtual QString applicationSupportDirectory() const;

    // A Mac path ("/Applications/Lumivane") as it lies on this machine.
    QString pathInSystemRoot(const QString& macPath) const;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(SystemInfo::ModifierKeys)
