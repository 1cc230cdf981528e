#include "TestMain.h"
#include "TestPrivilegedExecution.h"

#include "DemoCatalogue.h"
#include "DemoPackages.h"
#include "LocalHttpServer.h"
#include "catalogue/LVServers.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "catalogue/VMVersionItem.h"
#include "engines/LVActionHistory.h"
#include "engines/LVDownloadFolder.h"
#include "engines/LVDownloader.h"
#include "engines/LVInstaller.h"
#include "engines/LVPackageChecksum.h"
#include "engines/LVProductOperation.h"
#include "engines/LVUninstaller.h"
#include "foundation/VMPropertyList.h"
#include "support/TestEnvironment.h"

#include <QtTest>

// Hears how an operation ends, and installs as soon as the package has arrived.
class DemoOwner : public QObject
{
    Q_OBJECT
public:
    explicit DemoOwner(const VMSingleProductItemPtr& product) : operation(new LVProductOperation(product, this))
    {
        connect(operation, &LVProductOperation::downloadEnded, this,
                [this](LVProductOperation::Download, bool succeeded) {
                    succeeded ? void(operation->install()) : end(QStringLiteral("downloadFailed"));
                });
        connect(operation, &LVProductOperation::installEnded, this, [this](bool succeeded, const VMError& error) {
            end(succeeded ? QStringLiteral("installCompleted") : error.localizedFailureReason());
        });
        connect(operation, &LVProductOperation::uninstallEnded, this, [this](bool succeeded, const VMError& error) {
            end(succeeded ? QStringLiteral("uninstallCompleted") : error.localizedFailureReason());
        });
    }

    LVProductOperation* operation;
    QString outcome;

signals:
    void finished();

private:
    void end(const QString& what)
    {
        outcome = what;
        emit finished();
    }
};

// The demo's catalogue, packages and scripts, served from this machine, installed and removed for real.
class tst_DemoInstalls : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void installUpdateUninstall_data();
    void installUpdateUninstall();
    void packagesAreCheckedAgainstTheCatalogue_data();
    void packagesAreCheckedAgainstTheCatalogue();

private:
    VMSingleProductItemPtr product(const QString& id) const;

    std::unique_ptr<TestEnvironment> _env;
    std::unique_ptr<LocalHttpServer> _server;
    QUrl _base;
};

void tst_DemoInstalls::init()
{
    _env = std::make_unique<TestEnvironment>();
    VMInstalledVersions::clearBundleIdentifierCache();
    Platform::setPrivilegedExecution(std::make_shared<TestPrivilegedExecution>());
    _server = std::make_unique<LocalHttpServer>();
    _base = _server->origin();
    const QString site = _env->path() + QStringLiteral("/site");
    QString error;
    QVERIFY2(DemoPackages::writePackages(site, &error, 4096), qPrintable(error));
    QVERIFY2(DemoPackages::seedSystemRoot(site, _env->systemRoot(), &error), qPrintable(error));
    _server->serveDirectory("/", site);
}

void tst_DemoInstalls::cleanup()
{
    LVServers::setOverrideURL(QUrl());
    QTRY_VERIFY(_env->temporaryFiles().isEmpty());
    _server.reset();
    _env.reset();
}

namespace {
QVariantMap entryOf(const QVariantMap& catalogue, const QString& id)
{
    for (const QVariant& entry : catalogue.value("Products").toMap().value("Products").toList()) {
        if (entry.toMap().value("Product ID") == id)
            return entry.toMap();
    }
    return {};
}
} // namespace

VMSingleProductItemPtr tst_DemoInstalls::product(const QString& id) const
{
    return VMSingleProductItem::initWithDict(
        entryOf(DemoCatalogue::catalogue(_base, QDateTime::currentDateTime()), id));
}

void tst_DemoInstalls::installUpdateUninstall_data()
{
    QTest::addColumn<QString>("id");
    QTest::addColumn<bool>("uninstall");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("after");
    QTest::addColumn<QString>("outcome");
    QTest::addColumn<QString>("postinstalled"); // the version a product archive's postinstall script noted

    // The first run finds one product at an older version.
    QTest::newRow("update") << "LV-HALFTONE" << false << "3.1.0"
                            << "3.2.4"
                            << "installCompleted" << QString();
    QTest::newRow("first install, from a product archive") << "LV-PRISM" << false << QString() << "2.0.1"
                                                           << "installCompleted"
                                                           << "2.0.1";
    QTest::newRow("uninstall") << "LV-HALFTONE" << true << "3.1.0" << QString() << "uninstallCompleted" << QString();
}

