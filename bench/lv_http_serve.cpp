// Serves files and a generated body over HTTP on 127.0.0.1 until it is stopped, so that a client
// can be measured without the server sharing its process.
//
//   lv_http_serve [--port N] [--size BYTES] [--dir FOLDER]
//
// GET /file answers BYTES bytes of a fixed pattern (streamed, any size); with --dir the folder's
// files are served under /. The first line on standard output is "port N".

#include "LocalHttpServer.h"

#include <QCommandLineParser>
#include <QCoreApplication>

#include <cstdio>

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({QStringLiteral("port"), QStringLiteral("Port to listen on (0: any free one)."),
                      QStringLiteral("port"), QStringLiteral("0")});
    parser.addOption({QStringLiteral("size"), QStringLiteral("Size of the body at /file."), QStringLiteral("bytes"),
                      QStringLiteral("1073741824")});
    parser.addOption({QStringLiteral("dir"), QStringLiteral("Folder to serve under /."), QStringLiteral("folder")});
    parser.process(app);

    LocalHttpServer server(parser.value(QStringLiteral("port")).toUShort());
    if (!server.isListening()) {
        std::fprintf(stderr, "lv_http_serve: can't listen\n");
        return 1;
    }
    LocalHttpServer::Response file;
    file.generatedBodySize = parser.value(QStringLiteral("size")).toLongLong();
    server.setRoute("/file", file);
    if (parser.isSet(QStringLiteral("dir")))
        server.serveDirectory("/", parser.value(QStringLiteral("dir")));
    std::printf("port %u\n", unsigned(server.port()));
    std::fflush(stdout);
    return app.exec();
}
