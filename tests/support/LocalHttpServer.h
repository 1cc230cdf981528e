#pragma once

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMutex>
#include <QObject>
#include <QPair>
#include <QString>
#include <QThread>
#include <QUrl>

class QTcpServer;

// A small HTTP/1.1 server on 127.0.0.1 for tests and demos. It serves from a thread of its own,
// so a test may block its main thread and the server keeps going. Everything here may be called
// from any thread. It needs only QtCore and QtNetwork.
class LocalHttpServer : public QObject
{
    Q_OBJECT
public:
    using Headers = QList<QPair<QByteArray, QByteArray>>;

    // What to answer on one path. Body bytes come from `body`, from `generatedBodySize` bytes of
    // a fixed pattern (made as they are sent, so any size streams) or from the file `filePath`.
    struct Response
    {
        enum Framing { ContentLength, Chunked, CloseDelimited };

        int status = 200;
        Headers headers;
        QByteArray body;
        qint64 generatedBodySize = -1;
        QString filePath;
        Framing framing = ContentLength;
        qint64 chunkSize = 0;        // bytes per write (and per chunk); 0 for 256 KiB
        int chunkIntervalMs = 0;     // pause between writes: a slow server
        int headerDelayMs = 0;       // pause before the status line
        qint64 dropAfterBytes = -1;  // close the connection after this many body bytes
        qint64 stallAfterBytes = -1; // send nothing more after this many body bytes (0: headers then silence)
    };

    struct Request
    {
        QByteArray method;
        QByteArray target; // as sent: path and query
        QByteArray path;   // without the query
        Headers headers;
        QByteArray body;

        // Case-insensitive; null when absent.
        QByteArray header(const QByteArray& name) const;
        bool hasHeader(const QByteArray& name) const;
    };

    // Listens on 127.0.0.1 at `port` (0: any free port).
    explicit LocalHttpServer(quint16 port = 0, QObject* parent = nullptr);
    ~LocalHttpServer() override;

    bool isListening() const { return _port != 0; }
    quint16 port() const { return _port; }
    QUrl url(const QString& path = QStringLiteral("/")) const;
    // The server's address without a path, as a server override takes it.
    QUrl origin() const;

    void setRoute(const QByteArray& path, const Response& response);
    void setRoute(const QByteArray& path, const QByteArray& body, int status = 200);
    // Paths under `urlPrefix` are files under `folder`; missing ones get the 404 page.
    void serveDirectory(const QByteArray& urlPrefix, const QString& folder);

    QList<Request> requests() const;
    void clearRequests();

    int openConnections() const;
    int peakOpenConnections() const;
    qint64 bodyBytesSent() const;

    // Bytes [offset, offset + length) of the pattern behind generatedBodySize.
    static QByteArray generatedBody(qint64 offset, qint64 length);
    static QByteArray notFoundPage();

    // Server thread: what the connections ask and report.
    Response responseFor(const Request& request) const;
    void recordRequest(const Request& request);
    void connectionOpened();
    void connectionClosed();
    void addBodyBytesSent(qint64 count);

private:
    QThread _thread;
    QTcpServer* _tcpServer = nullptr;
    quint16 _port = 0;

    mutable QMutex _lock; // guards everything below
    QHash<QByteArray, Response> _routes;
    QList<QPair<QByteArray, QString>> _directories;
    QList<Request> _requests;
    int _openConnections = 0;
    int _peakOpenConnections = 0;
    qint64 _bodyBytesSent = 0;
};
