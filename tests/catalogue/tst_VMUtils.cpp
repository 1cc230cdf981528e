#include "TestEnvironment.h"
#include "TestMain.h"

#include "catalogue/VMUtils.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMLogger.h"
#include "foundation/VMPropertyList.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QUuid>

#include <QSignalSpy>
#include <QTest>
#include <csignal>

using VersionInfo = VMUtils::VersionInfo;
Q_DECLARE_METATYPE(VersionInfo)

namespace {

void writePlist(const QString& path, const QVariantMap& values)
{
    QVERIFY(TestEnvironment::writeFile(path, VMPropertyList::toXmlData(values)));
}

// A Mac-style application bundle whose executable writes its arguments and then waits to be ended.
QString makeApplication(const QString& folder, const QString& name, const QString& identifier,
                        const QString& argsFile = QString())
{
    const QString app = folder + QLatin1Char('/') + name + QStringLiteral(".app");
    writePlist(app + QStringLiteral("/Contents/Info.plist"), {{"CFBundleIdentifier", identifier},
                                                              {"CFBundleShortVersionString", QStringLiteral("10.6.2")},
                                                              {"CFBundleExecutable", name}});
    const QString exe = app + QStringLiteral("/Contents/MacOS/") + name;
    TestEnvironment::writeFile(
        exe, QStringLiteral(
                 "#!/bin/sh\necho $$ > '%1.pid'\necho \"$@\" > '%1'\ntrap 'kill $!; exit 0' TERM\nsleep 30 &\nwait\n")
                 .arg(argsFile)
                 .toUtf8());
    QFile::setPermissions(exe, QFile::permissions(exe) | QFile::ExeOwner);
    return app;
}

} // namespace

class tst_VMUtils : public QObject
{
    Q_OBJECT
    std::unique_ptr<TestEnvironment> env;

private slots:
    void init() { env = std::make_unique<TestEnvironment>(); }
    void cleanup() { env.reset(); }

