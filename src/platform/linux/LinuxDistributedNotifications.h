#pragma once

#include "platform/DistributedNotifications.h"

#include <QObject>

// Distributed notifications as a D-Bus signal on the session bus: every notification is the
// signal "post" of the interface below, carrying the notification's name and its string object
// (D-Bus member names can't hold the dots of a notification name). Nothing here blocks: posting
// sends a signal, observing adds a match rule.
class LinuxDistributedNotifications : public DistributedNotifications
{
public:
    static constexpr const char* path = "/com/quarnet/DistributedNotifications";
    static constexpr const char* interface = "com.quarnet.DistributedNotifications";
    static constexpr const char* member = "post";

    bool post(const QString& name, const QString& object) override;
    bool observe(QObject* context, const QString& name, Handler handler) override;
};

// Receives the signal for one observation; lives as a child of the observer's context.
class LinuxDistributedNotificationReceiver : public QObject
{
    Q_OBJECT
public:
    LinuxDistributedNotificationReceiver(const QString& name, DistributedNotifications::Handler handler,
                                         QObject* parent);

public slots:
    void received(const QString& name, const QString& object);

private:
    QString _name;
    DistributedNotifications::Handler _handler;
};
