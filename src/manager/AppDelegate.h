#pragma once

#include "LVInstallManagerDelegate.h"

#include <QObject>
#include <memory>

class VMLoggerWindow;
class LVPreferencesWindow;

// Starts the application: identity, appearance, the log, the preferences and the main window.
class AppDelegate : public QObject, public LVInstallManagerDelegate
{
    Q_OBJECT
public:
    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    // Application-wide identity and look; also used by tests that build windows.
    static void configureApplication();

    void applicationDidFinishLaunching();

    void configDataLoaded(LVInstallManager* manager) override;
    void quitApplication() override;
    void openAbout() override;
    void openPreferences() override;

    VMLoggerWindow* loggerWindow() const { return _loggerWindow.get(); }
    LVPreferencesWindow* preferencesWindow() const { return _preferencesWindow.get(); }

private:
    void useExtendedLoggingChanged(bool enabled);

    std::unique_ptr<VMLoggerWindow> _loggerWindow;
    std::unique_ptr<LVPreferencesWindow> _preferencesWindow;
};
