#pragma once

#include "platform/DistributedNotifications.h"

#include <QObject>

// Distributed notifications on CoreFoundation's distributed centre; they arrive on the main run
// loop, which Qt's event loop runs on a Mac.
class MacDistributedNotifications : public DistributedNotifications
{
public:
    bool post(const QString& name, const QString& object) override;
    bool observe(QObject* context, const QString& name, Handler handler) override;
};

// One observation; lives as a child of the observer's context and ends with it.
class MacDistributedObservation : public QObject
{
    Q_OBJECT
public:
    MacDistributedObservation(const QString& name, DistributedNotifications::Handler handler, QObject* parent);
    ~MacDistributedObservation() override;
    bool isObserving() const { return _observation != nullptr; }

private:
    static void received(void* context, const std::string& name, const std::string& object);

    DistributedNotifications::Handler _handler;
    void* _observation = nullptr;
};
