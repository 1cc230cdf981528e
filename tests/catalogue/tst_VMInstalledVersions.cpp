#include "LogCapture.h"
#include "TestMain.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMSingleProductItem.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMLogger.h"
#include "foundation/VMPropertyList.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtConcurrent>
#include <QtTest>

namespace {

// A wrapper application in <root>/Applications/Lumivane with one plug-in inside.
QString makePlugin(const QString& root, const QString& app, const QString& plugin, const QString& identifier,
                   const QVariant& bundleVersion = QVariant(), const QVariant& productVersions = QVariant())
{
    const QString contents =
        QStringLiteral("%1/Applications/Lumivane/%2/Contents/PlugIns/%3/Contents").arg(root, app, plugin);
    QVariantMap info{{QStringLiteral("CFBundleIdentifier"), identifier}};
    if (bundleVersion.isValid())
        info.insert(QStringLiteral("CFBundleVersion"), bundleVersion);
    if (productVersions.isValid())
        info.insert(QStringLiteral("Product Versions"), productVersions);
    return TestEnvironment::writeFile(contents + QStringLiteral("/Info.plist"), VMPropertyList::toXmlData(info))
               ? QFileInfo(contents).absolutePath()
               : QString();
}

} // namespace

class tst_VMInstalledVersions : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        _env = std::make_unique<TestEnvironment>();
        VMInstalledVersions::clearBundleIdentifierCache();
    }
    void cleanup()
    {
        VMInstalledVersions::clearBundleIdentifierCache();
        _env.reset();
    }

    void productAnswer_data();
    void productAnswer();
    void versionAnswer_data();
    void versionAnswer();
    void newerInstalledVersion_data();
    void newerInstalledVersion();
    void tableOfOnePluginServingSeveralProducts();
    void findsPluginOnlyByExtensionAndIdentifier();
    void cacheKeepsAnswerUntilCleared();
    void coldPassReadsTheFolderOnce();
    void malformedInformationIsLoggedAndKeepsWhatWasRead_data();
    void malformedInformationIsLoggedAndKeepsWhatWasRead();
    void messagesOnlyWithExtendedLogging();
    void concurrentLookUpsAndClears();
    void nonLossyAsciiDecoding_data();
    void nonLossyAsciiDecoding();
    void pluginkitOutput();
    void registryRoundTrip();
    void productRecords_data();
    void productRecords();
    void versionRecordWithoutProduct();

private:
    QString root() const { return _env->systemRoot(); }
    std::unique_ptr<TestEnvironment> _env;
};

