#pragma once

#include <QString>
#include <QStringList>

#include <functional>

struct archive;
struct archive_entry;

// Reads a flat component package: its PackageInfo, then its Payload entry by entry, and its
// Scripts. The package is a .pkg of its own, or one component of a product archive, whose members
// are then named "<component>/PackageInfo" and so on.
class FlatPackage
{
public:
    explicit FlatPackage(const QString& path, const QString& component = QString());

    // Reads the package's description; false (with the reason) when it is no usable package.
    bool open(QString* error);

    QString identifier() const { return _identifier; }
    QString version() const { return _version; }
    QString installLocation() const { return _installLocation; }

    // Calls `visit` for every payload entry in order, with the payload archive positioned at the
    // entry's data; stops early when `visit` returns false (and then returns false itself).
    using Visitor = std::function<bool(archive* payload, archive_entry* entry)>;
    bool readPayload(const Visitor& visit, QString* error) const;

    // Whether the package carries scripts (preinstall, postinstall and what they use), and
    // extracts them into `folder`.
    bool hasScripts() const { return _hasScripts; }
    bool extractScripts(const QString& folder, QString* error) const;

    // The names of the xar archive's members, or an empty list (with the reason) when it is none.
    static QStringList memberNames(const QString& path, QString* error);
    // A small member's contents (at most 1 MiB), or a null array when it is missing or unreadable.
    static QByteArray readMember(const QString& path, const QString& name, QString* error);

private:
    bool parsePackageInfo(const QByteArray& xml, QString* error);
    // Calls `visit` for every entry of the gzip-compressed cpio archive in the member `name`.
    bool readArchiveMember(const QString& name, const Visitor& visit, QString* error) const;
    QString member(const char* name) const { return _component + QLatin1String(name); }

    QString _path;
    QString _component; // "" or "Name.pkg/"
    bool _hasScripts = false;
    QString _identifier;
    QString _version;
    QString _installLocation;
};
