#include "TestEnvironment.h"
#include "TestMain.h"

#include "PackageBuilder.h"
#include "PlistFile.h"
#include "platform/Platform.h"
#include "platform/emulated/EmulatedCommandLineTools.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

// One payload entry of a hand-made package.
struct Item
{
    QByteArray name;
    mode_t type = AE_IFREG;
    QByteArray content;
    QByteArray link;
};
Q_DECLARE_METATYPE(Item)

namespace {

const QString kLocation = QStringLiteral("/Applications/Lumivane");
const QString kIdentifier = QStringLiteral("com.quarnet.pkg.Glow");

struct Run
{
    int exitCode = -1;
    QString output;
};

Run runTool(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    Run run;
    if (!process.waitForFinished(60000))
        return run;
    run.exitCode = process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    run.output = QString::fromUtf8(process.readAllStandardOutput());
    return run;
}

Run install(const QString& package, const QString& target = QStringLiteral("/"))
{
    return runTool(Platform::commandLineTools().installerPath(),
                   {QStringLiteral("-pkg"), package, QStringLiteral("-target"), target});
}

// Every path under `folder`, relative to it, links not followed.
QStringList contents(const QString& folder)
{
    QStringList found;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        found << QDir(folder).relativeFilePath(it.next());
    found.sort();
    return found;
}

QByteArray cpioPayload(const QList<Item>& items)
{
    QByteArray data;
    archive* writer = archive_write_new();
    archive_write_set_format_cpio_odc(writer);
    archive_write_add_filter_gzip(writer);
    archive_write_open2(
        writer, &data, nullptr,
        [](archive*, void* client, const void* buffer, size_t length) -> la_ssize_t {
            static_cast<QByteArray*>(client)->append(static_cast<const char*>(buffer), qsizetype(length));
            return la_ssize_t(length);
        },
        nullptr, nullptr);
    for (const Item& item : items) {
        archive_entry* entry = archive_entry_new();
        archive_entry_set_pathname(entry, item.name.constData());
        archive_entry_set_filetype(entry, item.type);
        archive_entry_set_perm(entry, item.type == AE_IFDIR ? 0755 : 0644);
        archive_entry_set_size(entry, item.type == AE_IFREG ? item.content.size() : 0);
        if (item.type == AE_IFLNK)
            archive_entry_set_symlink(entry, item.link.constData());
        if (item.type == AE_IFCHR)
            archive_entry_set_rdev(entry, 0x0103);
        archive_write_header(writer, entry);
        if (item.type == AE_IFREG && !item.content.isEmpty())
            archive_write_data(writer, item.content.constData(), size_t(item.content.size()));
        archive_entry_free(entry);
    }
    archive_write_close(writer);
    archive_write_free(writer);
    return data;
}

QByteArray packageInfo(const QString& identifier = kIdentifier, const QString& location = kLocation)
{
    PackageBuilder builder;
    builder.identifier = identifier;
    builder.version = QStringLiteral("1.0");
    builder.installLocation = location;
    return builder.packageInfo(1, 1);
}

// A Distribution with the Looks choice, then the Glow choice (whose attributes are `glowChoice`);
// the Glow package's path is `glowPath`.
QByteArray distribution(const QByteArray& glowChoice, const QByteArray& glowPath = "#Glow%20Effect.pkg")
{
    return "<?xml version=\"1.0\"?>\n<installer-gui-script minSpecVersion=\"2\">\n"
           "  <title>Glow Suite</title>\n"
           "  <options customize=\"never\"/>\n"
           "  <choices-outline><line choice=\"default\"><line choice=\"looks\"/><line choice=\"glow\"/></line>"
           "</choices-outline>\n"
           "  <choice id=\"default\"/>\n"
           "  <choice id=\"looks\" visible=\"false\"><pkg-ref id=\"com.quarnet.pkg.Looks\"/></choice>\n"
           "  <choice id=\"glow\" " +
           glowChoice +
           "><pkg-ref id=\"com.quarnet.pkg.Glow\"/></choice>\n"
           "  <pkg-ref id=\"com.quarnet.pkg.Looks\" version=\"1.0\">#Looks.pkg</pkg-ref>\n"
           "  <pkg-ref id=\"com.quarnet.pkg.Glow\" version=\"1.0\" onConclusion=\"none\">" +
           glowPath + "</pkg-ref>\n</installer-gui-script>\n";
}

} // namespace

