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
FlatPackage::FlatPackage(const QString& path) : _path(QFileInfo(path).absoluteFilePath()) {}

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
        const QByteArray name = archive_entry_pathname(entry);
        if (name == "PackageInfo" && archive_entry_filetype(entry) == AE_IFREG) {
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
        } else if (name == "Payload" && archive_entry_filetype(entry) == AE_IFREG) {
            hasPayload = true;
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
    ReadArchive xar = openXar(_path, error);
    if (!xar)
        return false;
    archive_entry* entry = nullptr;
    for (;;) {
        const int result = archive_read_next_header(xar.get(), &entry);
        if (result == ARCHIVE_EOF) {
            if (error)
                *error = QStringLiteral("it has no Payload");
            return false;
        }
        if (result < ARCHIVE_WARN) {
            if (error)
                *error = QStringLiteral("it is damaged (%1)").arg(archiveError(xar.get()));
            return false;
        }
        if (QByteArray(archive_entry_pathname(entry)) == "Payload" && archive_entry_filetype(entry) == AE_IFREG)
            break;
    }

    auto source = std::make_unique<PayloadSource>();
    source->xar = xar.get();
    ReadArchive payload(archive_read_new());
    archive_read_support_filter_gzip(payload.get());
    archive_read_support_filter_bzip2(payload.get());
    archive_read_support_filter_xz(payload.get());
    archive_read_support_format_cpio(payload.get());
    if (archive_read_open(payload.get(), source.get(), nullptr, &readFromXar, nullptr) != ARCHIVE_OK) {
        if (error)
            *error = QStringLiteral("its Payload is not a cpio archive (%1)").arg(archiveError(payload.get()));
        return false;
    }
    for (;;) {
        const int result = archive_read_next_header(payload.get(), &entry);
        if (result == ARCHIVE_EOF)
            return true;
        if (result < ARCHIVE_WARN) {
            if (error)
                *error = QStringLiteral("its Payload is damaged (%1)").arg(archiveError(payload.get()));
            return false;
        }
        if (!visit(payload.get(), entry))
            return false;
    }
}
