#include "EngineRecorder.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"

#include "PackageBuilder.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMSingleProductItem.h"
#include "catalogue/VMUtils.h"
#include "engines/LVInstaller.h"
#include "engines/LVUninstaller.h"
#include "foundation/VMPropertyList.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QtTest>

// A product's whole life on this machine: a package built by the project is installed into a
// fresh system root, the catalogue record finds the installed version, the plug-in is registered,
// and an uninstall script removes it again.
class tst_EndToEnd : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void installDetectRegisterUninstall();

private:
    QString buildPackage(const QString& packageVersion, const QString& bundleVersion, const QString& productVersion);
    QStringList run(const std::shared_ptr<LVInstaller>& installer);
    QStringList run(const std::shared_ptr<LVUninstaller>& uninstaller);

    std::unique_ptr<TestEnvironment> _env;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
    EngineRecorder* _recorder = nullptr;
};

namespace {
const QString kPlugin = QStringLiteral("com.quarnet.FxPlug.GlowXPC");
const QString kPluginPath = QStringLiteral("/Applications/Lumivane/Glow.app/Contents/PlugIns/GlowXPC.pluginkit");
} // namespace

QString tst_EndToEnd::buildPackage(const QString& packageVersion, const QString& bundleVersion,
                                   const QString& productVersion)
{
    const QString payload = _env->path() + QStringLiteral("/payload");
    const auto write = [](const QString& path, const QVariantMap& info) {
        QDir().mkpath(QFileInfo(path).absolutePath());
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(VMPropertyList::toXmlData(info)) > 0;
    };
    if (!write(payload + QStringLiteral("/Applications/Lumivane/Glow.app/Contents/Info.plist"),
               {{"CFBundleIdentifier", "com.quarnet.FxPlug.Glow"}, {"CFBundleShortVersionString", packageVersion}}) ||
        !write(payload + kPluginPath + QStringLiteral("/Contents/Info.plist"),
               {{"CFBundleIdentifier", kPlugin},
                {"CFBundleVersion", bundleVersion},
                {"Product Versions", QVariantMap{{"GLOW", productVersion}}}}))
        return QString();

    PackageBuilder builder;
    builder.root = payload;
    builder.identifier = QStringLiteral("com.quarnet.pkg.Glow");
    builder.version = packageVersion;
    const QString output = QStringLiteral("%1/Downloads/Glow-%2.pkg").arg(_env->home(), packageVersion);
    QDir().mkpath(QFileInfo(output).absolutePath());
    QString error;
    const bool built = builder.build(output, &error);
    QDir(payload).removeRecursively();
    return built ? output : QString();
}

QStringList tst_EndToEnd::run(const std::shared_ptr<LVInstaller>& installer)
{
    _recorder->events.clear();
    QSignalSpy finished(_recorder, &EngineRecorder::finished);
    installer->setDelegate(_recorder);
    installer->startInBackground();
    if (!finished.wait(20000))
        return {};
    return _recorder->events;
}

QStringList tst_EndToEnd::run(const std::shared_ptr<LVUninstaller>& uninstaller)
{
    _recorder->events.clear();
    QSignalSpy finished(_recorder, &EngineRecorder::finished);
    uninstaller->setDelegate(_recorder);
    uninstaller->startInBackground();
    if (!finished.wait(20000))
        return {};
    return _recorder->events;
}

void tst_EndToEnd::init()
{
    _env = std::make_unique<TestEnvironment>();
    VMInstalledVersions::clearBundleIdentifierCache();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
    _recorder = new EngineRecorder;
}

void tst_EndToEnd::cleanup()
{
    delete _recorder;
    _privileged.reset();
    _env.reset();
}

void tst_EndToEnd::installDetectRegisterUninstall()
{
    // The record as the catalogue describes it, with the Mac's paths.
    const VMSingleProductItemPtr product = VMSingleProductItem::initWithDict(
        {{"Product ID", "GLOW"},
         {"Title", "Glow"},
         {"Identifier", kPlugin},
         {"Check Installed Directory", "/Applications/Lumivane/Glow.app"},
         {"Versions", QVariantList{QVariantMap{{"Product Version", "1.2"}}, QVariantMap{{"Product Version", "1.3"}}}}});
    QVERIFY(product->checkInstalledPluginVersion().isNull());

    // One administrator authorization for the whole session, as the bundle rows use it.
    int status = -1;
    const auto authorization = _privileged->create(&status);
    QCOMPARE(_privileged->copyRights(authorization, QStringLiteral("system.privilege.admin"), true), 0);
    const QVariantMap options{{"requiresAuthentication", true},
                              {"optionAuthorizationRef", QVariant::fromValue(authorization)}};

    // A first install is reported as "install", not "upgrade": judged failed, yet in place.
    const QString first = buildPackage(QStringLiteral("1.2"), QStringLiteral("3.0 (12)"), QStringLiteral("1.2"));
    QVERIFY(!first.isNull());
    auto installer = LVInstaller::installerWithFilePath(first, options);
    installer->setDeleteFileAfterInstallation(true);
    QCOMPARE(run(installer), (QStringList{"installStarted", "installFailed"}));
    installer.reset();
    QTRY_VERIFY(!QFile::exists(first));
    // The runner cleared the cache, so the record now sees the product's own entry, not "XPC_".
    QCOMPARE(product->checkInstalledPluginVersion(), QStringLiteral("1.2"));

    const QString second = buildPackage(QStringLiteral("1.3"), QStringLiteral("3.1 (13)"), QStringLiteral("1.3"));
    installer = LVInstaller::installerWithFilePath(second, options);
    installer->setDeleteFileAfterInstallation(true);
    QCOMPARE(run(installer), (QStringList{"installStarted", "installCompleted"}));
    installer.reset();
    QCOMPARE(product->checkInstalledPluginVersion(), QStringLiteral("1.3"));
    QCOMPARE(product->latestVersionItem()->productVersion(), product->checkInstalledPluginVersion());
    QCOMPARE(_privileged->prompts.load(), 1);

    // Registration as the product row does it after a successful install.
    const QString xpcPath = VMUtils::xpcPathForBundleIndentifier(kPlugin);
    QCOMPARE(QFileInfo(xpcPath).canonicalFilePath(), QFileInfo(_env->systemRoot() + kPluginPath).canonicalFilePath());
    QCOMPARE(VMInstalledVersions::registerPluginkitBundle(xpcPath), false);
    QCOMPARE(QFileInfo(VMInstalledVersions::filePathToXPCBundleUsingPluginKit(kPlugin)).canonicalFilePath(),
             QFileInfo(xpcPath).canonicalFilePath());

    // The product's uninstall script, run as administrator, ends with "echo $?".
    const QByteArray script =
        "rm -rf '" + (_env->systemRoot() + QStringLiteral("/Applications/Lumivane/Glow.app")).toUtf8() + "'\necho $?\n";
    auto uninstaller = LVUninstaller::uninstallerWithScript(script, options);
    QCOMPARE(run(uninstaller), (QStringList{"uninstallStarted", "uninstallCompleted"}));
    uninstaller.reset();
    QVERIFY(!QDir(_env->systemRoot() + QStringLiteral("/Applications/Lumivane/Glow.app")).exists());
    QVERIFY(product->checkInstalledPluginVersion().isNull());

    _privileged->free(authorization);
    QVERIFY(_env->temporaryFiles().isEmpty());
}

LV_TEST_GUILESS_MAIN(tst_EndToEnd)
#include "tst_EndToEnd.moc"
