#pragma once

#include <QObject>
#include <memory>

class VMLoggerWindow;
class LVPreferencesWindow;

// Starts the application: identity, appearance, the log and the preferences.
class AppDelegate : public QObject
{
    Q_OBJECT
public:
    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    // Application-wide identity and look; also used by tests that build windows.
    static void configureApplication();

    void applicationDidFinishLaunching();

    VMLoggerWindow* loggerWindow() const { return _loggerWindow.get(); }
    LVPreferencesWindow* preferencesWindow() const { return _preferencesWindow.get(); }

private:
    void useExtendedLoggingChanged(bool enabled);

    std::unique_ptr<VMLoggerWindow> _loggerWindow;
    std::unique_ptr<LVPreferencesWindow> _preferencesWindow;
};
