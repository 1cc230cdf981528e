#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <utility>

// Makes flat component packages: a xar archive holding "PackageInfo" (what the package is and
// where it installs) and "Payload" (a gzip-compressed odc cpio of a folder, entries named "./…").
class PackageBuilder
{
public:
    QString root;       // the folder whose contents are installed
    QString identifier; // e.g. "com.quarnet.pkg.Glow"
    QString version = QStringLiteral("1.0");
    QString installLocation = QStringLiteral("/"); // where `root`'s contents land on the target

    // Writes the package to `outputPath`. On failure nothing is left there and `error` says why.
    bool build(const QString& outputPath, QString* error) const;

    // The pieces, for tests and tools that assemble packages of their own.
    QByteArray payload(int* fileCount, qint64* byteCount, QString* error) const;
    QByteArray packageInfo(int fileCount, qint64 byteCount) const;

    // Writes a xar archive of named members (in the given order) to `outputPath`.
    static bool writeXar(const QString& outputPath, const QList<std::pair<QString, QByteArray>>& members,
                         QString* error);
};
