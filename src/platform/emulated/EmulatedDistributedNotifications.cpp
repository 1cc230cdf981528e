#include "EmulatedDistributedNotifications.h"

#include "platform/Platform.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>

namespace {

constexpr int kTimeoutMs = 2000;
// A message larger than this is no notification of ours.
constexpr qint64 kMaxMessage = 1024 * 1024;

QByteArray encode(const QString& name, const QString& object)
{
    QByteArray message;
    QDataStream stream(&message, QIODevice::WriteOnly);
    stream << name << object;
    return message;
}

} // namespace

QString EmulatedDistributedNotifications::folder()
{
    return Platform::systemInfo().pathInSystemRoot(QStringLiteral("/var/run/notifications"));
}

bool EmulatedDistributedNotifications::post(const QString& name, const QString& object)
{
    const QByteArray message = encode(name, object);
    const QDir sockets(folder());
    bool delivered = true;
    for (const QString& entry : sockets.entryList(QDir::System | QDir::Files | QDir::NoDotAndDotDot)) {
        const QString path = sockets.filePath(entry);
        QLocalSocket socket;
        socket.connectToServer(path, QIODevice::WriteOnly);
        if (!socket.waitForConnected(kTimeoutMs)) {
            // Its observer ended without closing it (a crash): nobody listens there any more.
            if (socket.error() == QLocalSocket::ConnectionRefusedError)
                QFile::remove(path);
            else
                delivered = false;
            continue;
        }
        socket.write(message);
        if (!socket.waitForBytesWritten(kTimeoutMs))
            delivered = false;
        socket.disconnectFromServer();
        if (socket.state() != QLocalSocket::UnconnectedState)
            socket.waitForDisconnected(kTimeoutMs);
    }
    return delivered;
}

bool EmulatedDistributedNotifications::observe(QObject* context, const QString& name, Handler handler)
{
    if (!context)
        return false;
    auto* observation = new EmulatedDistributedObservation(name, std::move(handler), context);
    if (observation->isObserving())
        return true;
    delete observation;
    return false;
}

EmulatedDistributedObservation::EmulatedDistributedObservation(const QString& name,
                                                               DistributedNotifications::Handler handler,
                                                               QObject* parent)
    : QObject(parent), _name(name), _handler(std::move(handler)), _server(new QLocalServer(this))
{
    static QAtomicInt counter;
    const QString folder = EmulatedDistributedNotifications::folder();
    if (!QDir().mkpath(folder))
        return;
    const QString path = QDir(folder).filePath(
        QStringLiteral("%1-%2").arg(QCoreApplication::applicationPid()).arg(counter.fetchAndAddRelaxed(1)));
    // A socket of an ended process that had the same number.
    QLocalServer::removeServer(path);
    _server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!_server->listen(path)) {
        qWarning("The command channel cannot listen at %s: %s", qPrintable(path), qPrintable(_server->errorString()));
        return;
    }
    connect(_server, &QLocalServer::newConnection, this, &EmulatedDistributedObservation::accept);
}

bool EmulatedDistributedObservation::isObserving() const
{
    return _server->isListening();
}

void EmulatedDistributedObservation::accept()
{
    while (QLocalSocket* socket = _server->nextPendingConnection()) {
        // One message per connection, complete once the poster has closed its end.
        const auto deliver = [this, socket] {
            socket->deleteLater();
            QDataStream stream(socket->readAll());
            QString name, object;
            stream >> name >> object;
            if (stream.status() == QDataStream::Ok && name == _name && _handler)
                _handler(name, object);
        };
        if (socket->state() == QLocalSocket::UnconnectedState) {
            deliver();
            continue;
        }
        connect(socket, &QLocalSocket::readyRead, socket, [socket] {
            if (socket->bytesAvailable() > kMaxMessage)
                socket->abort();
        });
        connect(socket, &QLocalSocket::disconnected, this, deliver);
    }
}
