#pragma once

class LVInstallManager;

// What the install manager asks of the application: told after every catalogue load, and asked to
// quit and to open the about box and the preferences.
class LVInstallManagerDelegate
{
public:
    virtual ~LVInstallManagerDelegate() = default;
    virtual void configDataLoaded(LVInstallManager* manager) = 0;
    virtual void quitApplication() = 0;
    virtual void openAbout() = 0;
    virtual void openPreferences() = 0;
};
