#include "FlatPackage.h"

#include <QFile>
#include <QFileInfo>
#include <QXmlStreamReader>

#include <archive.h>
#include <archive_entry.h>
#include <memory>

namespace {

struct ArchiveReadFree
{
    void operator()(archive* a) const { archive_read_free(a); }
};
using ReadArchive = std::unique_ptr<archive, ArchiveReadFree>;

constexpr qsizetype kMaxPackageInfo = 1024 * 1024;

QString archiveError(archive* a)
{
    const char* text = archive_error_string(a);
    return text ? QString::fromLocal8Bit(text) : QStringLiteral("unreadable archive");
}

ReadArchive openXar(const QString& path, QString* error)
{
    ReadArchive xar(archive_read_new());
    archive_read_support_format_xar(xar.get());
    if (archive_read_open_filename(xar.get(), QFile::encodeName(path).constData(), 64 * 1024) != ARCHIVE_OK) {
        if (error)
            *error = QStringLiteral("it is not a flat package (%1)").arg(archiveError(xar.get()));
        return nullptr;
    }
    return xar;
}

// The payload is read straight out of the enclosing xar member.
struct PayloadSource
{
    archive* xar;
    char buffer[64 * 1024];
};

la_ssize_t readFromXar(archive*, void* client, const void** buffer)
{
    auto* source = static_cast<PayloadSource*>(client);
    *buffer = source->buffer;
    return archive_read_data(source->xar, source->buffer, sizeof source->buffer);
}

} // namespace

// Absolute, because extraction changes the current folder.
FlatPackage::FlatPackage(const QString& path, const QString& component)
    : _path(QFileInfo(path).absoluteFilePath()),
      _component(component.isEmpty() || component.endsWith(QLatin1Char('/')) ? component : component + QLatin1Char('/'))
{}

bool FlatPackage::open(QString* error)
{
    ReadArchive xar = openXar(_path, error);
    if (!xar)
        return false;
    QByteArray info;
    bool hasInfo = false;
    bool hasPayload = false;
    archive_entry* entry = nullptr;
    for (;;) {
        const int result = archive_read_next_header(xar.get(), &entry);
        if (result == ARCHIVE_EOF)
            break;
        if (result < ARCHIVE_WARN) {
            if (error)
                *error = QStringLiteral("it is damaged (%1)").arg(archiveError(xar.get()));
            return false;
        }
        const QString name = QString::fromUtf8(archive_entry_pathname(entry));
        if (archive_entry_filetype(entry) != AE_IFREG)
            continue;
        if (name == member("PackageInfo")) {
            hasInfo = true;
            char block[16 * 1024];
            la_ssize_t read = 0;
            while ((read = archive_read_data(xar.get(), block, sizeof block)) > 0 && info.size() <= kMaxPackageInfo)
                info.append(block, qsizetype(read));
            if (read < 0) {
                if (error)
                    *error = QStringLiteral("its PackageInfo is damaged (%1)").arg(archiveError(xar.get()));
                return false;
            }
        } else if (name == member("Payload")) {
            hasPayload = true;
        } else if (name == member("Scripts")) {
            _hasScripts = true;
        }
    }
    if (!hasInfo) {
        if (error)
            *error = QStringLiteral("it has no PackageInfo");
        return false;
    }
    if (!hasPayload) {
        if (error)
            *error = QStringLiteral("it has no Payload");
        return false;
    }
    return parsePackageInfo(info, error);
}

QStringList FlatPackage::memberNames(const QString& path, QString* error)
{
    ReadArchive xar = openXar(path, error);
    QStringList names;
    archive_entry* entry = nullptr;
    while (xar) {
        const int result = archive_read_next_header(xar.get(), &entry);
        if (result == ARCHIVE_EOF)
            break;
        if (result < ARCHIVE_WARN) {
            if (error)
                *error = QStringLiteral("it is damaged (%1)").arg(archiveError(xar.get()));
            return QStringList();
        }
        names << QString::fromUtf8(archive_entry_pathname(entry));
    }
    return names;
}

QByteArray FlatPackage::readMember(const QString& path, const QString& name, QString* error)
{
    ReadArchive xar = openXar(path, error);
    archive_entry* entry = nullptr;
    while (xar && archive_read_next_header(xar.get(), &entry) == ARCHIVE_OK) {
        if (QString::fromUtf8(archive_entry_pathname(entry)) != name || archive_entry_filetype(entry) != AE_IFREG)
            continue;
        QByteArray data(0, Qt::Uninitialized);
        char block[16 * 1024];
        la_ssize_t read = 0;
        while ((read = archive_read_data(xar.get(), block, sizeof block)) > 0 && data.size() <= kMaxPackageInfo)
            data.append(block, qsizetype(read));
        if (read < 0 || data.size() > kMaxPackageInfo) {
            if (error)
                *error = QStringLiteral("its %1 is damaged or too large").arg(name);
            return QByteArray();
        }
        return data;
    }
    if (error && xar)
        *error = QStringLiteral("it has no %1").arg(name);
    return QByteArray();
}

