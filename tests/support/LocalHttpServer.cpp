#include "LocalHttpServer.h"

#include "LocalHttpConnection.h"

#include <QFileInfo>
#include <QMutexLocker>
#include <QTcpServer>
#include <QTcpSocket>

#include <cstring>

namespace {

constexpr qint64 kPatternPeriod = 251; // a prime, so misplaced blocks show
constexpr qint64 kPatternBlock = 1024 * 1024;

const QByteArray& patternTable()
{
    static const QByteArray table = [] {
        QByteArray bytes(kPatternBlock + kPatternPeriod, Qt::Uninitialized);
        for (qint64 i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<char>(i % kPatternPeriod);
        return bytes;
    }();
    return table;
}

} // namespace

QByteArray LocalHttpServer::Request::header(const QByteArray& name) const
{
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0)
            return value;
    }
    return QByteArray();
}

bool LocalHttpServer::Request::hasHeader(const QByteArray& name) const
{
    for (const auto& header : headers) {
        if (header.first.compare(name, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

LocalHttpServer::LocalHttpServer(quint16 port, QObject* parent) : QObject(parent)
{
    _thread.setObjectName(QStringLiteral("LocalHttpServer"));
    _tcpServer = new QTcpServer;
    _tcpServer->moveToThread(&_thread);
    _thread.start();
    QMetaObject::invokeMethod(
        _tcpServer,
        [this, port] {
            QObject::connect(_tcpServer, &QTcpServer::newConnection, _tcpServer, [this] {
                while (QTcpSocket* socket = _tcpServer->nextPendingConnection())
                    new LocalHttpConnection(this, socket);
            });
            _tcpServer->setMaxPendingConnections(256);
            if (_tcpServer->listen(QHostAddress::LocalHost, port))
                _port = _tcpServer->serverPort();
        },
        Qt::BlockingQueuedConnection);
}

LocalHttpServer::~LocalHttpServer()
{
    // The connections are children of the listening socket: all go on the server thread.
    QMetaObject::invokeMethod(
        _tcpServer, [this] { delete _tcpServer; }, Qt::BlockingQueuedConnection);
    _thread.quit();
    _thread.wait();
}

QUrl LocalHttpServer::url(const QString& path) const
{
    QUrl url;
    url.setScheme(QStringLiteral("http"));
    url.setHost(QStringLiteral("127.0.0.1"));
    url.setPort(_port);
    const QUrl relative = QUrl(path.startsWith(QLatin1Char('/')) ? path : QLatin1Char('/') + path);
    url.setPath(relative.path());
    url.setQuery(relative.query());
    return url;
}

QUrl LocalHttpServer::origin() const
{
    QUrl base = url();
    base.setPath(QString());
    return base;
}

void LocalHttpServer::setRoute(const QByteArray& path, const Response& response)
{
    QMutexLocker locker(&_lock);
    _routes.insert(path, response);
}

void LocalHttpServer::setRoute(const QByteArray& path, const QByteArray& body, int status)
{
    Response response;
    response.body = body;
    response.status = status;
    setRoute(path, response);
}

void LocalHttpServer::serveDirectory(const QByteArray& urlPrefix, const QString& folder)
{
    QMutexLocker locker(&_lock);
    _directories.append({urlPrefix.endsWith('/') ? urlPrefix : urlPrefix + '/', folder});
}

QList<LocalHttpServer::Request> LocalHttpServer::requests() const
{
    QMutexLocker locker(&_lock);
    return _requests;
}

void LocalHttpServer::clearRequests()
{
    QMutexLocker locker(&_lock);
    _requests.clear();
}

int LocalHttpServer::openConnections() const
{
    QMutexLocker locker(&_lock);
    return _openConnections;
}

int LocalHttpServer::peakOpenConnections() const
{
    QMutexLocker locker(&_lock);
    return _peakOpenConnections;
}

qint64 LocalHttpServer::bodyBytesSent() const
{
    QMutexLocker locker(&_lock);
    return _bodyBytesSent;
}

QByteArray LocalHttpServer::generatedBody(qint64 offset, qint64 length)
{
    QByteArray result;
    result.reserve(length);
    const QByteArray& table = patternTable();
    while (length > 0) {
        const qint64 start = offset % kPatternPeriod;
        const qint64 piece = std::min(length, kPatternBlock);
        result.append(table.constData() + start, piece);
        offset += piece;
        length -= piece;
    }
    return result;
}

QByteArray LocalHttpServer::notFoundPage()
{
    return QByteArrayLiteral("<html><head><title>404 Not Found</title></head>"
                             "<body><h1>Not Found</h1></body></html>\n");
}

LocalHttpServer::Response LocalHttpServer::responseFor(const Request& request) const
{
    QMutexLocker locker(&_lock);
    const auto route = _routes.constFind(request.path);
    if (route != _routes.constEnd())
        return *route;
    for (const auto& [prefix, folder] : _directories) {
        if (!request.path.startsWith(prefix))
            continue;
        const QString relative = QUrl::fromPercentEncoding(request.path.mid(prefix.size()));
        if (relative.split(QLatin1Char('/')).contains(QLatin1String("..")))
            break;
        const QString path = folder + QLatin1Char('/') + relative;
        if (QFileInfo(path).isFile()) {
            Response response;
            response.filePath = path;
            return response;
        }
    }
    Response missing;
    missing.status = 404;
    missing.headers = {{"Content-Type", "text/html"}};
    missing.body = notFoundPage();
    return missing;
}

void LocalHttpServer::recordRequest(const Request& request)
{
    QMutexLocker locker(&_lock);
    _requests.append(request);
}

void LocalHttpServer::connectionOpened()
{
    QMutexLocker locker(&_lock);
    ++_openConnections;
    _peakOpenConnections = std::max(_peakOpenConnections, _openConnections);
}

void LocalHttpServer::connectionClosed()
{
    QMutexLocker locker(&_lock);
    --_openConnections;
}

void LocalHttpServer::addBodyBytesSent(qint64 count)
{
    QMutexLocker locker(&_lock);
    _bodyBytesSent += count;
}