class tst_PackageInstaller : public QObject
{
    Q_OBJECT

private:
    // A wrapper application with a plug-in, a nested folder, a link and an executable.
    static void makeContent(const QString& folder, const QByteArray& version)
    {
        QVERIFY(TestEnvironment::writeFile(folder + QStringLiteral("/Glow.app/Contents/Info.plist"), "app " + version));
        QVERIFY(TestEnvironment::writeFile(folder + QStringLiteral("/Glow.app/Contents/MacOS/Glow"),
                                           "#!/bin/sh\necho " + version));
        QFile::setPermissions(folder + QStringLiteral("/Glow.app/Contents/MacOS/Glow"),
                              QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                                  QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther);
        QVERIFY(TestEnvironment::writeFile(
            folder + QStringLiteral("/Glow.app/Contents/PlugIns/Glow.pluginkit/Contents/Info.plist"),
            "plugin " + version));
        QVERIFY(QFile::link(QStringLiteral("MacOS/Glow"), folder + QStringLiteral("/Glow.app/Contents/Launcher")));
    }

    static QString build(const QString& workFolder, const QByteArray& version, const QString& name)
    {
        const QString content = workFolder + QStringLiteral("/content-") + QString::fromLatin1(version);
        makeContent(content, version);
        PackageBuilder builder;
        builder.root = content;
        builder.identifier = kIdentifier;
        builder.version = QString::fromLatin1(version);
        builder.installLocation = kLocation;
        const QString package = workFolder + QLatin1Char('/') + name;
        QString error;
        if (!builder.build(package, &error))
            qWarning("build failed: %s", qPrintable(error));
        return package;
    }

private slots:
    void toolsAreFoundWhereTheApplicationLooks()
    {
        // The installer and pluginkit found here are the ones every other case runs.
        TestEnvironment environment;
        QCOMPARE(Platform::commandLineTools().shellPath(), QStringLiteral("/bin/sh"));

        qputenv("LV_TOOLS_DIR", "/opt/lv/tools/");
        const QString overridden = EmulatedCommandLineTools().pluginkitPath();
        qunsetenv("LV_TOOLS_DIR");
        QCOMPARE(overridden, QStringLiteral("/opt/lv/tools/pluginkit"));
    }

