#pragma once

#include "platform/emulated/EmulatedWorkspace.h"

// The emulated Mac's applications, with the desktop's XDG Trash (what the file manager shows).
class LinuxWorkspace : public EmulatedWorkspace
{
public:
    bool moveToTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode) override;
};
