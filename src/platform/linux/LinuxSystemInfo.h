#pragma once

#include "platform/emulated/EmulatedSystemInfo.h"

// The emulated Mac's folders, with the Linux desktop's own Downloads folder and XDG Trash.
class LinuxSystemInfo : public EmulatedSystemInfo
{
public:
    QString downloadsDirectory() const override;
    QString trashDirectory() const override;
};