    void firstInstallThenUpgrade()
    {
        TestEnvironment environment;
        const QString first = build(environment.path(), "1.0", QStringLiteral("Glow.pkg"));
        const Run installed = install(first);
        QCOMPARE(installed.output, QStringLiteral("installer: Package name is Glow\n"
                                                  "installer: Installing at base path /\n"
                                                  "installer: The install was successful.\n"));
        QCOMPARE(installed.exitCode, 0);

        const QString app = environment.systemRoot() + kLocation + QStringLiteral("/Glow.app/Contents");
        QCOMPARE(TestEnvironment::readFile(app + QStringLiteral("/PlugIns/Glow.pluginkit/Contents/Info.plist")),
                 QByteArray("plugin 1.0"));
        QVERIFY(QFileInfo(app + QStringLiteral("/MacOS/Glow")).isExecutable());
        QCOMPARE(QFileInfo(app + QStringLiteral("/Launcher")).symLinkTarget(), app + QStringLiteral("/MacOS/Glow"));
        QCOMPARE(contents(environment.systemRoot() + kLocation),
                 QStringList({"Glow.app", "Glow.app/Contents", "Glow.app/Contents/Info.plist",
                              "Glow.app/Contents/Launcher", "Glow.app/Contents/MacOS", "Glow.app/Contents/MacOS/Glow",
                              "Glow.app/Contents/PlugIns", "Glow.app/Contents/PlugIns/Glow.pluginkit",
                              "Glow.app/Contents/PlugIns/Glow.pluginkit/Contents",
                              "Glow.app/Contents/PlugIns/Glow.pluginkit/Contents/Info.plist"}));

        const QString receiptPath =
            environment.systemRoot() + QStringLiteral("/var/db/receipts/") + kIdentifier + QStringLiteral(".plist");
        PlistFile::Node receipt = PlistFile::read(receiptPath);
        QCOMPARE(PlistFile::string(receipt.get(), "PackageIdentifier"), kIdentifier);
        QCOMPARE(PlistFile::string(receipt.get(), "PackageVersion"), QStringLiteral("1.0"));
        QCOMPARE(PlistFile::string(receipt.get(), "InstallPrefixPath"), QStringLiteral("Applications/Lumivane"));

        // The same identifier again is an upgrade, built this time with the command-line builder.
        const QString content = environment.path() + QStringLiteral("/content-2.0");
        makeContent(content, "2.0");
        const QString second = environment.path() + QStringLiteral("/Glow 2.0.pkg");
        const Run built = runTool(QFileInfo(Platform::commandLineTools().installerPath()).absolutePath() +
                                      QStringLiteral("/lv-pkgbuild"),
                                  {QStringLiteral("--root"), content, QStringLiteral("--identifier"), kIdentifier,
                                   QStringLiteral("--version"), QStringLiteral("2.0"),
                                   QStringLiteral("--install-location"), kLocation, second});
        QCOMPARE(built.exitCode, 0);
        QCOMPARE(built.output, QStringLiteral("lv-pkgbuild: Wrote package to %1\n").arg(second));
        const Run upgraded = install(second);
        QCOMPARE(upgraded.output, QStringLiteral("installer: Package name is Glow 2.0\n"
                                                 "installer: Upgrading at base path /\n"
                                                 "installer: The upgrade was successful.\n"));
        QCOMPARE(upgraded.exitCode, 0);
        QCOMPARE(TestEnvironment::readFile(app + QStringLiteral("/PlugIns/Glow.pluginkit/Contents/Info.plist")),
                 QByteArray("plugin 2.0"));
        QCOMPARE(TestEnvironment::readFile(app + QStringLiteral("/Launcher")), QByteArray("#!/bin/sh\necho 2.0"));
        receipt = PlistFile::read(receiptPath);
        QCOMPARE(PlistFile::string(receipt.get(), "PackageVersion"), QStringLiteral("2.0"));
    }

    void targets_data()
    {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("basePath");    // as printed; "~" stands for the home folder
        QTest::addColumn<QString>("installedIn"); // below the test folder
        QTest::addColumn<QString>("receipts");
        // The system target is firstInstallThenUpgrade's.
        QTest::newRow("home") << "CurrentUserHomeDirectory"
                              << "~"
                              << "home/Applications/Lumivane"
                              << "home/Library/Receipts";
        QTest::newRow("volume") << "/Volumes/Studio"
                                << "/Volumes/Studio"
                                << "root/Volumes/Studio/Applications/Lumivane"
                                << "root/Volumes/Studio/var/db/receipts";
    }
    void targets()
    {
        QFETCH(QString, target);
        QFETCH(QString, basePath);
        QFETCH(QString, installedIn);
        QFETCH(QString, receipts);
        TestEnvironment environment;
        QDir().mkpath(environment.systemRoot() + QStringLiteral("/Volumes/Studio"));
        const QString package = build(environment.path(), "1.0", QStringLiteral("Glow.pkg"));
        const Run run = install(package, target);
        basePath.replace(QLatin1Char('~'), environment.home());
        QCOMPARE(run.output, QStringLiteral("installer: Package name is Glow\n"
                                            "installer: Installing at base path %1\n"
                                            "installer: The install was successful.\n")
                                 .arg(basePath));
        QCOMPARE(run.exitCode, 0);
        QVERIFY(QFileInfo(environment.path() + QLatin1Char('/') + installedIn +
                          QStringLiteral("/Glow.app/Contents/PlugIns/Glow.pluginkit/Contents/Info.plist"))
                    .isFile());
        QVERIFY(QFileInfo(environment.path() + QLatin1Char('/') + receipts + QLatin1Char('/') + kIdentifier +
                          QStringLiteral(".plist"))
                    .isFile());
    }

