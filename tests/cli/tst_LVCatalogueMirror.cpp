#include "TestMain.h"

#include "LocalHttpServer.h"
#include "catalogue/LVServers.h"
#include "cli/LVCatalogueMirror.h"
#include "engines/LVPackageChecksum.h"
#include "foundation/VMPropertyList.h"
#include "support/TestEnvironment.h"

#include <QDirIterator>
#include <QtTest>

// A mirror folder refreshed from a server on this machine: what a run publishes, and what a
// failed run leaves.
class tst_LVCatalogueMirror : public QObject
{
    Q_OBJECT

private slots:
    void failedRunLeavesThePreviousMirror_data();
    void failedRunLeavesThePreviousMirror();
    void urlsOnOnePathGetTheirOwnFiles();
};

namespace {

QVariantMap catalogueOf(const QVariantList& products)
{
    return QVariantMap{{"Products", QVariantMap{{"Products", products}}}};
}

QVariantMap productWith(const QString& id, const QString& url)
{
    return QVariantMap{{"Product ID", id},
                       {"Title", id},
                       {"Versions", QVariantList{QVariantMap{{"Product Version", "1.0"}, {"Download URL", url}}}}};
}

// The tools' files every mirror fetches from the download server, here the test's.
void serveTools(LocalHttpServer& server)
{
    for (const char* path :
         {"/VM_installers/uninstallers/TotalRemoveAllProducts.bash",
          "/VM_installers/uninstallers/TotalRemoveAllFxPlug3.bash", "/VM_installers/LV_GatherDiagnostics.app.zip"})
        server.setRoute(path, "tool");
    LVServers::setOverrideURL(server.url(QStringLiteral("/")));
}

QStringList partFiles(const QString& folder)
{
    QStringList found;
    QDirIterator parts(folder, {"*.lv-part"}, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (parts.hasNext())
        found.append(parts.next());
    return found;
}

} // namespace

void tst_LVCatalogueMirror::failedRunLeavesThePreviousMirror_data()
{
    QTest::addColumn<QString>("brokenURL"); // the second run's other package; %1 is the server
    QTest::newRow("not found") << "%1/p/missing.pkg";
    QTest::newRow("a file: URL") << "file:///etc/hostname";
    // The source's own scheme is kept: a plain server can't answer it, it is not fetched over HTTP.
    QTest::newRow("https on a plain server") << "https://127.0.0.1:%2/p/B.pkg";
}

void tst_LVCatalogueMirror::failedRunLeavesThePreviousMirror()
{
    QFETCH(QString, brokenURL);
    TestEnvironment env;
    LocalHttpServer server;
    server.setRoute("/p/A.pkg", "first contents of A");
    server.setRoute("/p/B.pkg", "B");
    serveTools(server);
    const QString base = server.url(QStringLiteral("/")).toString().chopped(1);
    const auto reset = qScopeGuard([] { LVServers::setOverrideURL(QUrl()); });
    const QString folder = env.path() + QStringLiteral("/mirror");
    const QString catalogueFile = folder + QStringLiteral("/VM_installers/Product+Versions.plist");

    QString error;
    LVCatalogueMirror first(folder, QUrl(), false);
    first.run(catalogueOf({productWith("A", base + "/p/A.pkg")}), &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    const QByteArray published = VMPropertyList::toXmlData(VMPropertyList::fromFile(catalogueFile));
    const QVariantMap products = VMPropertyList::fromFile(catalogueFile).toMap().value("Products").toMap();
    const QVariantMap product = products.value("Products").toList().value(0).toMap();
    const QVariantMap version = product.value("Versions").toList().value(0).toMap();
    QCOMPARE(version.value("Download URL").toString(), QStringLiteral("/p/A.pkg"));

    // A changes on the source; the run fails on the other package.
    server.setRoute("/p/A.pkg", "second contents of A");
    LVCatalogueMirror second(folder, QUrl(), false);
    const QList<LVCatalogueMirror::FileResult> results = second.run(
        catalogueOf({productWith("A", base + "/p/A.pkg"), productWith("B", brokenURL.arg(base).arg(server.port()))}),
        &error);
    QVERIFY(!error.isEmpty());
    int failed = 0;
    for (const LVCatalogueMirror::FileResult& result : results)
        failed += result.outcome == QLatin1String("failed") ? 1 : 0;
    QCOMPARE(failed, 1);
    // The previous catalogue still installs from the tree: its package is the one it names.
    QCOMPARE(VMPropertyList::toXmlData(VMPropertyList::fromFile(catalogueFile)), published);
    QCOMPARE(LVPackageChecksum::sha256OfFile(folder + QStringLiteral("/p/A.pkg")),
             version.value("Download SHA256").toString());
    QVERIFY2(partFiles(folder).isEmpty(), qPrintable(partFiles(folder).join(',')));
}

void tst_LVCatalogueMirror::urlsOnOnePathGetTheirOwnFiles()
{
    TestEnvironment env;
    LocalHttpServer server;
    server.setRoute("/p/A.pkg", "A");
    serveTools(server);
    const auto reset = qScopeGuard([] { LVServers::setOverrideURL(QUrl()); });
    const QString folder = env.path() + QStringLiteral("/mirror");
    const QString byAddress = server.url(QStringLiteral("/p/A.pkg")).toString();
    const QString byName = QString(byAddress).replace(QStringLiteral("127.0.0.1"), QStringLiteral("localhost"));
    QString error;
    LVCatalogueMirror mirror(folder, QUrl(), false);
    const QList<LVCatalogueMirror::FileResult> results =
        mirror.run(catalogueOf({productWith("A", byAddress), productWith("B", byName),
                                productWith("C", byAddress + QStringLiteral("?v=2"))}),
                   &error);
    QVERIFY2(error.isEmpty(), qPrintable(error));
    QSet<QString> paths;
    for (const LVCatalogueMirror::FileResult& result : results) {
        QCOMPARE(result.outcome, QStringLiteral("downloaded"));
        QVERIFY(QFileInfo::exists(folder + QLatin1Char('/') + result.path));
        if (result.package)
            paths.insert(result.path);
    }
    QCOMPARE(paths.size(), 3);
}

LV_TEST_GUILESS_MAIN(tst_LVCatalogueMirror)
#include "tst_LVCatalogueMirror.moc"
