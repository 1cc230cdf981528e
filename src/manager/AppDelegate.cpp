#include "AppDelegate.h"

#include "LVAboutWindow.h"
#include "LVApplicationItemFactory.h"
#include "LVApplicationMenu.h"
#include "LVConsentPrompt.h"
#include "LVInstallManager.h"
#include "LVLicenseAgreementWindow.h"
#include "LVPreferencesWindow.h"
#include "VMLoggerWindow.h"
#include "catalogue/LVServers.h"
#include "catalogue/VMProductsCollection.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "catalogue/VMVersionItem.h"
#include "engines/LVFetch.h"
#include "foundation/LVApplicationIdentity.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"
#include "foundation/VMKeyedArchive.h"
#include "foundation/VMLog.h"
#include "foundation/VMNotificationCenter.h"
#include "foundation/VMPropertyList.h"
#include "platform/Platform.h"
#include "tools/LVToolItem.h"
#include "tools/LVToolUninstallItem.h"
#include "tools/LVToolsTab.h"
#include "widgets/LVAlert.h"
#include "widgets/LVAppearance.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QSaveFile>
#include <cstdlib>

namespace {

std::function<void(int)>& processTerminator()
{
    static std::function<void(int)> terminator = [](int status) { std::_Exit(status); };
    return terminator;
}

std::function<void(int)>& totalUninstallStarter()
{
    static std::function<void(int)> starter;
    return starter;
}

constexpr int removeOlderVersionsOption = 2;

} // namespace

AppDelegate::AppDelegate(QObject* parent) : QObject(parent) {}

AppDelegate::~AppDelegate()
{
    Platform::selfUpdater().setDelegate(nullptr);
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

void AppDelegate::setProcessTerminator(std::function<void(int status)> terminator)
{
    processTerminator() = terminator ? std::move(terminator) : [](int status) { std::_Exit(status); };
}

void AppDelegate::setTotalUninstallStarter(std::function<void(int uninstallOption)> starter)
{
    totalUninstallStarter() = std::move(starter);
}

QString AppDelegate::launchAgentSettingsFilePath()
{
    return QDir(Platform::systemInfo().userLibraryDirectory())
        .filePath(QStringLiteral("LaunchAgents/com.quarnet.Lumivane-Manager.plist"));
}

bool AppDelegate::updateLaunchAgentSettings()
{
    const QString path = launchAgentSettingsFilePath();
    const QString program = QCoreApplication::applicationFilePath();
    const QVariant existing = VMPropertyList::fromFile(path);
    if (existing.typeId() == QMetaType::QVariantMap &&
        existing.toMap().value(QStringLiteral("Program")).toString() == program)
        return true;

    const QVariantMap settings{
        {QStringLiteral("Label"), QStringLiteral("com.quarnet.Lumivane-Manager")},
        {QStringLiteral("KeepAlive"), QVariantMap{{QStringLiteral("SuccessfulExit"), true}}},
        {QStringLiteral("Program"), program},
        {QStringLiteral("ProgramArguments"), QVariantList()},
    };
    const QByteArray xml = VMPropertyList::toXmlData(settings);
    if (xml.isEmpty()) {
        VM_LOG_ERROR(QStringLiteral("The launch agent's property list could not be made."));
        return true;
    }
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(xml) != xml.size() || !file.commit())
        VM_LOG_ERROR(file.errorString());
    return true;
}

