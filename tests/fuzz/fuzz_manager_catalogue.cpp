// Any bytes offered as a catalogue and applied the way the main window applies one: the product,
// news and help collections set on the manager (news expiry against a fixed clock, with every
// extended-logging line), then every news and help row laid out. Nothing may crash, leak or hang,
// and no "Show Days" value may overflow the expiry arithmetic.
#include "catalogue/VMCatalogue.h"
#include "catalogue/VMUtils.h"
#include "foundation/LVPreferences.h"
#include "manager/LVInstallManager.h"
#include "newshelp/LVHelpItem.h"
#include "newshelp/LVNewsItem.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QTemporaryDir>
#include <QTimeZone>

#include <cstddef>
#include <cstdint>

namespace {
LVInstallManager* manager = nullptr;
}

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "qt.qpa.*=false");
    static int argc = 1;
    static char name[] = "fuzz_manager_catalogue";
    static char* argv[] = {name, nullptr};
    static QApplication app(argc, argv);
    static QTemporaryDir settings;
    Platform::setSystemLog(std::make_shared<SystemLog>());
    LVPreferences::setSettingsFile(settings.filePath(QStringLiteral("defaults.ini")));
    LVPreferences::sharedPreferences()->useExtendedLogging(true);
    // A fixed clock, so that a crash found today still reproduces tomorrow.
    const QDateTime now(QDate(2026, 11, 22), QTime(12, 0), QTimeZone::utc());
    VMUtils::setCurrentDateProvider([now] { return now; });
    manager = new LVInstallManager;
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const VMCatalogue catalogue = VMCatalogue::initWithData(bytes);
    if (catalogue.isValid()) {
        manager->setLicenseAgreementURL(catalogue.licenseAgreementURL());
        if (catalogue.productsCollection())
            manager->setProductsCollection(catalogue.productsCollection());
        if (catalogue.newsCollection())
            manager->setNewsCollection(catalogue.newsCollection());
        if (catalogue.helpItemsCollection())
            manager->setHelpItemsCollection(catalogue.helpItemsCollection());
    }
    for (LVNewsItem* row : manager->newsItems()) {
        (void)row->view();
        for (LVOutlineItem* child : row->childItems())
            (void)child->view();
    }
    for (LVHelpItem* row : manager->helpItems())
        (void)row->view();
    manager->setProductsCollection(nullptr);
    manager->setNewsCollection(nullptr);
    manager->setHelpItemsCollection(nullptr);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return 0;
}
