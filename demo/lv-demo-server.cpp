// Serves the demo catalogue, its images, installer packages and uninstall scripts on 127.0.0.1
// until it is stopped, and on its first run installs one product at an older version into the
// system root (LV_SYSTEM_ROOT) so that an update is on offer. Prints "LV_UPDATE_PUBLIC_KEY=<base64>"
// (the key its demo update of the application is signed with) and then
// "LV_SERVER_URL=http://127.0.0.1:<port>" once it listens, so a script can point the app at it.
#include "DemoCatalogue.h"
#include "DemoTools.h"
#include "LocalHttpServer.h"
#ifdef LV_DEMO_PACKAGES
#include "DemoPackages.h"
#include "ToolPaths.h"
#endif
#include "engines/LVUpdateSignature.h"
#include "platform/Platform.h"

#include <QCommandLineParser>
#include <QDateTime>
#include <QGuiApplication>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <QTextStream>
#include <csignal>
#include <memory>
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
    // One fixed address, so that what the app remembers by URL (the accepted agreement) stays valid
    // from one demo run to the next.
    constexpr quint16 preferredPort = 47615;
    QCommandLineOption portOption(
        QStringLiteral("port"),
        QStringLiteral("Port on 127.0.0.1 (0: any free one; the default is used only when it is free)."),
        QStringLiteral("port"));
    QCommandLineOption productsOption(QStringLiteral("generated-products"),
                                      QStringLiteral("Extra generated products in the catalogue."),
                                      QStringLiteral("count"), QStringLiteral("0"));
    // Tests want full speed, except for a download they catch half-way.
    QCommandLineOption slowOption(
        QStringLiteral("slow-only"),
        QStringLiteral("Serve only this product's packages slowly (repeatable; an empty ID: none; default: all)."),
        QStringLiteral("id"));
    parser.addOption(portOption);
    parser.addOption(productsOption);
    parser.addOption(slowOption);
    parser.process(application);

    // The server must listen first: the catalogue's URLs carry its port.
    const bool portGiven = parser.isSet(portOption);
    auto listening =
        std::make_unique<LocalHttpServer>(portGiven ? quint16(parser.value(portOption).toUInt()) : preferredPort);
    if (!listening->isListening() && !portGiven)
        listening = std::make_unique<LocalHttpServer>(0); // taken: any free one
    LocalHttpServer& server = *listening;
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
        !DemoPackages::addChecksums(site.path(), &packageError) ||
        !DemoPackages::seedSystemRoot(site.path(), ToolPaths::systemRoot(), &packageError)) {
        QTextStream(stderr) << "lv-demo-server: " << packageError << "\n";
        return 1;
    }
    // Served at about 300 KB/s, as from a distant server, so that a download can be watched and cancelled.
    const QStringList slowOnly = parser.values(slowOption);
    for (const auto& [path, file] : DemoPackages::packageFiles(site.path())) {
        const QString productID =
            QString::fromUtf8(path).section(QLatin1Char('/'), -1).section(QLatin1Char('-'), 0, -2);
        if (parser.isSet(slowOption) && !slowOnly.contains(productID))
            continue; // served at full speed from the site folder
        LocalHttpServer::Response response;
        response.filePath = file;
        response.chunkSize = 32 * 1024;
        response.chunkIntervalMs = 100;
        server.setRoute(path, response);
    }
#endif
    // A newer demo version of the application, signed with a key made for this run only.
    QByteArray updatePrivateKey;
    QByteArray updatePublicKey;
    if (!LVUpdateSignature::generateKeyPair(&updatePrivateKey, &updatePublicKey) ||
        !DemoCatalogue::writeUpdate(site.path(), base, updatePrivateKey)) {
        QTextStream(stderr) << "lv-demo-server: can't write the demo update\n";
        return 1;
    }
    // The app runs with the same system root as this server.
    const QString systemRoot = Platform::systemInfo().systemRoot();
    if (!DemoTools::writeToolFiles(site.path(), systemRoot) || !DemoTools::placeStrayCopy(systemRoot) ||
        !DemoTools::ensureSystemVersion(systemRoot))
        QTextStream(stderr) << "lv-demo-server: can't write the tools' demo files\n";
    server.serveDirectory("/", site.path());

    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, signalPipe) == 0) {
        auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, &application);
        QObject::connect(notifier, &QSocketNotifier::activated, &application, &QCoreApplication::quit);
        std::signal(SIGTERM, onSignal);
        std::signal(SIGINT, onSignal);
    }
    QTextStream(stdout) << "LV_UPDATE_PUBLIC_KEY=" << updatePublicKey << Qt::endl;
    QTextStream(stdout) << "LV_SERVER_URL=" << base.toString() << Qt::endl;
    return application.exec();
}
