#include "AppDelegate.h"

#include "foundation/LVApplicationIdentity.h"

#include "LVAlert.h"
#include "LVAppearance.h"
#include "LVConsentPrompt.h"
#include "LVInstallManager.h"
#include "LVPreferencesWindow.h"
#include "VMLoggerWindow.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMNotificationCenter.h"
#include "platform/Platform.h"

#include <QApplication>

AppDelegate::AppDelegate(QObject* parent) : QObject(parent) {}

AppDelegate::~AppDelegate()
{
    LVInstallManager::releaseSharedInstallManager();
    VMLogger::sharedLogger()->setView(nullptr);
}

void AppDelegate::configureApplication()
{
    LVApplicationIdentity::apply();
    QCoreApplication::setApplicationVersion(QStringLiteral(LV_VERSION));
    if (auto* app = qobject_cast<QApplication*>(QCoreApplication::instance()))
        LVAppearance::applyToApplication(*app);
}

void AppDelegate::applicationDidFinishLaunching()
{
    configureApplication();
    LVConsentPrompt::install();

    _loggerWindow = std::make_unique<VMLoggerWindow>();
    VMLogger::sharedLogger()->setView(_loggerWindow.get());
    _preferencesWindow = std::make_unique<LVPreferencesWindow>();

    VMNotificationCenter::defaultCenter().addObserver(
        this, QLatin1String(LVPreferences::LVPrefsUseExtendedLogging),
        [this](const VMNotification& note) { useExtendedLoggingChanged(note.object.toBool()); });

    // The main window comes up detached and centred; showing it loads the catalogue.
    LVInstallManager* installManager = LVInstallManager::sharedInstallManager();
    installManager->setDelegate(this);
    installManager->setAttachedToStatusItem(false);
    installManager->show();

    if (LVPreferences::sharedPreferences()->usesExtendedLogging()) {
        _loggerWindow->move(40, 40);
        _loggerWindow->showLog();
    }
    VMLogger::logMessage(QStringLiteral("Lumivane Manager started"));
}

void AppDelegate::useExtendedLoggingChanged(bool enabled)
{
    if (enabled)
        VMLogger::sharedLogger()->show();
    else
        VMLogger::sharedLogger()->hide();
}

void AppDelegate::configDataLoaded(LVInstallManager*) {}

void AppDelegate::quitApplication()
{
    QCoreApplication::quit();
}

void AppDelegate::openAbout()
{
    LVAlert alert(QStringLiteral("Lumivane Manager"),
                  QStringLiteral("Version %1\nInstalls and updates Lumivane effects for FCP X and Motion.")
                      .arg(QCoreApplication::applicationVersion()));
    alert.setAlertStyle(LVAlert::Informational);
    LVInstallManager::sharedInstallManager()->showAlert(alert);
}

void AppDelegate::openPreferences()
{
    _preferencesWindow->show();
}
