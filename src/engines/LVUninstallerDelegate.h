#pragma once

class LVUninstaller;

// What an uninstaller's owner hears, always on the main thread. The delegate must be a QObject: the
// uninstaller stops calling it once it is destroyed.
class LVUninstallerDelegate
{
public:
    virtual ~LVUninstallerDelegate() = default;
    virtual void uninstallStarted(LVUninstaller*) {}
    virtual void uninstallCompleted(LVUninstaller*) {}
    virtual void uninstallFailed(LVUninstaller*) {}
};
