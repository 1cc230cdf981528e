#include "EngineRecorder.h"
#include "TestMain.h"
#include "TestPrivilegedExecution.h"

#include "PackageBuilder.h"
#include "catalogue/VMInstalledVersions.h"
#include "engines/LVInstaller.h"
#include "foundation/VMPropertyList.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QtTest>

// Real flat packages, made by the project's package builder and installed by the project's
// installer program, as the user and as administrator.
class tst_LVInstallerPackages : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void installsAsUserIntoHome();
    void administratorInstallIsJudgedByUpgradeText();
    void damagedPackageFails_data();
    void damagedPackageFails();

private:
    QString buildPackage(const QString& name, const QString& packageVersion, const QString& pluginVersion);
    VMError install(const QString& package, bool admin, QStringList* events = nullptr);
    QString pluginInfo(const QString& base) const
    {
        return base +
               QStringLiteral("/Applications/Lumivane/Glow.app/Contents/PlugIns/GlowXPC.pluginkit/Contents/Info.plist");
    }

    std::unique_ptr<TestEnvironment> _env;
    std::shared_ptr<TestPrivilegedExecution> _privileged;
};

QString tst_LVInstallerPackages::buildPackage(const QString& name, const QString& packageVersion,
                                              const QString& pluginVersion)
{
    const QString payload = _env->path() + QStringLiteral("/payload");
    const QString info = pluginInfo(payload);
    QDir().mkpath(QFileInfo(info).absolutePath());
    QFile file(info);
    if (!file.open(QIODevice::WriteOnly))
        return QString();
    file.write(VMPropertyList::toXmlData(
        QVariantMap{{"CFBundleIdentifier", "com.quarnet.FxPlug.GlowXPC"}, {"CFBundleVersion", pluginVersion}}));
    file.close();

    PackageBuilder builder;
    builder.root = payload;
    builder.identifier = QStringLiteral("com.quarnet.pkg.Glow");
    builder.version = packageVersion;
    builder.installLocation = QStringLiteral("/");
    const QString output = _env->path() + QStringLiteral("/downloads/") + name;
    QDir().mkpath(QFileInfo(output).absolutePath());
    QString error;
    const bool built = builder.build(output, &error);
    QDir(payload).removeRecursively();
    return built ? output : QString();
}

VMError tst_LVInstallerPackages::install(const QString& package, bool admin, QStringList* events)
{
    EngineRecorder recorder;
    QSignalSpy finished(&recorder, &EngineRecorder::finished);
    recorder.installerHeld = LVInstaller::installerWithFilePath(package, {{"requiresAuthentication", admin}});
    QPointer<LVInstaller> watch = recorder.installerHeld.get();
    recorder.installerHeld->setDelegate(&recorder);
    recorder.installerHeld->setDeleteFileAfterInstallation(true);
    recorder.installerHeld->startInBackground();
    if (!finished.wait(20000))
        return VMError(QStringLiteral("test"), 1, QStringLiteral("no final callback"));
    if (!QTest::qWaitFor([&] { return watch.isNull(); }))
        return VMError(QStringLiteral("test"), 2, QStringLiteral("installer not released"));
    if (events)
        *events = recorder.events;
    return recorder.error;
}

void tst_LVInstallerPackages::init()
{
    _env = std::make_unique<TestEnvironment>();
    VMInstalledVersions::clearBundleIdentifierCache();
    _privileged = std::make_shared<TestPrivilegedExecution>();
    Platform::setPrivilegedExecution(_privileged);
}

void tst_LVInstallerPackages::cleanup()
{
    _privileged.reset();
    _env.reset();
}

void tst_LVInstallerPackages::installsAsUserIntoHome()
{
    const QString package = buildPackage(QStringLiteral("Glow.pkg"), QStringLiteral("1.0"), QStringLiteral("1.0 (3)"));
    QVERIFY(!package.isNull());
    QStringList events;
    const VMError error = install(package, false, &events);
    QVERIFY2(error.isNull(), qPrintable(error.description()));
    QCOMPARE(events, (QStringList{"installStarted", "installCompleted"}));
    QVERIFY(QFile::exists(pluginInfo(_env->home())));
    QVERIFY(!QFile::exists(pluginInfo(_env->systemRoot())));
    QVERIFY(!QFile::exists(package));
    QCOMPARE(_privileged->creates.load(), 0);

    QStringList outputs;
    for (const QString& line : _env->systemLog->lines())
        if (line.startsWith(QLatin1String("installer output: ")))
            outputs.append(line);
    QCOMPARE(outputs.size(), 1);
    QVERIFY2(outputs.first().contains(QLatin1String("installer: The install was successful.")),
             qPrintable(outputs.first()));
}

void tst_LVInstallerPackages::administratorInstallIsJudgedByUpgradeText()
{
    // A first install is reported in other words than an upgrade, and so counts as failed,
    // although the plug-in is in place.
    const QString first =
        buildPackage(QStringLiteral("Glow-1.0.pkg"), QStringLiteral("1.0"), QStringLiteral("1.0 (3)"));
    const VMError firstError = install(first, true);
    QCOMPARE(firstError.localizedDescription(), QStringLiteral("Installation Failed"));
    QCOMPARE(firstError.code(), -1);
    QVERIFY2(firstError.localizedFailureReason().contains(QLatin1String("installer: The install was successful.")),
             qPrintable(firstError.localizedFailureReason()));
    QVERIFY(QFile::exists(pluginInfo(_env->systemRoot())));
    QVERIFY(!QFile::exists(first));

    const QString second =
        buildPackage(QStringLiteral("Glow-1.1.pkg"), QStringLiteral("1.1"), QStringLiteral("1.1 (4)"));
    QStringList events;
    const VMError secondError = install(second, true, &events);
    QVERIFY2(secondError.isNull(), qPrintable(secondError.description()));
    QCOMPARE(events, (QStringList{"installStarted", "installCompleted"}));
    QCOMPARE(VMPropertyList::fromFile(pluginInfo(_env->systemRoot())).toMap().value("CFBundleVersion"),
             QVariant("1.1 (4)"));
    QVERIFY(!QFile::exists(second));
    QCOMPARE(_privileged->prompts.load(), 2);
    QCOMPARE(_privileged->frees.load(), 2);
    QVERIFY(!QFile::exists(pluginInfo(_env->home())));
}

void tst_LVInstallerPackages::damagedPackageFails_data()
{
    QTest::addColumn<bool>("admin");
    QTest::addColumn<bool>("succeeds");
    // As the user the installer's verdict is not read; as administrator it is.
    QTest::newRow("as user") << false << true;
    QTest::newRow("as administrator") << true << false;
}

void tst_LVInstallerPackages::damagedPackageFails()
{
    QFETCH(bool, admin);
    QFETCH(bool, succeeds);
    const QString package = _env->path() + QStringLiteral("/Damaged.pkg");
    QFile file(package);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("this is no xar archive");
    file.close();
    const VMError error = install(package, admin);
    QCOMPARE(error.isNull(), succeeds);
    if (!succeeds)
        QVERIFY2(error.localizedFailureReason().contains(QLatin1String("installer: Error - ")),
                 qPrintable(error.localizedFailureReason()));
    QVERIFY(!QFile::exists(package));
    QVERIFY(!QDir(_env->systemRoot() + QStringLiteral("/Applications")).exists());
}

LV_TEST_GUILESS_MAIN(tst_LVInstallerPackages)
#include "tst_LVInstallerPackages.moc"