    void parsing_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<VersionInfo>("info");
        QTest::newRow("nil") << QString() << VersionInfo{0, 0, 0};
        QTest::newRow("empty") << QString("") << VersionInfo{0, 0, 0};
        QTest::newRow("major only") << "5" << VersionInfo{5, 0, 0};
        QTest::newRow("three parts") << "2.1.3" << VersionInfo{2, 1, 3};
        QTest::newRow("fourth part ignored") << "4.2.1.7" << VersionInfo{4, 2, 1};
        QTest::newRow("letters after digits") << "3b.1" << VersionInfo{3, 1, 0};
        QTest::newRow("word") << "beta.2" << VersionInfo{0, 2, 0};
        QTest::newRow("empty middle part") << "1..4" << VersionInfo{1, 0, 4};
        QTest::newRow("space and sign") << " 7.+2.-1" << VersionInfo{7, 2, -1};
        QTest::newRow("build suffix") << "2.0 (10)" << VersionInfo{2, 0, 0};
    }
    void parsing()
    {
        QFETCH(QString, text);
        QFETCH(VersionInfo, info);
        QCOMPARE(VMUtils::versionInfoFromString(text), info);
    }

    void formatting_data()
    {
        QTest::addColumn<VersionInfo>("info");
        QTest::addColumn<QString>("text");
        QTest::newRow("zero") << VersionInfo{0, 0, 0} << "0.0";
        QTest::newRow("major") << VersionInfo{1, 0, 0} << "1.0";
        QTest::newRow("minor") << VersionInfo{2, 1, 0} << "2.1";
        QTest::newRow("maintenance") << VersionInfo{1, 0, 3} << "1.0.3";
    }
    void formatting()
    {
        QFETCH(VersionInfo, info);
        QFETCH(QString, text);
        QCOMPARE(VMUtils::versionStringFromInfo(info), text);
    }

    void comparing_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("result");
        QTest::newRow("2.0 = 2") << QStringLiteral("2.0") << "2" << 0;
        QTest::newRow("1.2 = 1.2.0") << QStringLiteral("1.2") << "1.2.0" << 0;
        QTest::newRow("2.0.1 > 2.0") << QStringLiteral("2.0.1") << "2.0" << 1;
        QTest::newRow("1.9 < 1.10") << QStringLiteral("1.9") << "1.10" << -1;
        QTest::newRow("1.0.100 = 1.1") << QStringLiteral("1.0.100") << "1.1" << 0;
        QTest::newRow("1.100 = 2.0") << QStringLiteral("1.100") << "2.0" << 0;
        QTest::newRow("nil = 0") << QString() << "0" << 0;
        QTest::newRow("nil < 0.0.1") << QString() << "0.0.1" << -1;
        QTest::newRow("beta = 0") << QStringLiteral("beta") << "0" << 0;
        QTest::newRow("major wins") << QStringLiteral("3.0") << "2.99.99" << 1;
        QTest::newRow("fourth part ignored") << QStringLiteral("4.2.1.9") << "4.2.1.1" << 0;
    }
    void comparing()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, result);
        QCOMPARE(VMUtils::compareVersion(a, b), result);
        QCOMPARE(VMUtils::compareVersion(b, a), -result);
    }

    void hostApplications_data()
    {
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("name");
        QTest::newRow("final cut") << 1 << "FCP X";
        QTest::newRow("motion") << 2 << "Motion";
        QTest::newRow("zero") << 0 << QString();
        QTest::newRow("three") << 3 << QString();
    }
    void hostApplications()
    {
        QFETCH(int, code);
        QFETCH(QString, name);
        QSignalSpy lines(VMLogger::sharedLogger(), &VMLogger::lineLogged);
        QCOMPARE(VMUtils::stringForHostApp(code), name);
        QCOMPARE(VMUtils::stringForHostApp(code).isNull(), name.isNull());
        if (name.isNull()) {
            QVERIFY(!lines.isEmpty());
            const QString line = lines.first().first().toString();
            QVERIFY2(line.contains(QStringLiteral("'Host App not recognized': %1 in ").arg(code)), qPrintable(line));
        } else {
            QVERIFY(lines.isEmpty());
        }
    }

    void processorAndSystem()
    {
        env->systemInfo->machine = QStringLiteral("arm64");
        QVERIFY(VMUtils::isArm64());
        env->systemInfo->machine = QStringLiteral("x86_64");
        QVERIFY(!VMUtils::isArm64());

        // Read from the system root as on a Mac; nothing there means 0.0.0.
        QCOMPARE(VMUtils::checkOSXVersion(), QStringLiteral("0.0.0"));
        writePlist(env->systemRoot() + "/System/Library/CoreServices/SystemVersion.plist",
                   {{"ProductName", QStringLiteral("macOS")}, {"ProductVersion", QStringLiteral("14.2")}});
        QCOMPARE(VMUtils::checkOSXVersion(), QStringLiteral("14.2.0"));
    }

    void installDirectoryCheck()
    {
        QVERIFY(!VMUtils::checkInstallDirectory(QString()));
        QVERIFY(!VMUtils::checkInstallDirectory(env->path() + "/missing"));
        QVERIFY(VMUtils::checkInstallDirectory(env->path()));
        QVERIFY(TestEnvironment::writeFile(env->path() + "/plain file"));
        QVERIFY(VMUtils::checkInstallDirectory(env->path() + "/plain file"));
    }

    void temporaryFiles()
    {
        QVERIFY(VMUtils::tempFilePathWithData(QByteArray(), "sh").isNull());
        const QString script = VMUtils::tempFilePathWithData("echo 0\n", "sh");
        const QString bare = VMUtils::tempFilePathWithData(QByteArray(""), QString());
        QVERIFY(script.startsWith(env->temporaryDirectory() + "/"));
        QVERIFY(script.endsWith(".sh"));
        QVERIFY(!QFileInfo(bare).fileName().contains('.'));
        QVERIFY(QUuid::fromString(QFileInfo(bare).fileName()).isNull() == false);
        QCOMPARE(TestEnvironment::readFile(script), QByteArray("echo 0\n"));
        QCOMPARE(QFileInfo(bare).size(), 0);
        QVERIFY(QFile::remove(script) && QFile::remove(bare));
    }

    void wrapperMapping_data()
    {
        QTest::addColumn<QString>("plugin");
        QTest::addColumn<QString>("wrapper");
        QTest::newRow("XPC suffix") << QStringLiteral("com.quarnet.FxPlug.GlowXPC") << "com.quarnet.FxPlug.Glow";
        QTest::newRow("XPC inside") << QStringLiteral("com.quarnet.XPC.GrainXPC") << "com.quarnet..Grain";
        QTest::newRow("case sensitive") << QStringLiteral("com.quarnet.FxPlug.Xpc") << "com.quarnet.FxPlug.Xpc";
        QTest::newRow("no XPC maps to itself")
            << QStringLiteral("com.quarnet.FxPlug.Shimmer") << "com.quarnet.FxPlug.Shimmer";
        QTest::newRow("the one mapped by name")
            << QStringLiteral("com.quarnet.FxPlug.Oskelo.pluginkit") << "com.quarnet.FxPlug.Oskelo.app";
        QTest::newRow("nil") << QString() << QString();
    }
    void wrapperMapping()
    {
        QFETCH(QString, plugin);
        QFETCH(QString, wrapper);
        QCOMPARE(VMUtils::wrapperBundleIdentifierForPlugin(plugin), wrapper);
    }

    void wrapperApplicationsInTheSystemRoot()
    {
        const QString folder = env->systemRoot() + "/Applications/Lumivane";
        const QString glow = makeApplication(folder, "Glow", "com.quarnet.FxPlug.Glow");
        QDir().mkpath(glow + "/Contents/PlugIns/Readme");
        QDir().mkpath(glow + "/Contents/PlugIns/Glow.pluginkit");
        QDir().mkpath(glow + "/Contents/PlugIns/Glow Extra.pluginkit");
        makeApplication(folder, "Grain", "com.quarnet.FxPlug.Grain");

        QCOMPARE(VMUtils::pathToWrapperAppForBundleIndentifier("com.quarnet.FxPlug.GlowXPC"), glow);
        QVERIFY(VMUtils::pathToWrapperAppForBundleIndentifier("com.quarnet.FxPlug.MissingXPC").isNull());
        QVERIFY(VMUtils::pathToWrapperAppForBundleIndentifier(QString()).isNull());
        // The first entry in listing order whose name mentions pluginkit.
        QCOMPARE(VMUtils::xpcPathForBundleIndentifier("com.quarnet.FxPlug.GlowXPC"),
                 glow + "/Contents/PlugIns/Glow Extra.pluginkit");
        // A wrapper without a PlugIns folder, and one without a plug-in in it.
        QVERIFY(VMUtils::xpcPathForBundleIndentifier("com.quarnet.FxPlug.GrainXPC").isNull());
        QCOMPARE(VMUtils::checkInstalledBundleVersion("com.quarnet.FxPlug.Grain"), QStringLiteral("10.6.2"));
        QVERIFY(VMUtils::checkInstalledBundleVersion("com.apple.FinalCut").isNull());
    }

    void launchingAWrapper_data()
    {
        QTest::addColumn<bool>("extendedLogging");
        QTest::newRow("extended logging on: launched, logged, ended") << true;
        QTest::newRow("extended logging off: launched and left running") << false;
    }
    void launchingAWrapper()
    {
        QFETCH(bool, extendedLogging);
        LVPreferences::sharedPreferences()->useExtendedLogging(extendedLogging);
        const QString argsFile = env->path() + "/arguments";
        const QString app =
            makeApplication(env->systemRoot() + "/Applications/Lumivane", "Glow", "com.quarnet.FxPlug.Glow", argsFile);
        QSignalSpy lines(VMLogger::sharedLogger(), &VMLogger::lineLogged);

        VMUtils::launchWrapperApp({{VMUtils::optionBundleIdentifier, QStringLiteral("com.quarnet.FxPlug.GlowXPC")}});
        const auto contents = [](const QString& path) { return TestEnvironment::readFile(path).trimmed(); };
        const QString launched = QStringLiteral("Launched application: 'com.quarnet.FxPlug.GlowXPC' successfully");
        const bool logged = std::any_of(lines.begin(), lines.end(), [&](const QList<QVariant>& l) {
            return l.first().toString().contains(launched);
        });
        QCOMPARE(logged, extendedLogging);

        if (extendedLogging) {
            // Asked to end as soon as it is launched: it may not even get to write its pid.
            QTest::qWait(300);
            const qint64 pid = contents(argsFile + ".pid").toLongLong();
            if (pid > 0)
                QTRY_VERIFY_WITH_TIMEOUT(::kill(pid_t(pid), 0) != 0, 5000);
        } else {
            QTRY_COMPARE(contents(argsFile), QByteArray("DontShowLaunchWindow DontShowWindow"));
            const qint64 pid = contents(argsFile + ".pid").toLongLong();
            QVERIFY(pid > 0);
            QTest::qWait(200);
            QCOMPARE(::kill(pid_t(pid), 0), 0);
            ::kill(pid_t(pid), SIGTERM);
            QTRY_VERIFY_WITH_TIMEOUT(::kill(pid_t(pid), 0) != 0, 5000);
        }
        Q_UNUSED(app);
    }
};

LV_TEST_GUILESS_MAIN(tst_VMUtils)
#include "tst_VMUtils.moc"
