#include "PackageBuilder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <QXmlStreamWriter>

#include <archive.h>
#include <archive_entry.h>
#include <climits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct ArchiveWriteFree
{
    void operator()(archive* a) const { archive_write_free(a); }
};
using WriteArchive = std::unique_ptr<archive, ArchiveWriteFree>;
struct EntryFree
{
    void operator()(archive_entry* e) const { archive_entry_free(e); }
};
using Entry = std::unique_ptr<archive_entry, EntryFree>;

la_ssize_t appendToBuffer(archive*, void* client, const void* buffer, size_t length)
{
    static_cast<QByteArray*>(client)->append(static_cast<const char*>(buffer), static_cast<qsizetype>(length));
    return static_cast<la_ssize_t>(length);
}

QString archiveError(archive* a)
{
    const char* text = archive_error_string(a);
    return text ? QString::fromLocal8Bit(text) : QStringLiteral("archive error");
}

} // namespace

QByteArray PackageBuilder::payload(int* fileCount, qint64* byteCount, QString* error) const
{
    return archiveFolder(root, fileCount, byteCount, error);
}

QByteArray PackageBuilder::archiveFolder(const QString& root, int* fileCount, qint64* byteCount, QString* error)
{
    int files = 0;
    qint64 bytes = 0;
    const QFileInfo rootInfo(root);
    if (!rootInfo.isDir()) {
        if (error)
            *error = QStringLiteral("'%1' is not a folder").arg(root);
        return QByteArray();
    }
    // Sorted so that every folder comes before what it holds.
    const QString top = rootInfo.absoluteFilePath();
    QStringList paths;
    QDirIterator it(top, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        paths << QDir(top).relativeFilePath(it.next());
    paths.sort();
    paths.prepend(QStringLiteral("."));

    QByteArray data;
    WriteArchive writer(archive_write_new());
    archive_write_set_format_cpio_odc(writer.get());
    archive_write_add_filter_gzip(writer.get());
    if (archive_write_open2(writer.get(), &data, nullptr, &appendToBuffer, nullptr, nullptr) != ARCHIVE_OK) {
        if (error)
            *error = archiveError(writer.get());
        return QByteArray();
    }
    for (const QString& relative : paths) {
        const QString absolute = relative == QLatin1String(".") ? top : top + QLatin1Char('/') + relative;
        const QByteArray native = QFile::encodeName(absolute);
        struct stat status;
        if (::lstat(native.constData(), &status) != 0) {
            if (error)
                *error = QStringLiteral("cannot read '%1'").arg(absolute);
            return QByteArray();
        }
        Entry entry(archive_entry_new());
        archive_entry_copy_stat(entry.get(), &status);
        archive_entry_set_pathname(entry.get(), QFile::encodeName(QStringLiteral("./") + relative).constData());
        if (relative == QLatin1String("."))
            archive_entry_set_pathname(entry.get(), ".");
        // Packages install as the system's files, not as whoever built them.
        archive_entry_set_uid(entry.get(), 0);
        archive_entry_set_gid(entry.get(), 0);
        archive_entry_set_nlink(entry.get(), 1);
        QByteArray content;
        if (S_ISLNK(status.st_mode)) {
            // The link goes into the package as written, not resolved.
            QByteArray target(PATH_MAX, '\0');
            const ssize_t length = ::readlink(native.constData(), target.data(), size_t(target.size() - 1));
            if (length < 0) {
                if (error)
                    *error = QStringLiteral("cannot read the link '%1'").arg(absolute);
                return QByteArray();
            }
            target.truncate(length);
            archive_entry_set_symlink(entry.get(), target.constData());
            archive_entry_set_size(entry.get(), 0);
        } else if (S_ISREG(status.st_mode)) {
            QFile file(absolute);
            if (!file.open(QIODevice::ReadOnly)) {
                if (error)
                    *error = QStringLiteral("cannot read '%1'").arg(absolute);
                return QByteArray();
            }
            content = file.readAll();
            archive_entry_set_size(entry.get(), content.size());
            ++files;
            bytes += content.size();
        } else if (!S_ISDIR(status.st_mode)) {
            if (error)
                *error = QStringLiteral("'%1' is neither a file, a folder nor a link").arg(absolute);
            return QByteArray();
        }
        if (archive_write_header(writer.get(), entry.get()) != ARCHIVE_OK ||
            (!content.isEmpty() && archive_write_data(writer.get(), content.constData(), size_t(content.size())) < 0)) {
            if (error)
                *error = archiveError(writer.get());
            return QByteArray();
        }
    }
    if (archive_write_close(writer.get()) != ARCHIVE_OK) {
        if (error)
            *error = archiveError(writer.get());
        return QByteArray();
    }
    if (fileCount)
        *fileCount = files;
    if (byteCount)
        *byteCount = bytes;
    return data;
}

QByteArray PackageBuilder::packageInfo(int fileCount, qint64 byteCount) const
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("pkg-info"));
    writer.writeAttribute(QStringLiteral("format-version"), QStringLiteral("2"));
    writer.writeAttribute(QStringLiteral("identifier"), identifier);
    writer.writeAttribute(QStringLiteral("version"), version);
    writer.writeAttribute(QStringLiteral("install-location"), installLocation);
    writer.writeAttribute(QStringLiteral("auth"), QStringLiteral("root"));
    writer.writeAttribute(QStringLiteral("relocatable"), QStringLiteral("false"));
    writer.writeAttribute(QStringLiteral("overwrite-permissions"), QStringLiteral("true"));
    writer.writeEmptyElement(QStringLiteral("payload"));
    writer.writeAttribute(QStringLiteral("numberOfFiles"), QString::number(fileCount));
    writer.writeAttribute(QStringLiteral("installKBytes"), QString::number((byteCount + 1023) / 1024));
    writer.writeEndElement();
    writer.writeEndDocument();
    return xml;
}

