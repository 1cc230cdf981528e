#include "items/LVBundleInstallItem.h"
#include "items/LVSingleInstallItem.h"
#include "manager/AppDelegate.h"
#include "manager/LVInstallManager.h"
#include "platform/Platform.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    // From here on the log window and the system log are the application's only outputs.
    Platform::standardStreams().silence();
    LVInstallManager::setSingleInstallItemFactory([](const VMSingleProductItemPtr& product) -> LVInstallItem* {
        return LVSingleInstallItem::installItemWithSingleProductItem(product);
    });
    LVInstallManager::setBundleInstallItemFactory(&LVBundleInstallItem::installItemWithBundleProductItem);
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    return application.exec();
}
