#pragma once

#include "platform/DistributedNotifications.h"

#include <QObject>

class QLocalServer;

// Distributed notifications between the processes that share one emulated Mac: every observation
// listens on a local socket in the system root's var/run/notifications, and a post is written to
// each socket there. Nothing reaches a bus or notification centre of the real system, so a test or
// the demo never talks to a running copy of the application outside its system root.
class EmulatedDistributedNotifications : public DistributedNotifications
{
public:
    bool post(const QString& name, const QString& object) override;
    bool observe(QObject* context, const QString& name, Handler handler) override;

    // The folder of the sockets.
    static QString folder();
};

// One observation: its socket lives as long as the observer's context.
class EmulatedDistributedObservation : public QObject
{
    Q_OBJECT
public:
    EmulatedDistributedObservation(const QString& name, DistributedNotifications::Handler handler, QObject* parent);
    bool isObserving() const;

private:
    void accept();

    QString _name;
    DistributedNotifications::Handler _handler;
    QLocalServer* _server;
};
