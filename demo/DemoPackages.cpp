#include "DemoPackages.h"

#include "DemoCatalogue.h"
#include "PackageBuilder.h"
#include "PackageInstaller.h"
#include "foundation/VMPropertyList.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QHash>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QUrl>

namespace DemoPackages {
namespace {

// The product that the first run finds installed at its older version.
const QString kSeededProduct = QStringLiteral("LV-HALFTONE");
const QString kSeedMarker = QStringLiteral("/var/db/lumivane-demo-seeded");
// The product whose installer is a product archive (a Distribution and a component with a
// postinstall script), as most makers ship theirs; the others are component packages.
const QString kProductArchiveProduct = QStringLiteral("LV-PRISM");

// Where the product archive's postinstall script leaves the version it installed.
QString supportFolder(const DemoCatalogue::ProductFiles& product)
{
    return QStringLiteral("/Library/Application Support/Lumivane/%1").arg(product.name);
}

bool writeFile(const QString& path, const QByteArray& data)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}

QString packagePath(const QString& folder, const DemoCatalogue::ProductFiles& product, const QString& version)
{
    return QDir(folder).filePath(QStringLiteral("VM_installers/%1-%2.pkg").arg(product.id, version));
}

// The wrapper app with its plug-in, as the maker's installers lay it out.
bool buildPackage(const DemoCatalogue::ProductFiles& product, const QString& version, int build, const QString& output,
                  int looksBytes, QString* error)
{
    QTemporaryDir payload;
    const QString wrapper = payload.path() + DemoCatalogue::wrapperPath(product.name);
    QString wrapperIdentifier = product.identifier;
    wrapperIdentifier.remove(QStringLiteral("XPC"));
    // The effects' looks: enough data that a download shows its progress for a moment.
    QByteArray looks(looksBytes - looksBytes % int(sizeof(quint32)), Qt::Uninitialized);
    QRandomGenerator generator(quint32(qHash(product.id + version)));
    generator.fillRange(reinterpret_cast<quint32*>(looks.data()), looks.size() / int(sizeof(quint32)));
    const bool written =
        payload.isValid() && writeFile(wrapper + QStringLiteral("/Contents/Resources/Looks.data"), looks) &&
        writeFile(wrapper + QStringLiteral("/Contents/Info.plist"),
                  VMPropertyList::toXmlData(QVariantMap{{"CFBundleIdentifier", wrapperIdentifier},
                                                        {"CFBundleName", product.title},
                                                        {"CFBundleShortVersionString", version}})) &&
        writeFile(wrapper + QStringLiteral("/Contents/PlugIns/%1.pluginkit/Contents/Info.plist").arg(product.name),
                  VMPropertyList::toXmlData(
                      QVariantMap{{"CFBundleIdentifier", product.identifier},
                                  {"CFBundleVersion", QStringLiteral("%1 (%2)").arg(version).arg(build)},
                                  {"Product Versions", QVariantMap{{product.id, version}}}}));
    if (!written) {
        *error = QStringLiteral("can't write the payload of %1 %2").arg(product.id, version);
        return false;
    }
    PackageBuilder builder;
    builder.root = payload.path();
    builder.identifier = DemoCatalogue::packageIdentifier();
    builder.version = version;
    QTemporaryDir scripts;
    if (product.id == kProductArchiveProduct) {
        builder.product = true;
        builder.title = product.title;
        builder.scripts = scripts.path();
        // $3 is the volume installed onto: the system root.
        const QString postinstall = QStringLiteral("#!/bin/sh\n"
                                                   "mkdir -p \"$3%1\" && echo %2 > \"$3%1/Installed Version\"\n")
                                        .arg(supportFolder(product), version);
        if (!scripts.isValid() || !writeFile(scripts.filePath(QStringLiteral("postinstall")), postinstall.toUtf8()) ||
            !QFile::setPermissions(scripts.filePath(QStringLiteral("postinstall")),
                                   QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadGroup |
                                       QFile::ExeGroup | QFile::ReadOther | QFile::ExeOther)) {
            *error = QStringLiteral("can't write the postinstall script of %1 %2").arg(product.id, version);
            return false;
        }
    }
    return builder.build(output, error);
}

// Removes what the package installed from the system root the script runs on and prints "0".
QByteArray uninstallScript(const DemoCatalogue::ProductFiles& product)
{
    return QStringLiteral("#!/bin/sh\n"
                          "# Removes %1 from this Mac.\n"
                          "root=\"${LV_SYSTEM_ROOT:-}\"\n"
                          "[ \"$root\" = / ] && root=\n"
                          "rm -rf \"$root%3\"\n"
                          "rm -rf \"$root%2\"\n"
                          "echo $?\n")
        .arg(product.title, DemoCatalogue::wrapperPath(product.name), supportFolder(product))
        .toUtf8();
}

} // namespace

