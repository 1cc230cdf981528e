#pragma once

#include "platform/emulated/EmulatedSystemInfo.h"

#include <functional>

// The real Mac: the system root is "/", the user's folders are in the home folder, and the
// processor is told by the hardware, not by uname (a process under Rosetta must see Apple silicon).
class MacSystemInfo : public EmulatedSystemInfo
{
public:
    explicit MacSystemInfo(std::function<bool()> isAppleSilicon);

    QString machineName() const override;
    QString systemRoot() const override;
    QString userLibraryDirectory() const override;
    QString downloadsDirectory() const override;
    QString trashDirectory() const override;

private:
    std::function<bool()> _isAppleSilicon;
};
