#include "manager/AppDelegate.h"
#include "manager/LVInstallManager.h"
#include "platform/Platform.h"
#include "tools/LVToolItem.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    // From here on the log window and the system log are the application's only outputs.
    Platform::standardStreams().silence();
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    const QList<LVToolItem*> tools = LVToolItem::toolItems();
    LVInstallManager::sharedInstallManager()->setToolItems(QList<LVOutlineItem*>(tools.begin(), tools.end()));
    return application.exec();
}