bool FlatPackage::parsePackageInfo(const QByteArray& xml, QString* error)
{
    QXmlStreamReader reader(xml);
    if (!reader.readNextStartElement() || reader.name() != QLatin1String("pkg-info")) {
        if (error)
            *error = QStringLiteral("its PackageInfo is not a package description");
        return false;
    }
    const QXmlStreamAttributes attributes = reader.attributes();
    _identifier = attributes.value(QLatin1String("identifier")).toString();
    _version = attributes.value(QLatin1String("version")).toString();
    _installLocation = attributes.hasAttribute(QLatin1String("install-location"))
                           ? attributes.value(QLatin1String("install-location")).toString()
                           : QStringLiteral("/");
    if (_identifier.isEmpty() || _identifier.contains(QLatin1Char('/')) || _identifier.startsWith(QLatin1Char('.'))) {
        if (error)
            *error = QStringLiteral("its identifier '%1' is not usable").arg(_identifier);
        return false;
    }
    return true;
}

bool FlatPackage::readPayload(const Visitor& visit, QString* error) const
{
    return readArchiveMember(member("Payload"), visit, error);
}

bool FlatPackage::extractScripts(const QString& folder, QString* error) const
{
    if (!_hasScripts)
        return true;
    using WriteDisk = std::unique_ptr<archive, decltype(&archive_write_free)>;
    WriteDisk disk(archive_write_disk_new(), &archive_write_free);
    // The names are checked below and then made absolute, inside `folder`.
    archive_write_disk_set_options(disk.get(), ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_SECURE_NODOTDOT |
                                                   ARCHIVE_EXTRACT_SECURE_SYMLINKS);
    const QByteArray top = QFile::encodeName(folder) + '/';
    QString problem;
    const bool read = readArchiveMember(
        member("Scripts"),
        [&](archive* scripts, archive_entry* entry) {
            const QByteArray name = archive_entry_pathname(entry);
            const mode_t type = archive_entry_filetype(entry);
            if (name.startsWith('/') || name.split('/').contains("..") || (type != AE_IFREG && type != AE_IFDIR)) {
                problem = QStringLiteral("its Scripts hold the unusable entry '%1'").arg(QString::fromUtf8(name));
                return false;
            }
            archive_entry_set_pathname(entry, (top + name).constData());
            if (archive_read_extract2(scripts, entry, disk.get()) < ARCHIVE_WARN) {
                problem = QStringLiteral("its Scripts could not be unpacked (%1)").arg(archiveError(disk.get()));
                return false;
            }
            return true;
        },
        error);
    if (!problem.isNull() && error)
        *error = problem;
    return read && problem.isNull();
}

bool FlatPackage::readArchiveMember(const QString& name, const Visitor& visit, QString* error) const
{
    ReadArchive xar = openXar(_path, error);
    if (!xar)
        return false;
    archive_entry* entry = nullptr;
    for (;;) {
        const int result = archive_read_next_header(xar.get(), &entry);
        if (result == ARCHIVE_EOF) {
            if (error)
                *error = QStringLiteral("it has no %1").arg(name.mid(_component.size()));
            return false;
        }
        if (result < ARCHIVE_WARN) {
            if (error)
                *error = QStringLiteral("it is damaged (%1)").arg(archiveError(xar.get()));
            return false;
        }
        if (QString::fromUtf8(archive_entry_pathname(entry)) == name && archive_entry_filetype(entry) == AE_IFREG)
            break;
    }

    const QString what = name.mid(_component.size());
    auto source = std::make_unique<PayloadSource>();
    source->xar = xar.get();
    ReadArchive contents(archive_read_new());
    archive_read_support_filter_gzip(contents.get());
    archive_read_support_filter_bzip2(contents.get());
    archive_read_support_filter_xz(contents.get());
    archive_read_support_format_cpio(contents.get());
    if (archive_read_open(contents.get(), source.get(), nullptr, &readFromXar, nullptr) != ARCHIVE_OK) {
        if (error)
            *error = QStringLiteral("its %1 is not a cpio archive (%2)").arg(what, archiveError(contents.get()));
        return false;
    }
    for (;;) {
        const int result = archive_read_next_header(contents.get(), &entry);
        if (result == ARCHIVE_EOF)
            return true;
        if (result < ARCHIVE_WARN) {
            if (error)
                *error = QStringLiteral("its %1 is damaged (%2)").arg(what, archiveError(contents.get()));
            return false;
        }
        if (!visit(contents.get(), entry))
            return false;
    }
}