void tst_VMInstalledVersions::productAnswer_data()
{
    QTest::addColumn<QVariant>("bundleVersion");
    QTest::addColumn<QVariant>("productVersions");
    QTest::addColumn<QString>("productID");
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("directory");
    QTest::addColumn<QString>("expected");

    const QString id = QStringLiteral("com.quarnet.FxPlug.GlowXPC");
    const QVariant none;
    QTest::newRow("build number cut off")
        << QVariant(QStringLiteral("2.0 (10)")) << none << "P1" << id << "-" << QStringLiteral("2.0");
    QTest::newRow("same plug-in, other product")
        << QVariant(QStringLiteral("2.0 (10)")) << none << "P2" << id << "-" << QStringLiteral("2.0");
    QTest::newRow("product entry beats bundle version")
        << QVariant(QStringLiteral("3.0")) << QVariant(QVariantMap{{"P1", "1.4"}}) << "P1" << id << "-"
        << QStringLiteral("1.4");
    QTest::newRow("product not listed falls back")
        << QVariant(QStringLiteral("3.0")) << QVariant(QVariantMap{{"P1", "1.4"}}) << "P9" << id << "-"
        << QStringLiteral("3.0");
    QTest::newRow("listed XPC_ replaces bundle version")
        << QVariant(QStringLiteral("3.0")) << QVariant(QVariantMap{{"XPC_", "3.5"}}) << "P9" << id << "-"
        << QStringLiteral("3.5");
    QTest::newRow("no version keys") << none << none << "P1" << id << "-" << QString();
    QTest::newRow("only product versions, other product")
        << none << QVariant(QVariantMap{{"P1", "1.4"}}) << "P2" << id << "-" << QString();
    QTest::newRow("unknown identifier") << QVariant(QStringLiteral("2.0")) << none << "P1"
                                        << QStringLiteral("com.quarnet.FxPlug.Other") << "-" << QString();
    QTest::newRow("null identifier") << QVariant(QStringLiteral("2.0")) << none << "P1" << QString() << "-"
                                     << QString();
    QTest::newRow("check directory exists")
        << QVariant(QStringLiteral("2.0")) << none << "P1" << id << "/Applications/Lumivane" << QStringLiteral("2.0");
    QTest::newRow("check directory is a plain file")
        << QVariant(QStringLiteral("2.0")) << none << "P1" << id
        << "/Applications/Lumivane/Glow.app/Contents/PlugIns/GlowXPC.pluginkit/Contents/Info.plist"
        << QStringLiteral("2.0");
    QTest::newRow("check directory missing")
        << QVariant(QStringLiteral("2.0")) << none << "P1" << id << "/Library/Missing" << QString();
    QTest::newRow("check directory as the Mac names it") << QVariant(QStringLiteral("2.0")) << none << "P1" << id
                                                         << "=/Applications/Lumivane/Glow.app" << QStringLiteral("2.0");
    QTest::newRow("Mac path missing in the root")
        << QVariant(QStringLiteral("2.0")) << none << "P1" << id << "=/Applications/Lumivane/Gone.app" << QString();
}

void tst_VMInstalledVersions::productAnswer()
{
    QFETCH(QVariant, bundleVersion);
    QFETCH(QVariant, productVersions);
    QFETCH(QString, productID);
    QFETCH(QString, identifier);
    QFETCH(QString, directory);
    QFETCH(QString, expected);

    QVERIFY(!makePlugin(root(), "Glow.app", "GlowXPC.pluginkit", "com.quarnet.FxPlug.GlowXPC", bundleVersion,
                        productVersions)
                 .isNull());
    // "-" is no directory, "=" a path used as given, anything else a path inside the root.
    const QString dir = directory == QLatin1String("-")          ? QString()
                        : directory.startsWith(QLatin1Char('=')) ? directory.mid(1)
                                                                 : root() + directory;
    const QString answer = VMInstalledVersions::installedVersionForProduct(productID, identifier, dir);
    QCOMPARE(answer, expected);
    QCOMPARE(answer.isNull(), expected.isNull());
}

void tst_VMInstalledVersions::versionAnswer_data()
{
    QTest::addColumn<QString>("versionIdentifier");
    QTest::addColumn<QString>("versionDirectory");
    QTest::addColumn<QString>("productIdentifier");
    QTest::addColumn<QString>("productDirectory");
    QTest::addColumn<QString>("expected");

    // "@" stands for the root; the product's own plug-in reports 1.0, the version's 3.0 (20).
    const QString productId = QStringLiteral("com.quarnet.FxPlug.Blur");
    const QString versionId = QStringLiteral("com.quarnet.FxPlug.Blur3XPC");
    const QString exists = QStringLiteral("@/Applications/Lumivane/Blur3.app");
    const QString missing = QStringLiteral("@/Applications/Lumivane/Nowhere");
    QTest::newRow("own identifier and directory, product's directory missing")
        << versionId << exists << productId << missing << "3.0";
    QTest::newRow("names neither") << QString() << QString() << productId << exists << QString();
    QTest::newRow("own identifier, directory from product") << versionId << QString() << productId << exists << "3.0";
    QTest::newRow("own directory, identifier from product") << QString() << exists << productId << missing << "1.0";
    QTest::newRow("identifier but no directory anywhere")
        << versionId << QString() << productId << QString() << QString();
    QTest::newRow("directory but no identifier anywhere") << QString() << exists << QString() << QString() << QString();
    QTest::newRow("own directory missing") << versionId << missing << productId << exists << QString();
}

