#include "AppDelegate.h"

#include "LVAppearance.h"
#include "LVConsentPrompt.h"
#include "LVPreferencesWindow.h"
#include "VMLoggerWindow.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMNotificationCenter.h"
#include "platform/Platform.h"

#include <QApplication>

AppDelegate::AppDelegate(QObject* parent) : QObject(parent) {}

AppDelegate::~AppDelegate()
{
    VMLogger::sharedLogger()->setView(nullptr);
}

void AppDelegate::configureApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnet"));
    QCoreApplication::setOrganizationDomain(QStringLiteral("quarnet.com"));
    QCoreApplication::setApplicationName(QStringLiteral("Lumivane Manager"));
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

    _loggerWindow->move(40, 40);
    _loggerWindow->showLog();
    _preferencesWindow->show();
    VMLogger::logMessage(QStringLiteral("Lumivane Manager started"));
}

void AppDelegate::useExtendedLoggingChanged(bool enabled)
{
    if (enabled)
        VMLogger::sharedLogger()->show();
    else
        VMLogger::sharedLogger()->hide();
}
