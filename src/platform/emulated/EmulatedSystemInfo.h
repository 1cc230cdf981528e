#pragma once

#include "platform/SystemInfo.h"

// The Mac's folders inside the system root (LV_SYSTEM_ROOT, or a folder in the user's data
// folder); the user's own folders (home, temporary, Downloads, Trash) are the real ones.
class PosixSystemInfo : public SystemInfo
{
public:
    QString machineName() const override;
    QVersionNumber operatingSystemVersion() const override;
    ModifierKeys heldModifierKeys() const override;

    QString systemRoot() const override;
    QString downloadsDirectory() const override;
    QString userLibraryDirectory() const override;
    QString trashDirectory() const override;

    static QString defaultSystemRoot();
};