void tst_DemoInstalls::installUpdateUninstall()
{
    QFETCH(QString, id);
    QFETCH(bool, uninstall);
    QFETCH(QString, before);
    QFETCH(QString, after);
    QFETCH(QString, outcome);
    QFETCH(QString, postinstalled);

    DemoOwner owner(product(id));
    const VMSingleProductItemPtr record = owner.operation->productItem();
    QVERIFY(record);
    QCOMPARE(record->checkInstalledPluginVersion(), before);
    QSignalSpy finished(&owner, &DemoOwner::finished);
    if (uninstall)
        QVERIFY(owner.operation->startUninstall(LVProductOperation::uninstallScriptURLs(*record)));
    else
        QVERIFY(owner.operation->startDownload(record->latestVersionItem()));
    QVERIFY(finished.wait(30000));
    QCOMPARE(owner.outcome, outcome);
    QCOMPARE(record->checkInstalledPluginVersion(), after);
    if (!after.isNull()) // found where the row looks for it after an installation
        QVERIFY(!VMUtils::xpcPathForBundleIndentifier(record->productIdentifier()).isEmpty());
    const QByteArray noted = TestEnvironment::readFile(
        _env->systemRoot() + QStringLiteral("/Library/Application Support/Lumivane/PrismaticGlow/Installed Version"));
    QCOMPARE(QString::fromUtf8(noted).trimmed(), postinstalled);

    // Later runs of the demo leave the system root as the user left it.
    QString error;
    QVERIFY(DemoPackages::seedSystemRoot(_env->path() + QStringLiteral("/site"), _env->systemRoot(), &error));
    VMInstalledVersions::clearBundleIdentifierCache();
    QCOMPARE(record->checkInstalledPluginVersion(), after);
}

void tst_DemoInstalls::packagesAreCheckedAgainstTheCatalogue_data()
{
    QTest::addColumn<QString>("shape");   // where the catalogue names the package and its digest
    QTest::addColumn<QString>("served");  // what the server sends instead, or "swapped" after the check
    QTest::addColumn<QString>("outcome"); // or part of the failure reason
    const QString refused = "The installer of 'Prismatic Glow' did not match its checksum and was deleted.";
    // The demo's catalogue file, full URLs, with the digests of the packages its server built.
    QTest::newRow("the package") << "demo's digests" << QString() << "installCompleted";
    for (const char* served : {"another body", "truncated", "error page"})
        QTest::addRow("%s", served) << "demo's digests" << served << refused;
    // As before: the package installer gets the package and judges it itself.
    QTest::newRow("no digest in the catalogue") << "no digests"
                                                << "another body"
                                                << "The upgrade failed";
    // Catalogues as a mirror writes them: download URLs of a path alone, on the server override.
    for (const char* shape : {"version's URL and digest", "product's URL and digest, repeated by the version",
                              "product's URL and digest, version without URL"}) {
        QTest::addRow("%s, the package", shape) << shape << QString() << "installCompleted";
        QTest::addRow("%s, tampered on the mirror", shape) << shape << "another body" << refused;
    }
    QTest::newRow("version's URL and digest, swapped after the check") << "version's URL and digest"
                                                                       << "swapped" << refused;
    // The URL is shared, the digest is the other version's: nothing vouches for this package.
    QTest::newRow("shared URL, only the other version's digest") << "shared URL" << QString() << refused;
}

