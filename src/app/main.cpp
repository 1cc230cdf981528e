#include "manager/AppDelegate.h"
#include "manager/LVPortableSelfUpdater.h"
#include "platform/Platform.h"

#include <QApplication>

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    // From here on the log window and the system log are the application's only outputs.
    Platform::standardStreams().silence();
    // Without an updater of the system's own, the application keeps itself up to date.
    if (!Platform::selfUpdater().isAvailable())
        Platform::setSelfUpdater(std::make_shared<LVPortableSelfUpdater>());
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    return application.exec();
}