void tst_VMInstalledVersions::versionAnswer()
{
    QFETCH(QString, versionIdentifier);
    QFETCH(QString, versionDirectory);
    QFETCH(QString, productIdentifier);
    QFETCH(QString, productDirectory);
    QFETCH(QString, expected);

    makePlugin(root(), "Blur.app", "Blur.pluginkit", "com.quarnet.FxPlug.Blur", QStringLiteral("1.0"));
    makePlugin(root(), "Blur3.app", "Blur3XPC.pluginkit", "com.quarnet.FxPlug.Blur3XPC", QStringLiteral("3.0 (20)"));
    const auto rooted = [this](QString path) { return path.isNull() ? path : path.replace(QLatin1Char('@'), root()); };
    const QString answer = VMInstalledVersions::installedVersionForVersion(
        QStringLiteral("P1"), versionIdentifier, rooted(versionDirectory), productIdentifier, rooted(productDirectory));
    QCOMPARE(answer, expected);
    QCOMPARE(answer.isNull(), expected.isNull());
}

void tst_VMInstalledVersions::newerInstalledVersion_data()
{
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("candidate");
    QTest::addColumn<QString>("expected");
    QTest::newRow("2.10 is newer than 2.1") << QStringLiteral("2.1") << "2.10" << QStringLiteral("2.10");
    QTest::newRow("older keeps current") << QStringLiteral("2.10") << "2.1" << QStringLiteral("2.10");
    QTest::newRow("equal keeps the earlier") << QStringLiteral("2.1") << "2.1.0" << QStringLiteral("2.1");
    QTest::newRow("nothing yet") << QString() << "1.0" << QStringLiteral("1.0");
    QTest::newRow("nothing new") << "1.0" << QString() << "1.0";
}

void tst_VMInstalledVersions::newerInstalledVersion()
{
    QFETCH(QString, current);
    QFETCH(QString, candidate);
    QFETCH(QString, expected);
    QCOMPARE(VMInstalledVersions::newerInstalledVersion(current, candidate), expected);
}

void tst_VMInstalledVersions::tableOfOnePluginServingSeveralProducts()
{
    makePlugin(root(), "Suite.app", "SuiteXPC.pluginkit", "com.quarnet.SuiteXPC", QStringLiteral("5.1.2 (99)"),
               QVariantMap{{"A", "1.1"}, {"B", "2.2"}});
    const auto table = VMInstalledVersions::checkProductVersionsInBundle(QStringLiteral("com.quarnet.SuiteXPC"));
    QVERIFY(table);
    const QVariantMap expected{{"XPC_", "5.1.2"}, {"A", "1.1"}, {"B", "2.2"}};
    QCOMPARE(*table, expected);

    QVERIFY(!VMInstalledVersions::checkProductVersionsInBundle(QString()));
    QVERIFY(!VMInstalledVersions::checkProductVersionsInBundle(QStringLiteral("")));
    const auto missing = VMInstalledVersions::checkProductVersionsInBundle(QStringLiteral("com.quarnet.None"));
    QVERIFY(missing);
    QVERIFY(missing->isEmpty());
}