void tst_DemoInstalls::packagesAreCheckedAgainstTheCatalogue()
{
    QFETCH(QString, shape);
    QFETCH(QString, served);
    QFETCH(QString, outcome);
    const QString site = _env->path() + QStringLiteral("/site");
    const QString path = QStringLiteral("/VM_installers/LV-PRISM-2.0.1.pkg");
    const QString digest = LVPackageChecksum::sha256OfFile(site + path);
    QVERIFY(!digest.isEmpty());

    QVariantMap dict;
    if (shape.endsWith(QLatin1String("digests"))) {
        const QString catalogue = site + QStringLiteral("/VM_installers/Product+Versions.plist");
        QVERIFY(TestEnvironment::writeFile(
            catalogue, VMPropertyList::toXmlData(DemoCatalogue::catalogue(_base, QDateTime::currentDateTime()))));
        QString error;
        if (shape == QLatin1String("demo's digests"))
            QVERIFY2(DemoPackages::addChecksums(site, &error), qPrintable(error));
        dict = entryOf(VMPropertyList::fromFile(catalogue).toMap(), QStringLiteral("LV-PRISM"));
    } else {
        LVServers::setOverrideURL(_base);
        dict = entryOf(DemoCatalogue::catalogue(_base, QDateTime::currentDateTime()), QStringLiteral("LV-PRISM"));
        QVariantList versions = dict.value("Versions").toList();
        QCOMPARE(versions.size(), 3);
        QVariantMap latest = versions.at(2).toMap();
        QVariantMap previous = versions.at(1).toMap();
        latest.insert("Download URL", path);
        if (shape == QLatin1String("version's URL and digest")) {
            latest.insert("Download SHA256", digest);
        } else if (shape.startsWith(QLatin1String("product's"))) {
            // Written differently from the version's, the same package all the same; the digest as
            // someone typed it.
            dict.insert("Download URL", _base.toString() + path);
            dict.insert("Download SHA256", QStringLiteral(" %1\n").arg(digest.toUpper()));
            if (shape.endsWith(QLatin1String("without URL")))
                latest.remove("Download URL");
        } else {
            previous.insert("Download URL", path);
            previous.insert("Download SHA256", digest);
        }
        versions[1] = previous;
        versions[2] = latest;
        dict.insert("Versions", versions);
    }
    const VMSingleProductItemPtr record = VMSingleProductItem::initWithDict(dict);
    QVERIFY(record);
    QCOMPARE(LVPackageChecksum::isVerifiable(*record), shape != QLatin1String("no digests"));

    const QByteArray real = TestEnvironment::readFile(site + path);
    if (served == QLatin1String("another body"))
        _server->setRoute(path.toUtf8(), QByteArray(real).replace(real.size() / 2, 4, "XXXX"));
    else if (served == QLatin1String("truncated"))
        _server->setRoute(path.toUtf8(), real.left(real.size() - 100));
    else if (served == QLatin1String("error page"))
        _server->setRoute(path.toUtf8(), "<html><body>Not Found</body></html>", 404);
    else if (served == QLatin1String("swapped")) {
        // While the administrator is asked, after the package was checked, it is replaced.
        Platform::privilegedExecution().setConsentProvider([](const QString&) {
            QFile package(LVDownloadFolder::path() + QStringLiteral("/LV-PRISM-2.0.1.pkg"));
            if (!package.open(QIODevice::ReadWrite) || !package.seek(100) || package.write("XXXX") != 4)
                return int(PrivilegedExecution::Denied);
            return int(PrivilegedExecution::Success);
        });
    }

    DemoOwner owner(record);
    QSignalSpy finished(&owner, &DemoOwner::finished);
    QVERIFY(owner.operation->startDownload(record->latestVersionItem()));
    QVERIFY(finished.wait(30000));
    QVERIFY2(owner.outcome.contains(outcome), qPrintable(owner.outcome));
    const bool installed = outcome == QLatin1String("installCompleted");
    QCOMPARE(record->checkInstalledPluginVersion(), installed ? QStringLiteral("2.0.1") : QString());
    if (!installed) {
        const QList<QJsonObject> history = LVActionHistory::records();
        QVERIFY(!history.isEmpty());
        QCOMPARE(history.last().value("outcome").toString(), QStringLiteral("failed"));
        QVERIFY(history.last().value("detail").toString().contains(outcome));
    }
    // A package swapped after the first check is caught by the administrator step's own.
    const QStringList log = _env->systemLog->lines();
    QCOMPARE(std::any_of(log.begin(), log.end(),
                         [](const QString& line) { return line.contains("found by the administrator step"); }),
             served == QLatin1String("swapped"));
    // Refused or installed, no package is left behind (cleanup() checks the temporary folder).
}

LV_TEST_GUILESS_MAIN(tst_DemoInstalls)
#include "tst_DemoInstalls.moc"
