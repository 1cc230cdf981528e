#pragma once

#include <QString>

#include <functional>

struct archive;
struct archive_entry;

// Reads a flat component package: its PackageInfo, then its Payload entry by entry.
class FlatPackage
{
public:
    explicit FlatPackage(const QString& path);

    // Reads the package's description; false (with the reason) when it is no usable package.
    bool open(QString* error);

    QString identifier() const { return _identifier; }
    QString version() const { return _version; }
    QString installLocation() const { return _installLocation; }

    // Calls `visit` for every payload entry in order, with the payload archive positioned at the
    // entry's data; stops early when `visit` returns false (and then returns false itself).
    using Visitor = std::function<bool(archive* payload, archive_entry* entry)>;
    bool readPayload(const Visitor& visit, QString* error) const;

private:
    bool parsePackageInfo(const QByteArray& xml, QString* error);

    QString _path;
    QString _identifier;
    QString _version;
    QString _installLocation;
};