void tst_VMInstalledVersions::findsPluginOnlyByExtensionAndIdentifier()
{
    const QString folder = root() + QStringLiteral("/Applications/Lumivane");
    // A plug-in folder without the extension is not looked at, even with the right identifier.
    makePlugin(root(), "A.app", "Wrong.appex", "com.quarnet.Target", QStringLiteral("1.0"));
    makePlugin(root(), "B.app", "Other.pluginkit", "com.quarnet.Other", QStringLiteral("1.0"));
    QVERIFY(VMInstalledVersions::findXPCBunde(QStringLiteral("com.quarnet.Target"), folder).isNull());

    const QString expected =
        makePlugin(root(), "C.app", "Target.pluginkit", "com.quarnet.Target", QStringLiteral("1.0"));
    // Stray files beside the wrappers are skipped.
    QVERIFY(TestEnvironment::writeFile(folder + QStringLiteral("/README")));
    QCOMPARE(
        QFileInfo(VMInstalledVersions::findXPCBunde(QStringLiteral("com.quarnet.Target"), folder)).canonicalFilePath(),
        QFileInfo(expected).canonicalFilePath());
    QCOMPARE(QFileInfo(VMInstalledVersions::filePathToBundle(QStringLiteral("com.quarnet.Target"))).canonicalFilePath(),
             QFileInfo(expected).canonicalFilePath());

    QVERIFY(VMInstalledVersions::findXPCBunde(QString(), folder).isNull());
    QVERIFY(VMInstalledVersions::findXPCBunde(QStringLiteral("com.quarnet.Target"), QString()).isNull());
    QVERIFY(VMInstalledVersions::findXPCBunde(QStringLiteral("com.quarnet.Target"), folder + "/Missing").isNull());
}

void tst_VMInstalledVersions::cacheKeepsAnswerUntilCleared()
{
    const QString id = QStringLiteral("com.quarnet.FxPlug.LateXPC");
    // Asked before the wrapper exists: remembered as not installed.
    QVERIFY(VMInstalledVersions::installedVersionForProduct("P1", id, QString()).isNull());
    makePlugin(root(), "Late.app", "LateXPC.pluginkit", id, QStringLiteral("1.0"));
    QVERIFY(VMInstalledVersions::installedVersionForProduct("P1", id, QString()).isNull());

    VMInstalledVersions::clearBundleIdentifierCache();
    QCOMPARE(VMInstalledVersions::installedVersionForProduct("P1", id, QString()), QStringLiteral("1.0"));

    // Upgraded by hand: the old answer stays, without touching the disk, until the next clearing.
    makePlugin(root(), "Late.app", "LateXPC.pluginkit", id, QStringLiteral("1.1"));
    const quint64 before = VMInstalledVersions::fileSystemAccessCount();
    QCOMPARE(VMInstalledVersions::installedVersionForProduct("P1", id, QString()), QStringLiteral("1.0"));
    QCOMPARE(VMInstalledVersions::installedVersionForProduct("P2", id, QString()), QStringLiteral("1.0"));
    QCOMPARE(VMInstalledVersions::fileSystemAccessCount(), before);

    VMInstalledVersions::clearBundleIdentifierCache();
    QCOMPARE(VMInstalledVersions::installedVersionForProduct("P1", id, QString()), QStringLiteral("1.1"));
    QVERIFY(VMInstalledVersions::fileSystemAccessCount() > before);
}

// A cold pass over many plug-ins reads each wrapper a fixed number of times, not once per plug-in
// asked for; a wrapper that arrives during the pass is still found.
void tst_VMInstalledVersions::coldPassReadsTheFolderOnce()
{
    const int count = 24;
    for (int i = 0; i < count; ++i)
        makePlugin(root(), QStringLiteral("W%1.app").arg(i), QStringLiteral("W%1.pluginkit").arg(i),
                   QStringLiteral("com.quarnet.W%1").arg(i), QStringLiteral("1.%1").arg(i));
    const quint64 before = VMInstalledVersions::fileSystemAccessCount();
    for (int i = 0; i < count; ++i) {
        QCOMPARE(
            VMInstalledVersions::installedVersionForProduct("P", QStringLiteral("com.quarnet.W%1").arg(i), QString()),
            QStringLiteral("1.%1").arg(i));
    }
    QVERIFY(
        VMInstalledVersions::installedVersionForProduct("P", QStringLiteral("com.quarnet.None"), QString()).isNull());
    const quint64 accesses = VMInstalledVersions::fileSystemAccessCount() - before;
    QVERIFY2(accesses <= 4 * count + 4, qPrintable(QString::number(accesses)));

    // The folder's new modification time must differ from the one read. File times follow a coarse
    // clock (a few milliseconds a step, more on a busy virtual machine), so wait well past a step.
    QTest::qWait(50);
    makePlugin(root(), "Late.app", "Late.pluginkit", "com.quarnet.Late", QStringLiteral("3.0"));
    QCOMPARE(VMInstalledVersions::installedVersionForProduct("P", QStringLiteral("com.quarnet.Late"), QString()),
             QStringLiteral("3.0"));
}

