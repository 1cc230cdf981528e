#include "MacDistributedNotifications.h"

#include "api/MacDistributedCenter.h"

bool MacDistributedNotifications::post(const QString& name, const QString& object)
{
    MacDistributedCenter::post(name.toStdString(), object.toStdString());
    return true;
}

bool MacDistributedNotifications::observe(QObject* context, const QString& name, Handler handler)
{
    if (!context)
        return false;
    auto* observation = new MacDistributedObservation(name, std::move(handler), context);
    if (observation->isObserving())
        return true;
    delete observation;
    return false;
}

MacDistributedObservation::MacDistributedObservation(const QString& name, DistributedNotifications::Handler handler,
                                                     QObject* parent)
    : QObject(parent), _handler(std::move(handler))
{
    _observation = MacDistributedCenter::observe(name.toStdString(), &MacDistributedObservation::received, this);
}

MacDistributedObservation::~MacDistributedObservation()
{
    MacDistributedCenter::stopObserving(_observation);
}

void MacDistributedObservation::received(void* context, const std::string& name, const std::string& object)
{
    auto* observation = static_cast<MacDistributedObservation*>(context);
    if (observation->_handler)
        observation->_handler(QString::fromStdString(name), QString::fromStdString(object));
}