    void badInvocationsAndPackages_data()
    {
        QTest::addColumn<QStringList>("arguments");  // "PKG" stands for the package below
        QTest::addColumn<QByteArray>("packageData"); // written as PKG when not empty
        QTest::addColumn<QString>("expected");       // the line that tells why
        const QString usage = QStringLiteral("Usage: installer -pkg <pathToPackage>");
        const QStringList normal = {"-pkg", "PKG", "-target", "/"};
        QTest::newRow("no target") << QStringList{"-pkg", "PKG"} << QByteArray("x") << usage;
        QTest::newRow("unknown option") << QStringList{"-pkg", "PKG", "-target", "/", "-bogus"} << QByteArray("x")
                                        << usage;
        QTest::newRow("missing package") << normal << QByteArray()
                                         << "installer: Error - the package path specified was invalid: 'PKG'.";
        QTest::newRow("missing volume") << QStringList{"-pkg", "PKG", "-target", "/Volumes/Gone"} << QByteArray("x")
                                        << "installer: Error - the target specified was invalid: '/Volumes/Gone'.";
        QTest::newRow("garbage") << normal << QByteArray("this is not a package at all")
                                 << "installer: Error - the package 'Glow.pkg' could not be read: it is not a flat "
                                    "package";
    }
    void badInvocationsAndPackages()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QByteArray, packageData);
        QFETCH(QString, expected);
        TestEnvironment environment;
        const QString package = environment.path() + QStringLiteral("/Glow.pkg");
        if (!packageData.isEmpty())
            QVERIFY(TestEnvironment::writeFile(package, packageData));
        arguments.replaceInStrings(QStringLiteral("PKG"), package);
        expected.replace(QStringLiteral("PKG"), package);
        const Run run = runTool(Platform::commandLineTools().installerPath(), arguments);
        QVERIFY2(run.output.startsWith(expected), qPrintable(run.output));
        QVERIFY(!run.output.contains(QStringLiteral("successful")));
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(contents(environment.systemRoot()), QStringList());
    }

    void damagedPackages_data()
    {
        QTest::addColumn<QByteArray>("info");    // PackageInfo; null: none
        QTest::addColumn<QByteArray>("payload"); // Payload; null: none
        QTest::addColumn<QString>("why");
        const QByteArray payload = cpioPayload({{"./a.txt", AE_IFREG, "a", {}}});
        QTest::newRow("no payload") << packageInfo() << QByteArray() << "it has no Payload";
        QTest::newRow("no package info") << QByteArray() << payload << "it has no PackageInfo";
        QTest::newRow("package info not xml")
            << QByteArray("hello") << payload << "its PackageInfo is not a package description";
        QTest::newRow("identifier with a slash")
            << packageInfo(QStringLiteral("../../evil")) << payload << "its identifier '../../evil' is not usable";
        QTest::newRow("payload not cpio") << packageInfo() << QByteArray("\x1f\x8bnot really gzip") << "Payload";
        QTest::newRow("install location climbs out") << packageInfo(kIdentifier, QStringLiteral("/../../outside"))
                                                     << payload << "the install location '/../../outside'";
    }
    void damagedPackages()
    {
        QFETCH(QByteArray, info);
        QFETCH(QByteArray, payload);
        QFETCH(QString, why);
        TestEnvironment environment;
        const QString package = environment.path() + QStringLiteral("/Glow.pkg");
        QList<std::pair<QString, QByteArray>> members;
        if (!info.isNull())
            members.append({QStringLiteral("PackageInfo"), info});
        if (!payload.isNull())
            members.append({QStringLiteral("Payload"), payload});
        QString error;
        QVERIFY2(PackageBuilder::writeXar(package, members, &error), qPrintable(error));
        const Run run = install(package);
        QVERIFY2(run.output.contains(QStringLiteral("installer: Error - ")) && run.output.contains(why),
                 qPrintable(run.output));
        QVERIFY(!run.output.contains(QStringLiteral("successful")));
        QCOMPARE(run.exitCode, 1);
        QVERIFY(!QFileInfo::exists(environment.systemRoot() + QStringLiteral("/var/db/receipts")));
        QVERIFY(!QFileInfo::exists(environment.path() + QStringLiteral("/outside")));
    }

    void maliciousPayloadsAreRefused_data()
    {
        QTest::addColumn<QList<Item>>("items"); // "SENTINEL" stands for the folder outside the root
        QTest::addColumn<QByteArray>("refused");
        QTest::addColumn<QString>("why");
        QTest::addColumn<bool>("existingLink"); // Glow.app already is a link to the sentinel folder
        const Item good{"./good.txt", AE_IFREG, "good", {}};
        QTest::newRow("absolute path") << QList<Item>{good, {"SENTINEL/evil", AE_IFREG, "evil", {}}}
                                       << QByteArray("SENTINEL/evil") << "its path is absolute" << false;
        QTest::newRow("dot-dot") << QList<Item>{good, {"./../../../sentinel/evil", AE_IFREG, "evil", {}}}
                                 << QByteArray("./../../../sentinel/evil") << "leads out of the install location"
                                 << false;
        QTest::newRow("dot-dot inside the path")
            << QList<Item>{good, {"./Glow.app/../../../../sentinel/evil", AE_IFREG, "evil", {}}}
            << QByteArray("./Glow.app/../../../../sentinel/evil") << "leads out of the install location" << false;
        QTest::newRow("absolute link") << QList<Item>{good,
                                                      {"./out", AE_IFLNK, {}, "SENTINEL"},
                                                      {"./out/evil", AE_IFREG, "evil", {}}}
                                       << QByteArray("./out") << "links to the absolute path" << false;
        QTest::newRow("link climbing out")
            << QList<Item>{good, {"./out", AE_IFLNK, {}, "../../../sentinel"}, {"./out/evil", AE_IFREG, "evil", {}}}
            << QByteArray("./out") << "outside the install location" << false;
        // Each link alone stays inside; followed one through the other they would leave it.
        QTest::newRow("links chained out") << QList<Item>{good,
                                                          {"./a", AE_IFDIR, {}, {}},
                                                          {"./a/b", AE_IFDIR, {}, {}},
                                                          {"./a/b/up", AE_IFLNK, {}, "../.."},
                                                          {"./a/b/far", AE_IFLNK, {}, "up/../../.."}}
                                           << QByteArray("./a/b/far") << "outside the install location" << false;
        QTest::newRow("file through a link in the payload")
            << QList<Item>{good,
                           {"./inner", AE_IFDIR, {}, {}},
                           {"./alias", AE_IFLNK, {}, "inner"},
                           {"./alias/evil", AE_IFREG, "evil", {}}}
            << QByteArray("./alias/evil") << "goes through the link 'alias'" << false;
        QTest::newRow("file through a link on disk")
            << QList<Item>{good, {"./Glow.app/evil", AE_IFREG, "evil", {}}} << QByteArray("./Glow.app/evil")
            << "goes through the link 'Glow.app'" << true;
        QTest::newRow("device") << QList<Item>{good, {"./tty", AE_IFCHR, {}, {}}} << QByteArray("./tty")
                                << "neither a file, a folder nor a link" << false;
        QTest::newRow("file as the install location") << QList<Item>{good, {".", AE_IFREG, "x", {}}} << QByteArray(".")
                                                      << "replace the install location" << false;
    }
    void maliciousPayloadsAreRefused()
    {
        QFETCH(QList<Item>, items);
        QFETCH(QByteArray, refused);
        QFETCH(QString, why);
        QFETCH(bool, existingLink);
        TestEnvironment environment;
        const QString sentinel = environment.path() + QStringLiteral("/sentinel");
        QVERIFY(QDir().mkpath(sentinel));
        const QByteArray sentinelName = QFile::encodeName(sentinel);
        for (Item& item : items) {
            item.name.replace("SENTINEL", sentinelName);
            item.link.replace("SENTINEL", sentinelName);
        }
        refused.replace("SENTINEL", sentinelName);
        const QString destination = environment.systemRoot() + kLocation;
        if (existingLink) {
            QVERIFY(QDir().mkpath(destination));
            QVERIFY(QFile::link(sentinel, destination + QStringLiteral("/Glow.app")));
        }

        const QString package = environment.path() + QStringLiteral("/Evil.pkg");
        QString error;
        QVERIFY2(PackageBuilder::writeXar(
                     package,
                     {{QStringLiteral("PackageInfo"), packageInfo()}, {QStringLiteral("Payload"), cpioPayload(items)}},
                     &error),
                 qPrintable(error));
        const Run run = install(package);
        const QStringList lines = run.output.split(QLatin1Char('\n'));
        QCOMPARE(lines.value(0), QStringLiteral("installer: Package name is Evil"));
        QCOMPARE(lines.value(1), QStringLiteral("installer: Installing at base path /"));
        QVERIFY2(lines.value(2).startsWith(
                     QStringLiteral("installer: Error - refused payload entry '%1': ").arg(QString::fromUtf8(refused))),
                 qPrintable(run.output));
        QVERIFY2(lines.value(2).contains(why), qPrintable(lines.value(2)));
        QCOMPARE(lines.value(3), QStringLiteral("installer: The install failed."));
        QCOMPARE(run.exitCode, 1);

        // Refused before anything was written: not even the harmless entry is there.
        QCOMPARE(contents(sentinel), QStringList());
        QVERIFY(!QFileInfo::exists(destination + QStringLiteral("/good.txt")));
        QVERIFY(!QFileInfo::exists(environment.systemRoot() + QStringLiteral("/var/db/receipts")));
        QVERIFY(!QFileInfo::exists(environment.path() + QStringLiteral("/evil")));
    }

    // A product archive as productbuild makes them: the components its choices select, in the
    // outline's order, each with its receipt and with its scripts run around its payload.
    void productArchives_data()
    {
        QTest::addColumn<QByteArray>("distributionScript");
        QTest::addColumn<bool>("glowPreinstallFails");
        QTest::addColumn<QStringList>("installed");
        QTest::addColumn<QString>("lastLine");

        const QString success = QStringLiteral("installer: The install was successful.");
        const QString failure = QStringLiteral("installer: The install failed.");
        QTest::newRow("both, in the outline's order")
            << distribution("visible=\"false\"") << false << QStringList{"Looks", "Glow"} << success;
        QTest::newRow("a choice off by default")
            << distribution("start_selected=\"false\"") << false << QStringList{"Looks"} << success;
        QTest::newRow("a choice a script decides")
            << distribution("selected=\"my.choice.packageUpgradeAction != 'installed'\"") << false
            << QStringList{"Looks", "Glow"} << success;
        QTest::newRow("a failing preinstall")
            << distribution("visible=\"false\"") << true << QStringList{"Looks"} << failure;
        QTest::newRow("a package outside the archive")
            << distribution("visible=\"false\"", "file:///tmp/Glow.pkg") << false << QStringList{}
            << QStringLiteral("installer: Error - the package 'Suite.pkg' could not be read: its package "
                              "'com.quarnet.pkg.Glow' is not inside the archive (file:///tmp/Glow.pkg).");
    }
    void productArchives()
    {
        QFETCH(QByteArray, distributionScript);
        QFETCH(bool, glowPreinstallFails);
        QFETCH(QStringList, installed);
        QFETCH(QString, lastLine);
        TestEnvironment environment;
        const QString work = environment.path();
        QList<std::pair<QString, QByteArray>> members{{QStringLiteral("Distribution"), distributionScript}};
        for (const QString& name : {QStringLiteral("Looks"), QStringLiteral("Glow")}) {
            const QString content = work + QStringLiteral("/content-") + name;
            const QString scripts = work + QStringLiteral("/scripts-") + name;
            QVERIFY(
                TestEnvironment::writeFile(content + QLatin1Char('/') + name + QStringLiteral(".txt"), name.toUtf8()));
            // Each script leaves its name and its arguments in the target volume.
            QByteArray postinstall = "#!/bin/sh\necho \"" + name.toUtf8() + " $*\" >> \"$3/scripts.log\"\n";
            QVERIFY(TestEnvironment::writeFile(scripts + QStringLiteral("/postinstall"), postinstall));
            if (name == QLatin1String("Glow") && glowPreinstallFails)
                QVERIFY(TestEnvironment::writeFile(scripts + QStringLiteral("/preinstall"), "#!/bin/sh\nexit 3\n"));
            for (const QString& script : QDir(scripts).entryList(QDir::Files))
                QFile::setPermissions(scripts + QLatin1Char('/') + script,
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
            PackageBuilder builder;
            builder.root = content;
            builder.identifier = QStringLiteral("com.quarnet.pkg.") + name;
            builder.installLocation = kLocation;
            builder.scripts = scripts;
            QString error;
            const QString component =
                name == QLatin1String("Glow") ? QStringLiteral("Glow Effect.pkg/") : QStringLiteral("Looks.pkg/");
            QVERIFY2(builder.componentMembers(component, &members, &error), qPrintable(error));
        }
        const QString package = work + QStringLiteral("/Suite.pkg");
        QString error;
        QVERIFY2(PackageBuilder::writeXar(package, members, &error), qPrintable(error));

        const Run run = install(package);
        const QString root = environment.systemRoot();
        QCOMPARE(run.output.trimmed().split(QLatin1Char('\n')).constLast(), lastLine);
        QCOMPARE(run.exitCode, lastLine.endsWith(QLatin1String("successful.")) ? 0 : 1);
        QStringList logged;
        for (const QString& name : installed) {
            logged << QStringLiteral("%1 %2 %3 %4 %4").arg(name, package, root + kLocation, root);
            QVERIFY2(QFileInfo::exists(root + QStringLiteral("/var/db/receipts/com.quarnet.pkg.%1.plist").arg(name)),
                     qPrintable(name));
        }
        QCOMPARE(QString::fromUtf8(TestEnvironment::readFile(root + QStringLiteral("/scripts.log")))
                     .split(QLatin1Char('\n'), Qt::SkipEmptyParts),
                 logged);
        QCOMPARE(
            contents(root + kLocation), installed.isEmpty() ? QStringList{} : [&] {
                QStringList files;
                for (const QString& name : installed)
                    files << name + QStringLiteral(".txt");
                files.sort();
                return files;
            }());
    }

    void installLocationThroughALinkIsRefused()
    {
        TestEnvironment environment;
        const QString sentinel = environment.path() + QStringLiteral("/sentinel");
        QVERIFY(QDir().mkpath(sentinel));
        QVERIFY(QFile::link(sentinel, environment.systemRoot() + QStringLiteral("/Applications")));
        const QString package = build(environment.path(), "1.0", QStringLiteral("Glow.pkg"));
        const Run run = install(package);
        QVERIFY2(run.output.contains(QStringLiteral("installer: Error - the install location '/Applications/Lumivane' "
                                                    "leads outside the target.\ninstaller: The install failed.\n")),
                 qPrintable(run.output));
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(contents(sentinel), QStringList());
    }
};

LV_TEST_GUILESS_MAIN(tst_PackageInstaller)
#include "tst_PackageInstaller.moc"
