#include "TestEnvironment.h"
#include "TestMain.h"

#include "platform/Platform.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

namespace {

struct Run
{
    int exitCode = -1;
    QByteArray output;
};

Run pluginkit(const QStringList& arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(Platform::commandLineTools().pluginkitPath(), arguments);
    Run run;
    if (process.waitForFinished(30000) && process.exitStatus() == QProcess::NormalExit)
        run.exitCode = process.exitCode();
    run.output = process.readAllStandardOutput();
    return run;
}

// Where the application takes the plug-in's path from in a verbose listing: the last
// tab-separated field, up to its line end.
QString pathAsTheApplicationReadsIt(const QByteArray& output)
{
    const QString text = QString::fromUtf8(output);
    return text.split(QLatin1Char('\t')).last().split(QLatin1Char('\n')).first();
}

// A wrapper application holding one plug-in; returns the plug-in's path.
QString makePlugin(const QString& root, const QString& app, const QString& identifier, const QString& version)
{
    const QString plugin = root + QStringLiteral("/Applications/Lumivane/") + app +
                           QStringLiteral(".app/Contents/PlugIns/") + app + QStringLiteral(".pluginkit");
    const QByteArray info = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
                                           "<key>CFBundleIdentifier</key><string>%1</string>"
                                           "<key>CFBundleVersion</key><string>%2</string></dict></plist>\n")
                                .arg(identifier, version)
                                .toUtf8();
    return TestEnvironment::writeFile(plugin + QStringLiteral("/Contents/Info.plist"), info) ? plugin : QString();
}

} // namespace

class tst_PluginKit : public QObject
{
    Q_OBJECT

private slots:
    void registerAndMatch()
    {
        TestEnvironment environment;
        const QString glow = makePlugin(environment.systemRoot(), "Glow", "com.quarnet.Glow.plugin", "1.2.3");
        const QString blur = makePlugin(environment.systemRoot(), "Blur Pro", "com.quarnet.Blur.plugin", "3.2.1 (457)");
        QCOMPARE(pluginkit({"-a", glow}).exitCode, 0);
        const Run added = pluginkit({"-a", blur});
        QCOMPARE(added.exitCode, 0);
        QCOMPARE(added.output, QByteArray()); // registering is silent
        QVERIFY(QFileInfo(environment.systemRoot() + QStringLiteral("/var/db/pluginkit/registry.plist")).isFile());

        const Run verbose = pluginkit({"-m", "-v", "-i", "com.quarnet.Blur.plugin"});
        QCOMPARE(verbose.exitCode, 0);
        const QRegularExpression form(QStringLiteral("^     com\\.quarnet\\.Blur\\.plugin\\(3\\.2\\.1 \\(457\\)\\)\\t"
                                                     "[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\t"
                                                     "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\+0000\\t(.*)\\n$"));
        const QRegularExpressionMatch match = form.match(QString::fromUtf8(verbose.output));
        QVERIFY2(match.hasMatch(), verbose.output.constData());
        QCOMPARE(match.captured(1), blur);
        QCOMPARE(pathAsTheApplicationReadsIt(verbose.output), blur);

        const Run plain = pluginkit({"-m", "-i", "com.quarnet.Glow.plugin"});
        QCOMPARE(plain.output, QByteArray("     com.quarnet.Glow.plugin(1.2.3)\n"));

        const Run all = pluginkit({"-m"});
        QCOMPARE(all.output, QByteArray("     com.quarnet.Glow.plugin(1.2.3)\n"
                                        "     com.quarnet.Blur.plugin(3.2.1 (457))\n"));
    }

    void unknownIdentifierPrintsNothing()
    {
        TestEnvironment environment;
        // Without a registry file at all, and with one that lacks the identifier.
        for (int round = 0; round < 2; ++round) {
            const Run run = pluginkit({"-m", "-v", "-i", "com.quarnet.Missing.plugin"});
            QCOMPARE(run.exitCode, 0);
            QCOMPARE(run.output, QByteArray());
            QCOMPARE(pathAsTheApplicationReadsIt(run.output), QString());
            const QString other = makePlugin(environment.systemRoot(), "Other", "com.quarnet.Other.plugin", "1.0");
            QCOMPARE(pluginkit({"-a", other}).exitCode, 0);
        }
    }

    void registeringAgainRefreshesTheRecord()
    {
        TestEnvironment environment;
        const QString glow = makePlugin(environment.systemRoot(), "Glow", "com.quarnet.Glow.plugin", "1.0");
        const QStringList match = {"-m", "-v", "-i", "com.quarnet.Glow.plugin"};
        QCOMPARE(pluginkit({"-a", glow}).exitCode, 0);
        const QByteArray before = pluginkit(match).output;
        makePlugin(environment.systemRoot(), "Glow", "com.quarnet.Glow.plugin", "2.0");
        // Through a path spelt differently: still the same bundle.
        QCOMPARE(pluginkit({"-a", glow + QStringLiteral("/../Glow.pluginkit/")}).exitCode, 0);
        const QByteArray after = pluginkit(match).output;
        QCOMPARE(after.count('\n'), 1);
        QVERIFY2(after.startsWith("     com.quarnet.Glow.plugin(2.0)\t"), after.constData());
        QCOMPARE(after.split('\t').value(1), before.split('\t').value(1)); // the UUID stays
        QCOMPARE(pathAsTheApplicationReadsIt(after), glow);
    }

    void removeAndErrors()
    {
        TestEnvironment environment;
        const QString glow = makePlugin(environment.systemRoot(), "Glow", "com.quarnet.Glow.plugin", "1.0");
        QCOMPARE(pluginkit({"-a", glow}).exitCode, 0);

        // A folder without an information dictionary is no plug-in and leaves the registry alone.
        const QString empty = environment.systemRoot() + QStringLiteral("/Empty.pluginkit");
        QDir().mkpath(empty);
        QCOMPARE(pluginkit({"-a", empty}).exitCode, 1);
        QCOMPARE(pluginkit({"-m"}).output, QByteArray("     com.quarnet.Glow.plugin(1.0)\n"));

        QCOMPARE(pluginkit({"-r", empty}).exitCode, 1);
        QCOMPARE(pluginkit({"-r", glow}).exitCode, 0);
        QCOMPARE(pluginkit({"-m"}).output, QByteArray());

        QCOMPARE(pluginkit({}).exitCode, 64);
        QCOMPARE(pluginkit({"-a"}).exitCode, 64);
        QCOMPARE(pluginkit({"-x"}).exitCode, 64);
    }
};

LV_TEST_GUILESS_MAIN(tst_PluginKit)
#include "tst_PluginKit.moc"
