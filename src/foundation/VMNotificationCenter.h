#pragma once

#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVariant>
#include <functional>

struct VMNotification
{
    QString name;
    QVariant object;
};

// The default notification centre: notifications are a name and an object; observers are called
// synchronously on the posting thread, in the order they were added. An observer is tied to a
// context object and disappears with it, so nobody has to remember to unsubscribe.
class VMNotificationCenter
{
public:
    using Handler = std::function<void(const VMNotification&)>;

    static VMNotificationCenter& defaultCenter();

    // `object` filters by the posted object when it is valid (compared with QVariant equality).
    void addObserver(QObject* context, const QString& name, Handler handler, const QVariant& object = QVariant());
    void removeObserver(QObject* context, const QString& name = QString());

    void postNotification(const QString& name, const QVariant& object = QVariant());

    int observerCount(const QString& name) const;

private:
    struct Observer
    {
        quint64 id;
        QPointer<QObject> context;
        QVariant object;
        Handler handler;
    };

    mutable QMutex _lock;
    QHash<QString, QList<Observer>> _observers;
    quint64 _nextId = 1;
};