bool PackageBuilder::writeXar(const QString& outputPath, const QList<std::pair<QString, QByteArray>>& members,
                              QString* error)
{
    WriteArchive writer(archive_write_new());
    archive_write_set_format_xar(writer.get());
    // The payload is compressed already; members are stored as they are.
    archive_write_set_format_option(writer.get(), "xar", "compression", "none");
    bool ok = archive_write_open_filename(writer.get(), QFile::encodeName(outputPath).constData()) == ARCHIVE_OK;
    for (auto member = members.begin(); ok && member != members.end(); ++member) {
        Entry entry(archive_entry_new());
        archive_entry_set_pathname(entry.get(), member->first.toUtf8().constData());
        archive_entry_set_filetype(entry.get(), AE_IFREG);
        archive_entry_set_perm(entry.get(), 0644);
        archive_entry_set_size(entry.get(), member->second.size());
        ok = archive_write_header(writer.get(), entry.get()) == ARCHIVE_OK &&
             (member->second.isEmpty() ||
              archive_write_data(writer.get(), member->second.constData(), size_t(member->second.size())) >= 0);
    }
    ok = ok && archive_write_close(writer.get()) == ARCHIVE_OK;
    if (!ok) {
        if (error)
            *error = archiveError(writer.get());
        writer.reset();
        QFile::remove(outputPath);
    }
    return ok;
}

bool PackageBuilder::build(const QString& outputPath, QString* error) const
{
    if (identifier.isEmpty() || identifier.contains(QLatin1Char('/')) || identifier.startsWith(QLatin1Char('.'))) {
        if (error)
            *error = QStringLiteral("'%1' is no usable package identifier").arg(identifier);
        return false;
    }
    if (!installLocation.startsWith(QLatin1Char('/'))) {
        if (error)
            *error = QStringLiteral("the install location must be an absolute path");
        return false;
    }
    QList<std::pair<QString, QByteArray>> members;
    if (!product)
        return componentMembers(QString(), &members, error) && writeXar(outputPath, members, error);
    const QString component = identifier + QStringLiteral(".pkg");
    members.append({QStringLiteral("Distribution"),
                    distribution(title.isEmpty() ? identifier : title, {identifier}, {component})});
    return componentMembers(component + QLatin1Char('/'), &members, error) && writeXar(outputPath, members, error);
}

bool PackageBuilder::componentMembers(const QString& prefix, QList<std::pair<QString, QByteArray>>* members,
                                      QString* error) const
{
    int files = 0;
    qint64 bytes = 0;
    const QByteArray data = payload(&files, &bytes, error);
    if (data.isEmpty())
        return false;
    members->append({prefix + QStringLiteral("PackageInfo"), packageInfo(files, bytes)});
    members->append({prefix + QStringLiteral("Payload"), data});
    if (!scripts.isEmpty()) {
        const QByteArray scriptData = archiveFolder(scripts, nullptr, nullptr, error);
        if (scriptData.isEmpty())
            return false;
        members->append({prefix + QStringLiteral("Scripts"), scriptData});
    }
    return true;
}

QByteArray PackageBuilder::distribution(const QString& title, const QStringList& identifiers,
                                        const QStringList& components)
{
    QByteArray xml;
    QXmlStreamWriter writer(&xml);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    writer.writeStartElement(QStringLiteral("installer-gui-script"));
    writer.writeAttribute(QStringLiteral("minSpecVersion"), QStringLiteral("2"));
    writer.writeTextElement(QStringLiteral("title"), title);
    writer.writeStartElement(QStringLiteral("choices-outline"));
    for (const QString& id : identifiers) {
        writer.writeEmptyElement(QStringLiteral("line"));
        writer.writeAttribute(QStringLiteral("choice"), id);
    }
    writer.writeEndElement();
    for (qsizetype i = 0; i < identifiers.size(); ++i) {
        writer.writeStartElement(QStringLiteral("choice"));
        writer.writeAttribute(QStringLiteral("id"), identifiers.at(i));
        writer.writeAttribute(QStringLiteral("visible"), QStringLiteral("false"));
        writer.writeEmptyElement(QStringLiteral("pkg-ref"));
        writer.writeAttribute(QStringLiteral("id"), identifiers.at(i));
        writer.writeEndElement();
        writer.writeStartElement(QStringLiteral("pkg-ref"));
        writer.writeAttribute(QStringLiteral("id"), identifiers.at(i));
        writer.writeAttribute(QStringLiteral("onConclusion"), QStringLiteral("none"));
        writer.writeCharacters(QLatin1Char('#') + QString::fromUtf8(QUrl::toPercentEncoding(components.value(i))));
        writer.writeEndElement();
    }
    writer.writeEndElement();
    writer.writeEndDocument();
    return xml;
}