void AppDelegate::applicationDidFinishLaunching()
{
    configureApplication();
    LVConsentPrompt::install();
    _loggerWindow = std::make_unique<VMLoggerWindow>();
    VMLogger::sharedLogger()->setView(_loggerWindow.get());
    _preferencesWindow = std::make_unique<LVPreferencesWindow>();
    _aboutWindow = std::make_unique<LVAboutWindow>();
    LVPreferences* preferences = LVPreferences::sharedPreferences();

    // 1. The manager; whether this is the first launch is read and not used.
    LVInstallManager* installManager = LVInstallManager::sharedInstallManager();
    installManager->setInstallItemFactory(std::make_shared<LVApplicationItemFactory>());
    const QList<LVToolItem*> tools = LVToolsTab::applicationTools();
    installManager->setToolItems(QList<LVOutlineItem*>(tools.begin(), tools.end()));
    (void)preferences->propertyForKey(QLatin1String(LVPreferences::LVPrefsIsNotFirstLaunch));

    // 2. Detached and centred; showing it loads the catalogue.
    installManager->setDelegate(this);
    installManager->setAttachedToStatusItem(false);
    installManager->show();
    _applicationMenu = std::make_unique<LVApplicationMenu>(installManager->window());
    connect(_applicationMenu.get(), &LVApplicationMenu::aboutRequested, this, &AppDelegate::openAbout);
    connect(_applicationMenu.get(), &LVApplicationMenu::preferencesRequested, this, &AppDelegate::openPreferences);
    connect(_applicationMenu.get(), &LVApplicationMenu::quitRequested, this, &AppDelegate::quitApplication);

    // 3. The application never runs as a launch agent.
    QFile::remove(launchAgentSettingsFilePath());

    // 4. The command channel and the extended-logging switch.
    Platform::distributedNotifications().observe(
        this, QLatin1String(messageNotificationName),
        [this](const QString&, const QString& object) { messageNotificationSelector(object); });
    VMNotificationCenter::defaultCenter().addObserver(
        this, QLatin1String(LVPreferences::LVPrefsUseExtendedLogging),
        [this](const VMNotification& note) { useExtendedLogging(note.object.toBool()); });

    // 5. The log window as the last launch left it.
    if (preferences->usesExtendedLogging()) {
        _loggerWindow->move(40, 40);
        VMLogger::sharedLogger()->show();
    }

    // 6. Self-update: weekly, and once shortly after launch.
    SelfUpdater& updater = Platform::selfUpdater();
    updater.setDelegate(this);
    if (updater.updateCheckInterval() != updateCheckInterval)
        updater.setUpdateCheckInterval(updateCheckInterval);
    updater.setAutomaticallyChecksForUpdates(true);
    VMDispatch::performAfterDelay(this, 10.0, [] { Platform::selfUpdater().checkForUpdatesInBackground(); });

    // 7. The About window's version line.
    _aboutWindow->aboutVersionTextField()->setText(
        QStringLiteral("Version: %1 [%2]").arg(QCoreApplication::applicationVersion()).arg(buildNumber));

    // 8. Extended logging stays on only for launches with Shift or Command held.
    const SystemInfo::ModifierKeys held = Platform::systemInfo().heldModifierKeys();
    preferences->useExtendedLogging(bool(held & (SystemInfo::Shift | SystemInfo::Command)));

    // 9. The offer to remove older plug-in versions.
    VMDispatch::performAfterDelay(this, 2.0, [this] { checkAppleSiliconFxPlug3(); });
}

