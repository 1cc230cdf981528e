#include "VMNotificationCenter.h"

#include <QMutexLocker>

VMNotificationCenter& VMNotificationCenter::defaultCenter()
{
    static VMNotificationCenter center;
    return center;
}

void VMNotificationCenter::addObserver(QObject* context, const QString& name, Handler handler, const QVariant& object)
{
    if (!context || name.isEmpty() || !handler)
        return;
    QMutexLocker locker(&_lock);
    _observers[name].append(Observer{_nextId++, context, object, std::move(handler)});
}

void VMNotificationCenter::removeObserver(QObject* context, const QString& name)
{
    QMutexLocker locker(&_lock);
    for (auto it = _observers.begin(); it != _observers.end(); ++it) {
        if (!name.isEmpty() && it.key() != name)
            continue;
        it.value().removeIf([context](const Observer& o) { return o.context == context || o.context.isNull(); });
    }
}

void VMNotificationCenter::postNotification(const QString& name, const QVariant& object)
{
    QList<Observer> targets;
    {
        QMutexLocker locker(&_lock);
        auto it = _observers.find(name);
        if (it == _observers.end())
            return;
        it.value().removeIf([](const Observer& o) { return o.context.isNull(); });
        targets = it.value();
    }
    // Handlers run outside the lock: they may post or (un)subscribe themselves.
    const VMNotification notification{name, object};
    for (const Observer& observer : targets) {
        if (observer.context.isNull())
            continue;
        if (observer.object.isValid() && observer.object != object)
            continue;
        {
            // Skip observers removed by an earlier handler of this same post.
            QMutexLocker locker(&_lock);
            const auto& current = _observers.value(name);
            const bool stillThere =
                std::any_of(current.begin(), current.end(), [&](const Observer& o) { return o.id == observer.id; });
            if (!stillThere)
                continue;
        }
        observer.handler(notification);
    }
}

int VMNotificationCenter::observerCount(const QString& name) const
{
    QMutexLocker locker(&_lock);
    const auto list = _observers.value(name);
    return static_cast<int>(
        std::count_if(list.begin(), list.end(), [](const Observer& o) { return !o.context.isNull(); }));
}
