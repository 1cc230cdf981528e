#pragma once

#include "LVInstallManagerDelegate.h"
#include "platform/SelfUpdater.h"

#include <QByteArray>
#include <QObject>
#include <QPointer>
#include <QUrl>
#include <functional>
#include <memory>

class LVAboutWindow;
class LVApplicationMenu;
class LVLicenseAgreementWindow;
class LVPreferencesWindow;
class VMLoggerWindow;

// The application delegate: starts the install manager and shows its window, wires extended
// logging to the log window, listens on the command channel, configures the self-updater, offers
// the removal of older plug-in versions on Apple silicon, and shows the licence agreement when the
// catalogue names a new one.
class AppDelegate : public QObject, public LVInstallManagerDelegate, public SelfUpdaterDelegate
{
    Q_OBJECT
public:
    static constexpr int buildNumber = 65;
    static constexpr const char* messageNotificationName = "com.quarnet.lumivane_manager.message";
    static constexpr const char* LVManagerCommand = "LVManagerCommand";
    static constexpr const char* feedPath = "/VM_installers/sparkle/lv_manager_cast_1.xml";
    static constexpr double updateCheckInterval = 604800.0;

    explicit AppDelegate(QObject* parent = nullptr);
    ~AppDelegate() override;

    // Application-wide identity and look; also used by tests that build windows.
    static void configureApplication();

    // The launch-agent property list in the user's Library folder.
    static QString launchAgentSettingsFilePath();
    // Makes the launch agent start this executable; true in every outcome. Nothing calls it.
    static bool updateLaunchAgentSettings();

    // Ends the process at once with this status; tests put a function of their own in its place.
    static void setProcessTerminator(std::function<void(int status)> terminator);
    // Runs the total-uninstall tool with this uninstall option (the older-versions offer uses 2).
    // The tools set it when they are built into the application; without it "Uninstall" does nothing.
    static void setTotalUninstallStarter(std::function<void(int uninstallOption)> starter);

    void applicationDidFinishLaunching();
    void applicationWillTerminate() {}

    void messageNotificationSelector(const QString& object);
    void useExtendedLogging(bool flag);
    void checkAppleSiliconFxPlug3();
    void showHelpOnUninstallingDiscontinuedVersions();
    static QUrl helpOnUninstallingDiscontinuedVersionsURL();

    // LVInstallManagerDelegate
    void configDataLoaded(LVInstallManager* manager) override;
    void quitApplication() override;
    void openAbout() override;
    void openPreferences() override;

    // The agreement: `sender` null when the program asks, non-null when a person does.
    void downloadAndShowLicenseAgreement(QObject* sender);
    void showLicenseAgreement(const QByteArray& data);
    void licenseAgreementAgreeAction();
    void licenseAgreementDontAgreeAction();

    // SelfUpdaterDelegate
    QString feedURLStringForUpdater() override;
    bool updaterMayCheckForUpdates() override { return true; }
    int bestValidUpdateInAppcast(const QList<SelfUpdateItem>& items) override;
    void updaterDidFindValidUpdate(const SelfUpdateItem& item) override;
    void updaterDidNotFindUpdate() override;

    VMLoggerWindow* loggerWindow() const { return _loggerWindow.get(); }
    LVPreferencesWindow* preferencesWindow() const { return _preferencesWindow.get(); }
    LVAboutWindow* aboutWindow() const { return _aboutWindow.get(); }
    LVApplicationMenu* applicationMenu() const { return _applicationMenu.get(); }
    LVLicenseAgreementWindow* licenseAgreementWindow() const { return _licenseAgreementWindow.get(); }

private:
    void endLicenseAgreementSession(bool agreed);

    std::unique_ptr<VMLoggerWindow> _loggerWindow;
    std::unique_ptr<LVPreferencesWindow> _preferencesWindow;
    std::unique_ptr<LVAboutWindow> _aboutWindow;
    std::unique_ptr<LVApplicationMenu> _applicationMenu;
    std::unique_ptr<LVLicenseAgreementWindow> _licenseAgreementWindow;
    QString _shownLicenseAgreementURL;
};