void tst_VMInstalledVersions::malformedInformationIsLoggedAndKeepsWhatWasRead_data()
{
    QTest::addColumn<QVariant>("bundleVersion");
    QTest::addColumn<QVariant>("productVersions");
    QTest::addColumn<QVariantMap>("expected");
    QTest::addColumn<QString>("logged");
    QTest::newRow("bundle version not text")
        << QVariant(qint64(7)) << QVariant(QVariantMap{{"P1", "1.0"}}) << QVariantMap() << "CFBundleVersion of";
    QTest::newRow("product versions not a dictionary")
        << QVariant(QStringLiteral("2.0")) << QVariant(QStringLiteral("P1=1.0")) << QVariantMap{{"XPC_", "2.0"}}
        << "Product Versions of";
}

void tst_VMInstalledVersions::malformedInformationIsLoggedAndKeepsWhatWasRead()
{
    QFETCH(QVariant, bundleVersion);
    QFETCH(QVariant, productVersions);
    QFETCH(QVariantMap, expected);
    QFETCH(QString, logged);

    LogCapture log;
    makePlugin(root(), "Bad.app", "Bad.pluginkit", "com.quarnet.Bad", bundleVersion, productVersions);
    const auto table = VMInstalledVersions::checkProductVersionsInBundle(QStringLiteral("com.quarnet.Bad"));
    QVERIFY(table);
    QCOMPARE(*table, expected);
    QCOMPARE(log.lines.size(), 1);
    QVERIFY2(log.lines.first().startsWith(QStringLiteral("M: '") + logged), qPrintable(log.lines.first()));
    QVERIFY(log.lines.first().contains(QLatin1String("checkProductVersionsInBundle")));
}

void tst_VMInstalledVersions::messagesOnlyWithExtendedLogging()
{
    const QString id = QStringLiteral("com.quarnet.LogXPC");
    makePlugin(root(), "Log.app", "LogXPC.pluginkit", id, QStringLiteral("4.0"));
    const QString present = root() + QStringLiteral("/Applications/Lumivane/Log.app");
    const QString absent = root() + QStringLiteral("/Applications/Lumivane/Gone.app");

    LogCapture log;
    VMInstalledVersions::installedVersionForProduct("P1", id, present);
    VMInstalledVersions::installedVersionForProduct("P1", "com.quarnet.None", QString());
    QVERIFY(log.lines.isEmpty());

    LVPreferences::sharedPreferences()->useExtendedLogging(true);
    VMInstalledVersions::installedVersionForProduct("P1", id, present);
    VMInstalledVersions::installedVersionForProduct("P1", id, absent);
    VMInstalledVersions::installedVersionForProduct("P1", "com.quarnet.None", QString());
    VMInstalledVersions::installedVersionForVersion("P1", id, absent, QString(), QString());
    const QStringList expected = {
        QStringLiteral("M: Install Directory found: %1, %2").arg(id, present),
        QStringLiteral("M: Installed Version found: %1, 4.0").arg(id),
        QStringLiteral("M: Install Directory NOT found: %1, %2").arg(id, absent),
        QStringLiteral("W: No Installed Version found: 'com.quarnet.None'"),
        QStringLiteral("M: Install Directory NOT found: %1, %2").arg(id, absent),
    };
    QCOMPARE(log.lines, expected);

    // From another thread the lines still arrive, in order.
    log.lines.clear();
    QtConcurrent::run([&] {
        VMInstalledVersions::installedVersionForProduct("P1", id, QString());
        VMInstalledVersions::installedVersionForProduct("P1", QString(), QString());
    }).waitForFinished();
    QTRY_COMPARE(log.lines.size(), 2);
    QCOMPARE(log.lines.at(0), QStringLiteral("M: Installed Version found: %1, 4.0").arg(id));
    QCOMPARE(log.lines.at(1), QStringLiteral("W: No Installed Version found: '(null)'"));
}

