#pragma once

#include "LocalHttpServer.h"

#include <QFile>
#include <QObject>

#include <memory>

class QTcpSocket;

// One client connection of LocalHttpServer, on the server thread: reads requests one after
// another (keep-alive) and streams each response with the pacing and faults it asks for.
class LocalHttpConnection : public QObject
{
    Q_OBJECT
public:
    LocalHttpConnection(LocalHttpServer* server, QTcpSocket* socket);
    ~LocalHttpConnection() override;

private:
    void readRequests();
    bool parseRequest(LocalHttpServer::Request* request);
    void beginResponse(const LocalHttpServer::Request& request);
    void sendHeaders();
    void pump();
    void finishResponse();
    QByteArray bodyPiece(qint64 offset, qint64 length);

    LocalHttpServer* _server;
    QTcpSocket* _socket;
    QByteArray _buffer;

    bool _responding = false;
    bool _headOnly = false;
    bool _closeAfter = false;
    bool _waiting = false; // a paced write or the header delay is pending
    LocalHttpServer::Response _response;
    std::unique_ptr<QFile> _file;
    qint64 _bodySize = 0;
    qint64 _stopAt = 0;
    qint64 _sent = 0;
};
