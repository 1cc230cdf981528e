#pragma once

class LVToolUninstallItem;

// Hears each step of a total uninstall: 1 script download started, 2 script downloaded, 3 script
// download failed, 4 uninstall started, 5 uninstall completed, 6 uninstall failed. The delegate
// must be a QObject: the tool stops calling it once it is destroyed.
class LVToolUninstallItemDelegate
{
public:
    virtual ~LVToolUninstallItemDelegate() = default;
    virtual void uninstallStateChanged(uint state, LVToolUninstallItem* uninstaller) = 0;
};