bool writePackages(const QString& folder, QString* error, int looksBytes)
{
    QDir(folder).mkpath(QStringLiteral("VM_installers/uninstallers"));
    for (const DemoCatalogue::ProductFiles& product : DemoCatalogue::productFiles()) {
        for (int v = 0; v < product.versions.size(); ++v) {
            if (!buildPackage(product, product.versions.at(v), 100 + v,
                              packagePath(folder, product, product.versions.at(v)), looksBytes, error))
                return false;
        }
        if (!writeFile(QDir(folder).filePath(QStringLiteral("VM_installers/uninstallers/%1.bash").arg(product.id)),
                       uninstallScript(product))) {
            *error = QStringLiteral("can't write the uninstall script of %1").arg(product.id);
            return false;
        }
    }
    return true;
}

QList<std::pair<QByteArray, QString>> packageFiles(const QString& folder)
{
    QList<std::pair<QByteArray, QString>> files;
    for (const DemoCatalogue::ProductFiles& product : DemoCatalogue::productFiles()) {
        for (const QString& version : product.versions) {
            files.append({QStringLiteral("/VM_installers/%1-%2.pkg").arg(product.id, version).toUtf8(),
                          packagePath(folder, product, version)});
        }
    }
    return files;
}

bool addChecksums(const QString& folder, QString* error)
{
    QHash<QString, QString> digests; // URL path -> hex SHA-256
    for (const auto& [path, file] : packageFiles(folder)) {
        QFile package(file);
        QCryptographicHash hash(QCryptographicHash::Sha256);
        if (!package.open(QIODevice::ReadOnly) || !hash.addData(&package)) {
            *error = QStringLiteral("can't read %1").arg(file);
            return false;
        }
        digests.insert(QString::fromUtf8(path), QString::fromLatin1(hash.result().toHex()));
    }
    const QString cataloguePath = folder + QStringLiteral("/VM_installers/Product+Versions.plist");
    QVariantMap root = VMPropertyList::fromFile(cataloguePath, error).toMap();
    if (root.isEmpty())
        return false;
    auto withDigest = [&digests](QVariantMap dict) {
        const QString digest = digests.value(QUrl(dict.value(QStringLiteral("Download URL")).toString()).path());
        if (!digest.isEmpty())
            dict.insert(QStringLiteral("Download SHA256"), digest);
        return dict;
    };
    QVariantMap products = root.value(QStringLiteral("Products")).toMap();
    QVariantList list = products.value(QStringLiteral("Products")).toList();
    for (QVariant& product : list) {
        QVariantMap dict = withDigest(product.toMap());
        QVariantList versions = dict.value(QStringLiteral("Versions")).toList();
        for (QVariant& version : versions)
            version = withDigest(version.toMap());
        if (!versions.isEmpty())
            dict.insert(QStringLiteral("Versions"), versions);
        product = dict;
    }
    products.insert(QStringLiteral("Products"), list);
    root.insert(QStringLiteral("Products"), products);
    QFile file(cataloguePath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) || file.write(VMPropertyList::toXmlData(root)) < 0) {
        *error = QStringLiteral("can't write %1").arg(cataloguePath);
        return false;
    }
    return true;
}

bool seedSystemRoot(const QString& folder, const QString& systemRoot, QString* error)
{
    if (QFile::exists(systemRoot + kSeedMarker))
        return true;
    for (const DemoCatalogue::ProductFiles& product : DemoCatalogue::productFiles()) {
        if (product.id != kSeededProduct)
            continue;
        // The installer works on the root that LV_SYSTEM_ROOT names.
        const QByteArray saved = qgetenv("LV_SYSTEM_ROOT");
        qputenv("LV_SYSTEM_ROOT", QFile::encodeName(systemRoot));
        QString output;
        PackageInstaller installer([&output](const QString& line) { output += line + QLatin1Char('\n'); });
        const int status =
            installer.install(packagePath(folder, product, product.versions.first()), QStringLiteral("/"));
        if (saved.isNull())
            qunsetenv("LV_SYSTEM_ROOT");
        else
            qputenv("LV_SYSTEM_ROOT", saved);
        if (status != 0) {
            *error = output.trimmed();
            return false;
        }
    }
    return writeFile(systemRoot + kSeedMarker, "The demo installed its first product here.\n");
}

} // namespace DemoPackages
