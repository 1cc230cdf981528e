#pragma once

#include "platform/SystemInfo.h"

// The Mac's folders inside the system root (LV_SYSTEM_ROOT, or a folder in the user's data
// folder), the user's Library, Downloads and Trash included (<root>/Users/$USER/...).
class EmulatedSystemInfo : public SystemInfo
{
public:
    QString machineName() const override;
    QVersionNumber operatingSystemVersion() const override;
    ModifierKeys heldModifierKeys() const override;

    QString systemRoot() const override;
    QString userLibraryDirectory() const override;
    QString downloadsDirectory() const override;
    QString trashDirectory() const override;

    static QString defaultSystemRoot();

protected:
    // A folder of the user's home inside the system root.
    QString userFolder(const QString& name) const;
};
