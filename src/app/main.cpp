#include "cli/LVCommandLine.h"
#include "engines/LVOperationLock.h"
#include "foundation/LVApplicationIdentity.h"
#include "manager/AppDelegate.h"
#include "manager/LVPortableSelfUpdater.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QCoreApplication>
#include <QMessageBox>

int main(int argc, char* argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    if (LVCommandLine::isCommand(arguments)) {
        // No window and no display: a core application only.
        QCoreApplication application(argc, argv);
        LVApplicationIdentity::apply();
        return LVCommandLine::run(arguments);
    }

    QApplication application(argc, argv);
    LVApplicationIdentity::apply();
    // One copy at a time installs: the window holds the lock for as long as it runs.
    LVOperationLock lock;
    QString message;
    if (!lock.tryLock(&message)) {
        QMessageBox::critical(nullptr, QStringLiteral("Lumivane Manager"), message);
        return 4;
    }
    // From here on the log window and the system log are the application's only outputs.
    Platform::standardStreams().silence();
    // Without an updater of the system's own, the application keeps itself up to date.
    if (!Platform::selfUpdater().isAvailable())
        Platform::setSelfUpdater(std::make_shared<LVPortableSelfUpdater>());
    AppDelegate delegate;
    delegate.applicationDidFinishLaunching();
    return application.exec();
}
