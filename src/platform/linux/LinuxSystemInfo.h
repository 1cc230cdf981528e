#pragma once

#include "platform/emulated/EmulatedSystemInfo.h"

// The emulated Mac's folders, with the Linux desktop's own Downloads folder and XDG Trash, and the
// XDG data folder for the application's own files unless the emulated Mac is chosen.
class LinuxSystemInfo : public EmulatedSystemInfo
{
public:
    QString downloadsDirectory() const override;
    QString trashDirectory() const override;
    QString applicationSupportDirectory() const override;
};
