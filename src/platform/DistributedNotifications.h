#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

class QObject;

// System-wide notifications between processes: a name and a string payload.
class DistributedNotifications
{
public:
    using Handler = std::function<void(const QString& name, const QString& object)>;
    virtual ~DistributedNotifications() = default;
    // Returns once the notification has left this process (it blocks briefly).
    virtual bool post(const QString& /*name*/, const QString& /*object*/) { return false; }
    // Calls `handler` on the main thread for every notification of that name until `context` dies.
    virtual bool observe(QObject* /*context*/, const QString& /*name*/, Handler) { return false; }
};
