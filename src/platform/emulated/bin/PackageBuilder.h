#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <utility>

// Makes flat component packages: a xar archive holding "PackageInfo" (what the package is and
// where it installs), "Payload" (a gzip-compressed odc cpio of a folder, entries named "./…") and,
// with scripts, "Scripts" (the same of the scripts' folder). As a product archive the component's
// members are in "<identifier>.pkg/", beside a "Distribution" whose one choice selects it.
class PackageBuilder
{
public:
    QString root;       // the folder whose contents are installed
    QString identifier; // e.g. "com.quarnet.pkg.Glow"
    QString version = QStringLiteral("1.0");
    QString installLocation = QStringLiteral("/"); // where `root`'s contents land on the target
    QString scripts;                               // a folder with preinstall and postinstall, or none
    bool product = false;                          // a product archive instead of a component package
    QString title;                                 // the product archive's title

    // Writes the package to `outputPath`. On failure nothing is left there and `error` says why.
    bool build(const QString& outputPath, QString* error) const;

    // The pieces, for tests and tools that assemble packages of their own.
    QByteArray payload(int* fileCount, qint64* byteCount, QString* error) const;
    QByteArray packageInfo(int fileCount, qint64 byteCount) const;
    // The members of the component, named "<prefix>PackageInfo" and so on.
    bool componentMembers(const QString& prefix, QList<std::pair<QString, QByteArray>>* members, QString* error) const;
    // A Distribution whose choices install `components` ("Glow.pkg") in order.
    static QByteArray distribution(const QString& title, const QStringList& identifiers, const QStringList& components);
    // A gzip-compressed odc cpio of `folder`.
    static QByteArray archiveFolder(const QString& folder, int* fileCount, qint64* byteCount, QString* error);

    // Writes a xar archive of named members (in the given order) to `outputPath`.
    static bool writeXar(const QString& outputPath, const QList<std::pair<QString, QByteArray>>& members,
                         QString* error);
};