void tst_VMInstalledVersions::concurrentLookUpsAndClears()
{
    QStringList ids;
    for (int i = 0; i < 8; ++i) {
        const QString id = QStringLiteral("com.quarnet.Many%1XPC").arg(i);
        makePlugin(root(), QStringLiteral("Many%1.app").arg(i), QStringLiteral("Many%1XPC.pluginkit").arg(i), id,
                   QStringLiteral("1.%1 (5)").arg(i));
        ids.append(id);
    }
    std::atomic<int> wrong{0};
    QList<QFuture<void>> runs;
    for (int t = 0; t < 4; ++t) {
        runs.append(QtConcurrent::run([&, t] {
            for (int round = 0; round < 50; ++round) {
                for (int i = 0; i < ids.size(); ++i) {
                    if (VMInstalledVersions::installedVersionForProduct("P", ids.at(i), QString()) !=
                        QStringLiteral("1.%1").arg(i))
                        ++wrong;
                }
                if (t == 0 && round % 5 == 0)
                    VMInstalledVersions::clearBundleIdentifierCache();
            }
        }));
    }
    for (auto& run : runs)
        run.waitForFinished();
    QCOMPARE(wrong.load(), 0);
}

void tst_VMInstalledVersions::nonLossyAsciiDecoding_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << QByteArray("a\tb\n") << QStringLiteral("a\tb\n");
    QTest::newRow("unicode escape") << QByteArray("caf\\u00e9") << QStringLiteral("caf\u00e9");
    QTest::newRow("octal escape") << QByteArray("x\\101y") << QStringLiteral("xAy");
    QTest::newRow("escaped backslash") << QByteArray("a\\\\b") << QStringLiteral("a\\b");
    QTest::newRow("lone backslash") << QByteArray("a\\qb") << QStringLiteral("a\\qb");
    QTest::newRow("raw UTF-8 is refused") << QByteArray("caf\xc3\xa9") << QString();
    QTest::newRow("empty") << QByteArray("") << QStringLiteral("");
}

void tst_VMInstalledVersions::nonLossyAsciiDecoding()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, expected);
    const QString decoded = VMInstalledVersions::decodeNonLossyASCII(bytes);
    QCOMPARE(decoded, expected);
    QCOMPARE(decoded.isNull(), expected.isNull());
}

namespace {
class ToolsAt : public CommandLineTools
{
public:
    explicit ToolsAt(const QString& pluginkit) : _pluginkit(pluginkit) {}
    QString pluginkitPath() const override { return _pluginkit; }

private:
    QString _pluginkit;
};
} // namespace

