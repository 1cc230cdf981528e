#include "TestSessionBus.h"

TestSessionBus::TestSessionBus() : _savedAddress(qgetenv("DBUS_SESSION_BUS_ADDRESS"))
{
    _daemon.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--print-address=1")});
    if (!_daemon.waitForStarted(5000))
        return;
    while (!_daemon.canReadLine() && _daemon.waitForReadyRead(5000)) {
    }
    _address = QString::fromUtf8(_daemon.readLine()).trimmed();
    if (!_address.isEmpty())
        qputenv("DBUS_SESSION_BUS_ADDRESS", _address.toUtf8());
}

TestSessionBus::~TestSessionBus()
{
    if (_daemon.state() != QProcess::NotRunning) {
        _daemon.terminate();
        if (!_daemon.waitForFinished(3000)) {
            _daemon.kill();
            _daemon.waitForFinished(1000);
        }
    }
    if (_savedAddress.isNull())
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    else
        qputenv("DBUS_SESSION_BUS_ADDRESS", _savedAddress);
}
