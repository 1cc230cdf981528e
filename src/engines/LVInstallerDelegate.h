#pragma once

class LVInstaller;

// What an installer's owner hears, always on the main thread. The delegate must be a QObject: the
// installer stops calling it once it is destroyed.
class LVInstallerDelegate
{
public:
    virtual ~LVInstallerDelegate() = default;
    virtual void installStarted(LVInstaller*) {}
    virtual void installCompleted(LVInstaller*) {}
    virtual void installFailed(LVInstaller*) {}
};
