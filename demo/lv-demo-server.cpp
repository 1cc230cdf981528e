// Serves the demo catalogue, its images, installer packages and uninstall scripts on 127.0.0.1
// until it is stopped, and on its first run installs one product at an older version into the
// system root (LV_SYSTEM_ROOT) so that an update is on offer. Prints
// "LV_SERVER_URL=http://127.0.0.1:<port>" once it listens, so a script can point the app at it.
#include "DemoCatalogue.h"
#include "LocalHttpServer.h"
#ifdef LV_DEMO_PACKAGES
#include "DemoPackages.h"
#include "ToolPaths.h"
#endif

#include <QCommandLineParser>
#include <QDateTime>
#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTextStream>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {
int signalPipe[2] = {-1, -1};
void onSignal(int)
{
    const char byte = 1;
    [[maybe_unused]] const auto written = ::write(signalPipe[1], &byte, 1);
}
} // namespace

int main(int argc, char* argv[])
{
    QGuiApplication application(argc, argv); // QPainter text needs the GUI side
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Serves the Lumivane Manager demo catalogue."));
    parser.addHelpOption();
    QCommandLineOption portOption(QStringLiteral("port"), QStringLiteral("Port on 127.0.0.1 (0: any free one)."),
                                  QStringLiteral("port"), QStringLiteral("0"));
    QCommandLineOption productsOption(QStringLiteral("generated-products"),
                                      QStringLiteral("Extra generated products in the catalogue."),
                                      QStringLiteral("count"), QStringLiteral("0"));
    parser.addOption(portOption);
    parser.addOption(productsOption);
    parser.process(application);

    // The server must listen first: the catalogue's URLs carry its port.
    LocalHttpServer server(quint16(parser.value(portOption).toUInt()));
    if (!server.isListening()) {
        QTextStream(stderr) << "lv-demo-server: can't listen on 127.0.0.1\n";
        return 1;
    }
    QTemporaryDir site;
    QUrl base = server.url(QStringLiteral("/"));
    base.setPath(QString());
    if (!site.isValid() || !DemoCatalogue::writeSite(site.path(), base, QDateTime::currentDateTime(),
                                                     parser.value(productsOption).toInt())) {
        QTextStream(stderr) << "lv-demo-server: can't write the demo site\n";
        return 1;
    }
#ifdef LV_DEMO_PACKAGES
    // Real packages and uninstall scripts; the first run finds one product installed at an older version.
    QString packageError;
    if (!DemoPackages::writePackages(site.path(), &packageError) ||
        !DemoPackages::seedSystemRoot(site.path(), ToolPaths::systemRoot(), &packageError)) {
        QTextStream(stderr) << "lv-demo-server: " << packageError << "\n";
        return 1;
    }
    // Served at about 1 MB/s, as from a distant server, so that a download can be watched and cancelled.
    for (const auto& [path, file] : DemoPackages::packageFiles(site.path())) {
        LocalHttpServer::Response response;
        response.filePath = file;
        response.chunkSize = 64 * 1024;
        response.chunkIntervalMs = 60;
        server.setRoute(path, response);
    }
#endif
    server.serveDirectory("/", site.path());

    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) == 0) {
        auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &application);
        QObject::connect(notifier, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
        std::signal(SIGTERM, onSignal);
        std::signal(SIGINT, onSignal);
    }
    QTextStream(stdout) << "LV_SERVER_URL=" << base.toString() << Qt::endl;
    return application.exec();
}
