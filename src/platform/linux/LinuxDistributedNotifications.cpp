#include "LinuxDistributedNotifications.h"

#include <QDBusConnection>
#include <QDBusMessage>

bool LinuxDistributedNotifications::post(const QString& name, const QString& object)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    QDBusMessage signal =
        QDBusMessage::createSignal(QLatin1String(path), QLatin1String(interface), QLatin1String(member));
    signal << name << object;
    if (!bus.send(signal))
        return false;
    // A round trip to the bus: messages keep their order, so once it answers the signal is out,
    // even when the poster is a short-lived program that exits next.
    const QDBusMessage ping =
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
                                       QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
    return bus.call(ping, QDBus::Block, 5000).type() == QDBusMessage::ReplyMessage;
}

bool LinuxDistributedNotifications::observe(QObject* context, const QString& name, Handler handler)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!context || !bus.isConnected())
        return false;
    auto* receiver = new LinuxDistributedNotificationReceiver(name, std::move(handler), context);
    // QDBusConnection takes a slot by its signature only; the receiver is a child of the context,
    // so the connection ends when the context does.
    const bool connected = bus.connect(QString(), QLatin1String(path), QLatin1String(interface), QLatin1String(member),
                                       receiver, SLOT(received(QString, QString)));
    if (!connected)
        delete receiver;
    return connected;
}

LinuxDistributedNotificationReceiver::LinuxDistributedNotificationReceiver(const QString& name,
                                                                           DistributedNotifications::Handler handler,
                                                                           QObject* parent)
    : QObject(parent), _name(name), _handler(std::move(handler))
{}

void LinuxDistributedNotificationReceiver::received(const QString& name, const QString& object)
{
    if (name == _name && _handler)
        _handler(name, object);
}
