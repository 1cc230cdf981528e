#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>

// A private D-Bus session bus (dbus-daemon --session) for the life of this object; the process's
// session-bus address points at it. Make it before anything in the process touches the session
// bus, as Qt keeps its first connection.
class TestSessionBus
{
public:
    TestSessionBus();
    ~TestSessionBus();

    bool isRunning() const { return !_address.isEmpty(); }
    QString address() const { return _address; }

private:
    QProcess _daemon;
    QString _address;
    QByteArray _savedAddress;
};