void AppDelegate::messageNotificationSelector(const QString& object)
{
    const auto decoded = QByteArray::fromBase64Encoding(object.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    QVariantMap message;
    if (!decoded) {
        VM_LOG_ERROR(QStringLiteral("The message is not base64."));
    } else {
        bool ok = false;
        QString error;
        message = VMKeyedArchive::unarchivedDictionaryWithData(*decoded, &ok, &error);
        if (!ok)
            VM_LOG_ERROR(error);
    }
    // A missing key reads as 0.
    switch (message.value(QLatin1String(LVManagerCommand)).toLongLong()) {
    case 0:
        VM_LOG_MESSAGE(QStringLiteral("Unkown command"));
        break;
    default:
        break;
    }
}

void AppDelegate::useExtendedLogging(bool flag)
{
    if (flag)
        VMLogger::sharedLogger()->show();
    else
        VMLogger::sharedLogger()->hide();
}

void AppDelegate::checkAppleSiliconFxPlug3()
{
    if (!VMUtils::isArm64())
        return;
    LVInstallManager* installManager = LVInstallManager::sharedInstallManager();
    const auto products = installManager->productsCollection();
    if (!products)
        return;
    bool installed = false;
    for (const VMProductItemPtr& product : products->productItems()) {
        const auto single = std::dynamic_pointer_cast<VMSingleProductItem>(product);
        if (!single)
            continue;
        for (const VMVersionItemPtr& version : single->versionItemsWithTag(QStringLiteral("FxPlug3"))) {
            if (!version->checkInstalledPluginVersion().isEmpty()) {
                installed = true;
                break;
            }
        }
        if (installed)
            break;
    }
    if (!installed)
        return;

    LVAlert alert(QStringLiteral("Uninstall Older Versions?"),
                  QStringLiteral("There are unneeded older and discontinued products installed, would you like to "
                                 "remove them? You can re-install them later if needed. See here for details."));
    alert.addButtonWithTitle(QStringLiteral("Uninstall"));
    alert.addButtonWithTitle(QStringLiteral("Cancel"));
    alert.addButtonWithTitle(QStringLiteral("More Info"), [self = QPointer<AppDelegate>(this)] {
        if (self)
            self->showHelpOnUninstallingDiscontinuedVersions();
    });
    installManager->showAlert(alert, [](int response) {
        if (response != LVAlert::alertFirstButtonReturn)
            return;
        if (totalUninstallStarter())
            totalUninstallStarter()(removeOlderVersionsOption);
        else
            LVToolUninstallItem::tool()->startUninstallWithOption(removeOlderVersionsOption, nullptr);
    });
}

QUrl AppDelegate::helpOnUninstallingDiscontinuedVersionsURL()
{
    return LVServers::supportURL(QStringLiteral("/support/uninstalling-discontinued-fxplug3-versions.html"));
}

void AppDelegate::showHelpOnUninstallingDiscontinuedVersions()
{
    Platform::workspace().openUrl(helpOnUninstallingDiscontinuedVersionsURL());
}

void AppDelegate::configDataLoaded(LVInstallManager* manager)
{
    const QString url = manager ? manager->licenseAgreementURL() : QString();
    if (url.isEmpty())
        return;
    if (LVPreferences::sharedPreferences()->propertyForKey(QLatin1String(LVPreferences::LVLicenseAgreementURL)) == url)
        return;
    // Already on screen: the person is reading it.
    if (_licenseAgreementWindow && _licenseAgreementWindow->isVisible() && _shownLicenseAgreementURL == url)
        return;
    downloadAndShowLicenseAgreement(nullptr);
}

void AppDelegate::downloadAndShowLicenseAgreement(QObject* sender)
{
    const QString url = LVInstallManager::sharedInstallManager()->licenseAgreementURL();
    // Asked for by the person (a menu), a failure is theirs to hear of; at start-up it is not.
    const bool asked = sender != nullptr;
    LVFetch::data(QUrl(url), this, [this, url, asked](const LVFetch::Result& result) {
        if (result.succeeded) {
            VMDispatch::performAfterDelay(this, 1.0, [this, data = result.data, url] {
                _shownLicenseAgreementURL = url;
                showLicenseAgreement(data);
            });
        } else if (asked) {
            LVAlert alert(
                QStringLiteral("Download Failed"),
                QStringLiteral("Error downloading the license agreement, please wait a few minutes and try again"));
            LVInstallManager::sharedInstallManager()->showAlert(alert);
        }
    });
}

void AppDelegate::showLicenseAgreement(const QByteArray& data)
{
    if (data.isNull()) {
        VM_LOG_ERROR(QStringLiteral("No rtfData"));
        return;
    }
    if (!_licenseAgreementWindow) {
        _licenseAgreementWindow = std::make_unique<LVLicenseAgreementWindow>();
        connect(_licenseAgreementWindow.get(), &LVLicenseAgreementWindow::agreed, this,
                &AppDelegate::licenseAgreementAgreeAction);
        connect(_licenseAgreementWindow.get(), &LVLicenseAgreementWindow::declined, this,
                &AppDelegate::licenseAgreementDontAgreeAction);
    }
    // White on the dark appearance, black on a light one.
    const bool dark = _licenseAgreementWindow->palette().color(QPalette::Window).lightness() < 128;
    const QString html = Platform::richTextConverter().rtfToHtml(data);
    _licenseAgreementWindow->setAgreementText(html,
                                              html.isNull() ? RichTextConverter::plainTextFromRtf(data) : QString(),
                                              dark ? QColor(Qt::white) : QColor(Qt::black));
    // Application modal, but not a nested event loop: downloads and timers go on underneath.
    _licenseAgreementWindow->show();
    _licenseAgreementWindow->raise();
    _licenseAgreementWindow->activateWindow();
}

void AppDelegate::licenseAgreementAgreeAction()
{
    endLicenseAgreementSession(true);
}

void AppDelegate::licenseAgreementDontAgreeAction()
{
    endLicenseAgreementSession(false);
}

void AppDelegate::endLicenseAgreementSession(bool agreed)
{
    if (_licenseAgreementWindow)
        _licenseAgreementWindow->hide();
    if (!agreed) {
        quitApplication();
        return;
    }
    // The agreement on screen: a catalogue load in between may have named another one.
    const QString url = _shownLicenseAgreementURL.isNull()
                            ? LVInstallManager::sharedInstallManager()->licenseAgreementURL()
                            : _shownLicenseAgreementURL;
    if (!url.isNull())
        LVPreferences::sharedPreferences()->setDefaultProperty(url,
                                                               QLatin1String(LVPreferences::LVLicenseAgreementURL));
}

void AppDelegate::quitApplication()
{
    // At once, without the normal termination sequence.
    processTerminator()(1);
}

void AppDelegate::openAbout()
{
    _aboutWindow->bringToFront();
}

void AppDelegate::openPreferences()
{
    _preferencesWindow->show();
}

QString AppDelegate::feedURLStringForUpdater()
{
    return LVServers::downloadURL(QLatin1String(feedPath)).toString();
}

int AppDelegate::bestValidUpdateInAppcast(const QList<SelfUpdateItem>& items)
{
    // The feed lists the newest first; it is taken as it stands.
    return items.isEmpty() ? -1 : 0;
}

void AppDelegate::updaterDidFindValidUpdate(const SelfUpdateItem&)
{
    VM_LOG_MESSAGE(QString());
}

void AppDelegate::updaterDidNotFindUpdate()
{
    VM_LOG_MESSAGE(QString());
}
