#pragma once

#include "LocalHttpServer.h"
#include "TestEnvironment.h"
#include "TestPrivilegedExecution.h"

#include "PackageBuilder.h"
#include "catalogue/VMInstalledVersions.h"
#include "catalogue/VMSingleProductItem.h"
#include "engines/LVInstaller.h"
#include "foundation/VMPropertyList.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QtTest>

// Products "A", "B", ... for tests: for each version a real package (a wrapper app with its plug-in)
// made by the project's package builder and served by a local server at /pkg/<id>-<version>.pkg,
// and catalogue records that point there. Installed for real by the portable installer.
class ProductShelf
{
public:
    ProductShelf(TestEnvironment& env, LocalHttpServer& server) : _env(env), _server(server) {}

    static QString appPath(const QString& id) { return QStringLiteral("/Applications/Lumivane/%1.app").arg(id); }
    static QString pluginIdentifier(const QString& id) { return "com.quarnet.FxPlug." + id + "XPC"; }
    QString packagePath(const QString& id, const QString& version) const { return _packages.value(id + version); }
    QString packageURL(const QString& id, const QString& version) const
    {
        return _server.url(QStringLiteral("/pkg/%1-%2.pkg").arg(id, version)).toString();
    }

    // Builds the package and puts it on the server. False (with a QTest failure) when building fails.
    bool publish(const QString& id, const QString& version)
    {
        const QString payload = _env.path() + QStringLiteral("/payload");
        const auto write = [](const QString& path, const QVariantMap& info) {
            QDir().mkpath(QFileInfo(path).absolutePath());
            QFile file(path);
            return file.open(QIODevice::WriteOnly) && file.write(VMPropertyList::toXmlData(info)) > 0;
        };
        const QString plugin = QStringLiteral("/Contents/PlugIns/%1XPC.pluginkit/Contents/Info.plist").arg(id);
        if (!write(payload + appPath(id) + QStringLiteral("/Contents/Info.plist"),
                   {{"CFBundleIdentifier", "com.quarnet.FxPlug." + id}, {"CFBundleShortVersionString", version}}) ||
            !write(payload + appPath(id) + plugin, {{"CFBundleIdentifier", pluginIdentifier(id)},
                                                    {"CFBundleVersion", version},
                                                    {"Product Versions", QVariantMap{{id, version}}}}))
            return false;
        PackageBuilder builder;
        builder.root = payload;
        builder.identifier = "com.quarnet.pkg." + id;
        builder.version = version;
        const QString output = QStringLiteral("%1/site/%2-%3.pkg").arg(_env.path(), id, version);
        QDir().mkpath(QFileInfo(output).absolutePath());
        QString error;
        const bool built = builder.build(output, &error);
        QDir(payload).removeRecursively();
        if (!built) {
            QTest::qFail(qPrintable(error), __FILE__, __LINE__);
            return false;
        }
        LocalHttpServer::Response response;
        response.filePath = output;
        _server.setRoute(QStringLiteral("/pkg/%1-%2.pkg").arg(id, version).toUtf8(), response);
        _packages.insert(id + version, output);
        return true;
    }

    // The catalogue record: "Product <id>", versions 1.0 and 2.0 from the server, administrator
    // rights asked for, plus `extra` keys.
    QVariantList versions(const QString& id) const
    {
        QVariantList versions;
        for (const QString number : {"1.0", "2.0"})
            versions.append(QVariantMap{{"Product Version", number},
                                        {"Download URL", packageURL(id, number)},
                                        {"Installer Requires Authentication", true}});
        return versions;
    }
    VMSingleProductItemPtr product(const QString& id, const QVariantMap& extra = {}) const
    {
        QVariantMap record{{"Product ID", id},
                           {"Title", "Product " + id},
                           {"Identifier", pluginIdentifier(id)},
                           {"Check Installed Directory", appPath(id)},
                           {"Versions", versions(id)}};
        for (auto it = extra.begin(); it != extra.end(); ++it)
            record.insert(it.key(), it.value());
        return VMSingleProductItem::initWithDict(record);
    }

    // Installs a published version as administrator under one authorization of its own.
    void install(TestPrivilegedExecution& privileged, const QStringList& ids, const QString& version)
    {
        int status = 0;
        const auto authorization = privileged.create(&status);
        QCOMPARE(privileged.copyRights(authorization, QStringLiteral("system.privilege.admin"), true), 0);
        for (const QString& id : ids) {
            const auto installer = LVInstaller::installerWithFilePath(
                packagePath(id, version),
                {{"requiresAuthentication", true}, {"optionAuthorizationRef", QVariant::fromValue(authorization)}});
            installer->start();
        }
        privileged.free(authorization);
        for (const QString& id : ids)
            QCOMPARE(installed(id), version);
    }

    // The installed version as detection sees it now.
    QString installed(const QString& id) const
    {
        VMInstalledVersions::clearBundleIdentifierCache();
        return product(id)->checkInstalledPluginVersion();
    }

    QStringList packagesOnDisk() const
    {
        QStringList packages;
        for (const QString& file : _env.temporaryFiles())
            if (file.endsWith(QLatin1String(".pkg")))
                packages.append(file);
        return packages;
    }

private:
    TestEnvironment& _env;
    LocalHttpServer& _server;
    QHash<QString, QString> _packages;
};