void tst_VMInstalledVersions::pluginkitOutput()
{
    // A stand-in registry tool: records its arguments, answers like the verbose listing.
    const QString tool = _env->path() + QStringLiteral("/pluginkit");
    const QString calls = _env->path() + QStringLiteral("/calls");
    QVERIFY(
        TestEnvironment::writeFile(tool, "#!/bin/sh\n"
                                         "echo \"$*\" >> '" +
                                             calls.toUtf8() +
                                             "'\n"
                                             "if [ \"$1\" = -m ]; then\n"
                                             "  printf '     %s(2.0)\\tE2F1-77\\t2026-01-01 10:00:00 "
                                             "+0000\\t/Applications/Lumivane/G\\\\u00e9.app/X.pluginkit\\n' \"$4\"\n"
                                             "fi\n"));
    QVERIFY(QFile::setPermissions(tool, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    Platform::setCommandLineTools(std::make_shared<ToolsAt>(tool));

    LogCapture log;
    LVPreferences::sharedPreferences()->useExtendedLogging(true);
    QCOMPARE(VMInstalledVersions::filePathToXPCBundleUsingPluginKit(QStringLiteral("com.quarnet.GXPC")),
             QStringLiteral("/Applications/Lumivane/G\u00e9.app/X.pluginkit"));
    QCOMPARE(VMInstalledVersions::registerPluginkitBundle(QStringLiteral("/Applications/Lumivane/G.app/X.pluginkit")),
             false);
    QVERIFY(VMInstalledVersions::filePathToXPCBundleUsingPluginKit(QString()).isNull());
    QCOMPARE(VMInstalledVersions::registerPluginkitBundle(QString()), false);

    QCOMPARE(TestEnvironment::readFile(calls),
             QByteArray("-m -v -i com.quarnet.GXPC\n-a /Applications/Lumivane/G.app/X.pluginkit\n"));
    QCOMPARE(log.lines.size(), 2);
    QVERIFY2(log.lines.at(0).startsWith(
                 QStringLiteral("M: Check Installed: com.quarnet.GXPC result:      com.quarnet.GXPC(2.0)\t")),
             qPrintable(log.lines.at(0)));
    QCOMPARE(log.lines.at(1),
             QStringLiteral("M: Register with Pluginkit: /Applications/Lumivane/G.app/X.pluginkit result: "));

    // A tool that can't be started leaves empty output.
    Platform::setCommandLineTools(std::make_shared<ToolsAt>(_env->path() + QStringLiteral("/missing-tool")));
    const QString path = VMInstalledVersions::filePathToXPCBundleUsingPluginKit(QStringLiteral("com.quarnet.GXPC"));
    QVERIFY(path.isEmpty() && !path.isNull());
    QCOMPARE(VMInstalledVersions::registerPluginkitBundle(QStringLiteral("/x.pluginkit")), false);
}

void tst_VMInstalledVersions::registryRoundTrip()
{
    // This platform's own plug-in registry tool; the path must come back whole through its escapes.
    const QString path = makePlugin(root(), QString::fromUtf8("Gl\xc3\xb6w \\ \xf0\x9d\x94\xbe.app"),
                                    "GlowXPC.pluginkit", "com.quarnet.FxPlug.GlowXPC", QStringLiteral("2.0 (10)"));
    QVERIFY(
        VMInstalledVersions::filePathToXPCBundleUsingPluginKit(QStringLiteral("com.quarnet.FxPlug.GlowXPC")).isEmpty());
    QCOMPARE(VMInstalledVersions::registerPluginkitBundle(path), false);
    const QString found =
        VMInstalledVersions::filePathToXPCBundleUsingPluginKit(QStringLiteral("com.quarnet.FxPlug.GlowXPC"));
    QCOMPARE(QFileInfo(found).canonicalFilePath(), QFileInfo(path).canonicalFilePath());
    QVERIFY(VMInstalledVersions::filePathToXPCBundleUsingPluginKit(QStringLiteral("com.quarnet.Other")).isEmpty());
}

void tst_VMInstalledVersions::productRecords_data()
{
    QTest::addColumn<QString>("identifier");
    QTest::addColumn<QString>("directory"); // "@" stands for the root
    QTest::addColumn<QVariantList>("versions");
    QTest::addColumn<QString>("expected");

    const QString own = QStringLiteral("com.quarnet.FxPlug.Blur");
    const auto version = [](const char* number, const char* identifier = nullptr, const char* directory = nullptr) {
        QVariantMap dict{{"Product Version", number}};
        if (identifier)
            dict.insert(QStringLiteral("Identifier"), identifier);
        if (directory)
            dict.insert(QStringLiteral("Check Installed Directory"), directory);
        return QVariant(dict);
    };
    const char* v21 = "com.quarnet.FxPlug.Blur21XPC";
    const char* v210 = "com.quarnet.FxPlug.Blur210XPC";
    const char* d21 = "@/Applications/Lumivane/Blur21.app";
    const char* d210 = "@/Applications/Lumivane/Blur210.app";
    const QString missing = QStringLiteral("@/Applications/Lumivane/Missing");

    QTest::newRow("by identifier alone") << own << QString() << QVariantList{version("1.0")} << "3.0";
    QTest::newRow("directory missing, a version still reports")
        << own << missing << QVariantList{version("1.0"), version("2.1", v21, d21)} << "2.1";
    QTest::newRow("2.1 and 2.10 give 2.10")
        << own << missing << QVariantList{version("2.1", v21, d21), version("2.10", v210, d210)} << "2.10";
    QTest::newRow("catalogue order does not matter")
        << own << missing << QVariantList{version("2.10", v210, d210), version("2.1", v21, d21)} << "2.10";
    QTest::newRow("product's own answer is newer")
        << own << QStringLiteral("@/Applications/Lumivane/Blur.app") << QVariantList{version("2.1", v21, d21)} << "3.0";
    QTest::newRow("a version needs a directory")
        << QStringLiteral("com.quarnet.None") << QString() << QVariantList{version("2.10", v210)} << QString();
    QTest::newRow("a version takes the product's directory")
        << QStringLiteral("com.quarnet.None") << QStringLiteral("@/Applications/Lumivane/Blur.app")
        << QVariantList{version("2.10", v210)} << "2.10";
    QTest::newRow("nothing installed") << QStringLiteral("com.quarnet.None") << QString()
                                       << QVariantList{version("1.0")} << QString();
}

void tst_VMInstalledVersions::productRecords()
{
    QFETCH(QString, identifier);
    QFETCH(QString, directory);
    QFETCH(QVariantList, versions);
    QFETCH(QString, expected);

    makePlugin(root(), "Blur.app", "Blur.pluginkit", "com.quarnet.FxPlug.Blur", QStringLiteral("3.0 (1)"));
    makePlugin(root(), "Blur21.app", "Blur21XPC.pluginkit", "com.quarnet.FxPlug.Blur21XPC", QStringLiteral("9.0"),
               QVariantMap{{"P1", "2.1"}});
    makePlugin(root(), "Blur210.app", "Blur210XPC.pluginkit", "com.quarnet.FxPlug.Blur210XPC", QStringLiteral("2.10"));
    for (QVariant& entry : versions) {
        QVariantMap dict = entry.toMap();
        if (dict.contains(QStringLiteral("Check Installed Directory")))
            dict.insert(
                QStringLiteral("Check Installed Directory"),
                dict.value(QStringLiteral("Check Installed Directory")).toString().replace(QLatin1Char('@'), root()));
        entry = dict;
    }
    QVariantMap dict{{"Product ID", "P1"}, {"Identifier", identifier}, {"Versions", versions}};
    if (!directory.isNull())
        dict.insert(QStringLiteral("Check Installed Directory"), QString(directory).replace(QLatin1Char('@'), root()));
    const VMSingleProductItemPtr product = VMSingleProductItem::initWithDict(dict);
    const QString answer = product->checkInstalledPluginVersion();
    QCOMPARE(answer, expected);
    QCOMPARE(answer.isNull(), expected.isNull());
}

void tst_VMInstalledVersions::versionRecordWithoutProduct()
{
    makePlugin(root(), "Solo.app", "SoloXPC.pluginkit", "com.quarnet.SoloXPC", QStringLiteral("4.2 (8)"),
               QVariantMap{{"P1", "1.0"}});
    const VMVersionItemPtr version = VMVersionItem::initWithDict(
        {{"Product Version", "4.2"},
         {"Identifier", "com.quarnet.SoloXPC"},
         {"Check Installed Directory", root() + QStringLiteral("/Applications/Lumivane/Solo.app")}});
    // Without a product there is no product ID to look for: the plug-in's own version answers.
    QCOMPARE(version->checkInstalledPluginVersion(), QStringLiteral("4.2"));
    QVERIFY(VMVersionItem::initWithDict({{"Product Version", "4.2"}})->checkInstalledPluginVersion().isNull());
}

LV_TEST_GUILESS_MAIN(tst_VMInstalledVersions)
#include "tst_VMInstalledVersions.moc"
