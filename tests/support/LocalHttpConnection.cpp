#include "LocalHttpConnection.h"

#include <QFileInfo>
#include <QTcpSocket>
#include <QTimer>

namespace {

constexpr qint64 kDefaultPieceSize = 256 * 1024;
// Keep at most this much queued in the socket; more is written as the client reads.
constexpr qint64 kHighWater = 2 * 1024 * 1024;
constexpr qsizetype kMaximumHeaderSize = 64 * 1024;

QByteArray reasonPhrase(int status)
{
    switch (status) {
    case 200:
        return "OK";
    case 206:
        return "Partial Content";
    case 301:
        return "Moved Permanently";
    case 302:
        return "Found";
    case 304:
        return "Not Modified";
    case 404:
        return "Not Found";
    case 500:
        return "Internal Server Error";
    default:
        return "Status";
    }
}

} // namespace

LocalHttpConnection::LocalHttpConnection(LocalHttpServer* server, QTcpSocket* socket)
    : QObject(socket), _server(server), _socket(socket)
{
    _server->connectionOpened();
    connect(_socket, &QTcpSocket::readyRead, this, [this] {
        _buffer.append(_socket->readAll());
        readRequests();
    });
    connect(_socket, &QTcpSocket::bytesWritten, this, [this] {
        if (_responding && !_waiting)
            pump();
    });
    connect(_socket, &QTcpSocket::disconnected, _socket, &QObject::deleteLater);
}

LocalHttpConnection::~LocalHttpConnection()
{
    _server->connectionClosed();
}

void LocalHttpConnection::readRequests()
{
    while (!_responding) {
        LocalHttpServer::Request request;
        if (!parseRequest(&request))
            return;
        _server->recordRequest(request);
        beginResponse(request);
    }
}

bool LocalHttpConnection::parseRequest(LocalHttpServer::Request* request)
{
    const qsizetype end = _buffer.indexOf("\r\n\r\n");
    if (end < 0) {
        if (_buffer.size() > kMaximumHeaderSize)
            _socket->abort();
        return false;
    }
    const QList<QByteArray> lines = _buffer.left(end).split('\n');
    const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
    if (requestLine.size() < 2) {
        _socket->abort();
        return false;
    }
    request->method = requestLine.at(0);
    request->target = requestLine.at(1);
    const qsizetype query = request->target.indexOf('?');
    request->path = query < 0 ? request->target : request->target.left(query);
    for (qsizetype i = 1; i < lines.size(); ++i) {
        const qsizetype colon = lines.at(i).indexOf(':');
        if (colon > 0)
            request->headers.append({lines.at(i).left(colon).trimmed(), lines.at(i).mid(colon + 1).trimmed()});
    }
    const qint64 bodyLength = request->header("Content-Length").toLongLong();
    if (_buffer.size() < end + 4 + bodyLength)
        return false;
    request->body = _buffer.mid(end + 4, bodyLength);
    _buffer.remove(0, end + 4 + bodyLength);
    return true;
}

void LocalHttpConnection::beginResponse(const LocalHttpServer::Request& request)
{
    _responding = true;
    _response = _server->responseFor(request);
    _headOnly = request.method == "HEAD";
    _closeAfter = request.header("Connection").compare("close", Qt::CaseInsensitive) == 0 ||
                  _response.framing == LocalHttpServer::Response::CloseDelimited;
    _file.reset();
    if (!_response.filePath.isEmpty()) {
        _file = std::make_unique<QFile>(_response.filePath);
        if (!_file->open(QIODevice::ReadOnly)) {
            _file.reset();
            _response.status = 404;
            _response.body = LocalHttpServer::notFoundPage();
        }
    }
    _bodySize = _file                              ? _file->size()
                : _response.generatedBodySize >= 0 ? _response.generatedBodySize
                                                   : _response.body.size();
    _stopAt = _bodySize;
    if (_response.dropAfterBytes >= 0)
        _stopAt = std::min(_stopAt, _response.dropAfterBytes);
    if (_response.stallAfterBytes >= 0)
        _stopAt = std::min(_stopAt, _response.stallAfterBytes);
    _sent = 0;
    if (_response.headerDelayMs > 0) {
        _waiting = true;
        QTimer::singleShot(_response.headerDelayMs, this, [this] {
            _waiting = false;
            sendHeaders();
        });
        return;
    }
    sendHeaders();
}

void LocalHttpConnection::sendHeaders()
{
    QByteArray head =
        "HTTP/1.1 " + QByteArray::number(_response.status) + ' ' + reasonPhrase(_response.status) + "\r\n";
    bool hasContentType = false;
    for (const auto& [name, value] : _response.headers) {
        hasContentType = hasContentType || name.compare("Content-Type", Qt::CaseInsensitive) == 0;
        head += name + ": " + value + "\r\n";
    }
    if (!hasContentType)
        head += "Content-Type: application/octet-stream\r\n";
    switch (_response.framing) {
    case LocalHttpServer::Response::ContentLength:
        head += "Content-Length: " + QByteArray::number(_bodySize) + "\r\n";
        break;
    case LocalHttpServer::Response::Chunked:
        head += "Transfer-Encoding: chunked\r\n";
        break;
    case LocalHttpServer::Response::CloseDelimited:
        break;
    }
    if (_closeAfter)
        head += "Connection: close\r\n";
    head += "\r\n";
    _socket->write(head);
    if (_headOnly) {
        finishResponse();
        return;
    }
    pump();
}

void LocalHttpConnection::pump()
{
    const bool chunked = _response.framing == LocalHttpServer::Response::Chunked;
    while (_sent < _stopAt) {
        if (_socket->bytesToWrite() >= kHighWater)
            return; // bytesWritten brings us back
        const qint64 pieceSize = _response.chunkSize > 0 ? _response.chunkSize : kDefaultPieceSize;
        const qint64 length = std::min(pieceSize, _stopAt - _sent);
        const QByteArray piece = bodyPiece(_sent, length);
        if (chunked)
            _socket->write(QByteArray::number(length, 16) + "\r\n" + piece + "\r\n");
        else
            _socket->write(piece);
        _sent += length;
        _server->addBodyBytesSent(length);
        if (_response.chunkIntervalMs > 0 && _sent < _stopAt) {
            _waiting = true;
            QTimer::singleShot(_response.chunkIntervalMs, this, [this] {
                _waiting = false;
                pump();
            });
            return;
        }
    }
    if (_sent < _bodySize) {
        // A fault: drop the connection (after what was queued has gone out), or just go silent.
        if (_response.dropAfterBytes >= 0 && _sent >= _response.dropAfterBytes) {
            _responding = false;
            _socket->disconnectFromHost();
        }
        return;
    }
    finishResponse();
}

void LocalHttpConnection::finishResponse()
{
    if (_response.framing == LocalHttpServer::Response::Chunked && !_headOnly)
        _socket->write("0\r\n\r\n");
    _file.reset();
    _responding = false;
    if (_closeAfter) {
        _socket->disconnectFromHost();
        return;
    }
    if (!_buffer.isEmpty())
        QTimer::singleShot(0, this, [this] { readRequests(); });
}

QByteArray LocalHttpConnection::bodyPiece(qint64 offset, qint64 length)
{
    if (_file) {
        _file->seek(offset);
        return _file->read(length);
    }
    if (_response.generatedBodySize >= 0)
        return LocalHttpServer::generatedBody(offset, length);
    return _response.body.mid(offset, length);
}
