#include "cli/LVCatalogueMirror.h"

#include "catalogue/LVServers.h"
#include "catalogue/VMUtils.h"
#include "engines/LVDownloader.h"
#include "engines/LVPackageChecksum.h"
#include "foundation/VMPropertyList.h"

#include <QCryptographicHash>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLockFile>
#include <QSaveFile>
#include <filesystem>

namespace {

const QString kCatalogueFile = QStringLiteral("VM_installers/Product+Versions.plist");
// The tools tab's files, at fixed paths on the download server.
const QStringList kToolPaths = {QStringLiteral("/VM_installers/uninstallers/TotalRemoveAllProducts.bash"),
                                QStringLiteral("/VM_installers/uninstallers/TotalRemoveAllFxPlug3.bash"),
                                QStringLiteral("/VM_installers/LV_GatherDiagnostics.app.zip")};

bool writeAtomically(const QString& path, const QByteArray& data, QString* error)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        *error = QStringLiteral("Cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}

QString megabytes(qint64 bytes)
{
    return QString::number(double(bytes) / 1e6, 'f', 1) + QStringLiteral(" MB");
}

} // namespace

LVCatalogueMirror::LVCatalogueMirror(const QString& folder, const QUrl& baseURL, bool allVersions, QObject* parent)
    : QObject(parent), _folder(QDir(folder).absolutePath()), _baseURL(baseURL), _allVersions(allVersions)
{}

LVCatalogueMirror::~LVCatalogueMirror()
{
    // Downloaders still running (an interrupted run) stop, and their partial files go.
    for (auto it = _running.cbegin(); it != _running.cend(); ++it) {
        it.key()->setDelegate(nullptr);
        delete it.key();
        QFile::remove(partPath(_entries.at(it.value())));
    }
}

QString LVCatalogueMirror::localPath(const QUrl& url)
{
    const QString path = url.path(QUrl::FullyDecoded);
    const QStringList segments = path.split(QLatin1Char('/'), Qt::SkipEmptyParts);
    if (segments.isEmpty() || path.endsWith(QLatin1Char('/')) || segments.contains(QStringLiteral("..")) ||
        segments.contains(QStringLiteral(".")) || path.contains(QChar(0)))
        return QString();
    return segments.join(QLatin1Char('/'));
}

void LVCatalogueMirror::add(const QVariant& value, bool package, const QString& expectedSHA256)
{
    const QString text = value.toString();
    if (text.isEmpty())
        return;
    QUrl url(text);
    // A path alone lies on the source's download server, as the application reads it.
    if (url.isRelative() && url.host().isEmpty() && url.path().startsWith(QLatin1Char('/'))) {
        QUrl resolved = LVServers::downloadURL(url.path(QUrl::FullyEncoded));
        if (url.hasQuery())
            resolved.setQuery(url.query(QUrl::FullyEncoded));
        url = resolved;
    }
    for (Entry& entry : _entries) {
        if (entry.source == url) {
            entry.package = entry.package || package;
            if (entry.expectedSHA256.isEmpty())
                entry.expectedSHA256 = LVPackageChecksum::normalized(expectedSHA256);
            return;
        }
    }
    Entry entry;
    entry.source = url;
    entry.path = localPath(url);
    entry.package = package;
    entry.expectedSHA256 = LVPackageChecksum::normalized(expectedSHA256);
    entry.result.url = url.toString();
    entry.result.path = entry.path;
    entry.result.package = package;
    _entries.append(entry);
}

void LVCatalogueMirror::collect(const QVariantMap& catalogue)
{
    const QString hashKey = QLatin1String(downloadSHA256Key);
    const QVariantList products = catalogue.value(QStringLiteral("Products")).toMap().value("Products").toList();
    for (const QVariant& productValue : products) {
        const QVariantMap product = productValue.toMap();
        add(product.value(QStringLiteral("Icon URL")), false);
        if (product.value(QStringLiteral("Bundle")).toBool())
            continue;
        add(product.value(QStringLiteral("Download URL")), true, product.value(hashKey).toString());
        add(product.value(QStringLiteral("Uninstall Script")), false);
        const QVariantList versions = product.value(QStringLiteral("Versions")).toList();
        QString latest;
        for (const QVariant& version : versions) {
            const QString number = version.toMap().value(QStringLiteral("Product Version")).toString();
            if (latest.isNull() || VMUtils::compareVersion(number, latest) > 0)
                latest = number;
        }
        for (const QVariant& versionValue : versions) {
            const QVariantMap version = versionValue.toMap();
            add(version.value(QStringLiteral("Uninstall Script")), false);
            const QString number = version.value(QStringLiteral("Product Version")).toString();
            if (_allVersions || VMUtils::compareVersion(number, latest) == 0)
                add(version.value(QStringLiteral("Download URL")), true, version.value(hashKey).toString());
        }
    }
    const QVariantList news = catalogue.value(QStringLiteral("News")).toMap().value("News").toList();
    for (const QVariant& item : news) {
        add(item.toMap().value(QStringLiteral("News Image URL")), false);
        add(item.toMap().value(QStringLiteral("Announcement Image URL")), false);
    }
    add(catalogue.value(QStringLiteral("License Agreement URL")), false);
    for (const QString& path : kToolPaths)
        add(LVServers::downloadURL(path).toString(), false);

    // Two URLs that would land on one file (another host, another query): the later ones go into
    // a folder named after their whole URL, keeping their file name.
    QStringList taken{kCatalogueFile, QLatin1String(manifestFileName), QLatin1String(lockFileName)};
    for (Entry& entry : _entries) {
        const QString scheme = entry.source.scheme();
        if (scheme != QLatin1String("http") && scheme != QLatin1String("https")) {
            entry.result.detail = QStringLiteral("Not an http or https URL; it can't be mirrored.");
        } else if (entry.path.isEmpty()) {
            entry.result.detail = QStringLiteral("The URL's path can't be kept inside the mirror.");
        } else {
            if (taken.contains(entry.path)) {
                const QString hash = QString::fromLatin1(
                    QCryptographicHash::hash(entry.source.toEncoded(), QCryptographicHash::Sha256).toHex().left(16));
                const QFileInfo name(entry.path);
                entry.path = (name.path() == QLatin1String(".") ? QString() : name.path() + QLatin1Char('/')) + hash +
                             QLatin1Char('/') + name.fileName();
                entry.result.path = entry.path;
            }
            taken.append(entry.path);
        }
        if (!entry.result.detail.isEmpty())
            entry.result.outcome = QStringLiteral("failed");
    }
}

bool LVCatalogueMirror::isUnchanged(const Entry& entry) const
{
    const QJsonObject known = _manifest.value(entry.path).toObject();
    const QString file = QDir(_folder).filePath(entry.path);
    if (known.value(QStringLiteral("url")).toString() != entry.source.toString() || !QFileInfo::exists(file))
        return false;
    const QString knownHash = known.value(QStringLiteral("sha256")).toString();
    if (QFileInfo(file).size() != qint64(known.value(QStringLiteral("size")).toDouble()))
        return false;
    if (!entry.expectedSHA256.isEmpty() && entry.expectedSHA256 != knownHash)
        return false; // the catalogue names new contents under the same URL
    return LVPackageChecksum::sha256OfFile(file) == knownHash;
}

QString LVCatalogueMirror::partPath(const Entry& entry) const
{
    return QDir(_folder).filePath(entry.path) + QStringLiteral(".lv-part");
}

QList<LVCatalogueMirror::FileResult> LVCatalogueMirror::run(const QVariantMap& catalogue, QString* error)
{
    _entries.clear();
    collect(catalogue);
    const QString manifestPath = QDir(_folder).filePath(QLatin1String(manifestFileName));
    QDir().mkpath(_folder);
    QLockFile lock(QDir(_folder).filePath(QLatin1String(lockFileName)));
    lock.setStaleLockTime(0);
    if (!lock.tryLock(0)) {
        qint64 pid = 0;
        QString host, application;
        lock.getLockInfo(&pid, &host, &application);
        if (error)
            *error = QStringLiteral("Another run (process %1) is writing this mirror.").arg(pid);
        return {};
    }
    {
        QFile manifest(manifestPath);
        if (manifest.open(QIODevice::ReadOnly))
            _manifest = QJsonDocument::fromJson(manifest.readAll()).object();
    }
    for (int i = 0; i < _entries.size(); ++i) {
        Entry& entry = _entries[i];
        if (!entry.result.outcome.isEmpty())
            continue;
        if (isUnchanged(entry)) {
            const QJsonObject known = _manifest.value(entry.path).toObject();
            entry.result.outcome = QStringLiteral("unchanged");
            entry.result.bytes = qint64(known.value(QStringLiteral("size")).toDouble());
            entry.result.sha256 = known.value(QStringLiteral("sha256")).toString();
            ++_done;
        } else {
            _queue.append(i);
        }
    }
    reportProgress();
    startNext();
    if (!_running.isEmpty()) {
        QEventLoop loop;
        _loop = &loop;
        loop.exec();
        _loop = nullptr;
    }

    QStringList failedPackages, failedOthers;
    for (const Entry& entry : std::as_const(_entries)) {
        if (entry.result.outcome == QLatin1String("failed"))
            (entry.package ? failedPackages : failedOthers)
                .append(entry.path.isEmpty() ? entry.result.url : entry.path);
    }
    QString writeError;
    // A failed run leaves the previous catalogue and every file it names as they were.
    if (!failedPackages.isEmpty() || !publish(&writeError)) {
        for (const Entry& entry : std::as_const(_entries)) {
            if (entry.result.outcome == QLatin1String("downloaded"))
                QFile::remove(partPath(entry));
        }
        if (error)
            *error = !writeError.isEmpty()
                         ? writeError
                         : QStringLiteral("%1 package(s) could not be mirrored (%2); the mirror was left as it was.")
                               .arg(failedPackages.size())
                               .arg(failedPackages.join(QStringLiteral(", ")));
    } else {
        const QByteArray data = VMPropertyList::toXmlData(rewritten(catalogue));
        if (!writeAtomically(QDir(_folder).filePath(kCatalogueFile), data, &writeError) && error)
            *error = writeError;
        else if (!failedOthers.isEmpty() && error)
            *error = QStringLiteral("%1 other file(s) could not be mirrored (%2); the catalogue names them where they "
                                    "were.")
                         .arg(failedOthers.size())
                         .arg(failedOthers.join(QStringLiteral(", ")));
    }
    QList<FileResult> results;
    for (const Entry& entry : std::as_const(_entries))
        results.append(entry.result);
    return results;
}

bool LVCatalogueMirror::publish(QString* error)
{
    QJsonObject manifest = _manifest;
    for (Entry& entry : _entries) {
        if (entry.result.outcome != QLatin1String("downloaded"))
            continue;
        std::error_code code;
        std::filesystem::rename(QFile::encodeName(partPath(entry)).toStdString(),
                                QFile::encodeName(QDir(_folder).filePath(entry.path)).toStdString(), code);
        if (code) {
            *error =
                QStringLiteral("Cannot put %1 in place: %2").arg(entry.path, QString::fromStdString(code.message()));
            return false;
        }
        manifest.insert(entry.path, QJsonObject{{QStringLiteral("url"), entry.source.toString()},
                                                {QStringLiteral("size"), double(entry.result.bytes)},
                                                {QStringLiteral("sha256"), entry.result.sha256}});
    }
    _manifest = manifest;
    return writeAtomically(QDir(_folder).filePath(QLatin1String(manifestFileName)),
                           QJsonDocument(_manifest).toJson(QJsonDocument::Indented), error);
}

void LVCatalogueMirror::startNext()
{
    while (_running.size() < parallelDownloads && !_queue.isEmpty()) {
        const int index = _queue.takeFirst();
        Entry& entry = _entries[index];
        QDir().mkpath(QFileInfo(QDir(_folder).filePath(entry.path)).absolutePath());
        // The mirror's own fetches keep their scheme: what it publishes is what the source serves.
        LVDownloader* downloader = LVDownloader::initWithURLKeepingScheme(entry.source, this);
        if (!downloader) {
            finish(entry, QStringLiteral("Not a URL that can be downloaded."));
            continue;
        }
        downloader->setDelegate(this);
        _running.insert(downloader, index);
        if (!downloader->startWithDownloadFilePath(partPath(entry))) {
            _running.remove(downloader);
            downloader->setDelegate(nullptr);
            delete downloader;
            finish(entry, QStringLiteral("Cannot write %1.").arg(partPath(entry)));
        }
    }
}

void LVCatalogueMirror::downloadProgress(double, LVDownloader* downloader)
{
    const auto found = _running.constFind(downloader);
    if (found == _running.cend())
        return;
    if (downloader->expectedDataSize() > 0)
        _entries[found.value()].announcedSize = downloader->expectedDataSize();
    reportProgress();
}

LVCatalogueMirror::Entry* LVCatalogueMirror::takeRunning(LVDownloader* downloader)
{
    const auto found = _running.constFind(downloader);
    if (found == _running.cend())
        return nullptr;
    Entry* entry = &_entries[found.value()];
    _running.erase(found);
    downloader->deleteLater();
    return entry;
}

void LVCatalogueMirror::downloadCompleted(LVDownloader* downloader)
{
    Entry* const taken = takeRunning(downloader);
    if (!taken)
        return;
    Entry& entry = *taken;

    const QString part = partPath(entry);
    const qint64 size = QFileInfo(part).size();
    QString failure;
    if (downloader->statusCode() != 200)
        failure = QStringLiteral("The server answered with status %1.").arg(downloader->statusCode());
    else if (entry.announcedSize >= 0 && size != entry.announcedSize)
        failure = QStringLiteral("%1 of %2 bytes arrived.").arg(size).arg(entry.announcedSize);
    const QString hash = failure.isEmpty() ? LVPackageChecksum::sha256OfFile(part) : QString();
    if (failure.isEmpty() && hash.isEmpty())
        failure = QStringLiteral("Cannot read back %1.").arg(part);
    else if (failure.isEmpty() && !entry.expectedSHA256.isEmpty() && hash != entry.expectedSHA256)
        failure = QStringLiteral("The file's SHA-256 is %1, the catalogue names %2.").arg(hash, entry.expectedSHA256);
    if (failure.isEmpty()) {
        // Put in place only when the whole run has succeeded (publish()).
        entry.result.bytes = size;
        entry.result.sha256 = hash;
        _downloadedBytes += size;
    }
    finish(entry, failure);
    startNext();
}

void LVCatalogueMirror::downloadFailed(LVDownloader* downloader)
{
    Entry* const taken = takeRunning(downloader);
    if (!taken)
        return;
    Entry& entry = *taken;
    finish(entry, downloader->error().description());
    startNext();
}

void LVCatalogueMirror::finish(Entry& entry, const QString& failure)
{
    if (failure.isEmpty()) {
        entry.result.outcome = QStringLiteral("downloaded");
    } else {
        QFile::remove(partPath(entry));
        entry.result.outcome = QStringLiteral("failed");
        entry.result.detail = failure;
    }
    ++_done;
    reportProgress();
    if (_loop && _running.isEmpty() && _queue.isEmpty())
        _loop->quit();
}

void LVCatalogueMirror::reportProgress()
{
    if (!_progress)
        return;
    qint64 running = 0;
    for (LVDownloader* downloader : _running.keys())
        running += qint64(downloader->currentDownloadDataSize());
    _progress(QStringLiteral("%1 of %2 files, %3 downloaded")
                  .arg(_done)
                  .arg(_entries.size())
                  .arg(megabytes(_downloadedBytes + running)));
}

QVariant LVCatalogueMirror::rewrittenURL(const QVariant& url) const
{
    const QUrl source(url.toString());
    for (const Entry& entry : _entries) {
        if (entry.source != source)
            continue;
        if (entry.result.outcome == QLatin1String("failed"))
            return url; // still on the original server
        if (_baseURL.isEmpty())
            return QStringLiteral("/") + entry.path;
        QUrl mirrored(_baseURL);
        QString basePath = mirrored.path();
        while (basePath.endsWith(QLatin1Char('/')))
            basePath.chop(1);
        mirrored.setPath(basePath + QLatin1Char('/') + entry.path);
        return mirrored.toString();
    }
    return url;
}

QVariantMap LVCatalogueMirror::rewritten(const QVariantMap& catalogue) const
{
    const QString hashKey = QLatin1String(downloadSHA256Key);
    // Rewrites the URL under `key` and, for a mirrored package, puts its hash beside it.
    const auto rewrite = [&](QVariantMap& dict, const QString& key, bool package) {
        if (!dict.contains(key))
            return;
        const QVariant before = dict.value(key);
        const QVariant after = rewrittenURL(before);
        dict.insert(key, after);
        if (!package || after == before)
            return;
        for (const Entry& entry : _entries) {
            if (entry.source == QUrl(before.toString()) && !entry.result.sha256.isEmpty())
                dict.insert(hashKey, entry.result.sha256);
        }
    };
    QVariantMap root = catalogue;
    QVariantMap productsSection = root.value(QStringLiteral("Products")).toMap();
    QVariantList products = productsSection.value(QStringLiteral("Products")).toList();
    for (QVariant& productValue : products) {
        QVariantMap product = productValue.toMap();
        rewrite(product, QStringLiteral("Icon URL"), false);
        rewrite(product, QStringLiteral("Download URL"), true);
        rewrite(product, QStringLiteral("Uninstall Script"), false);
        QVariantList versions = product.value(QStringLiteral("Versions")).toList();
        for (QVariant& versionValue : versions) {
            QVariantMap version = versionValue.toMap();
            rewrite(version, QStringLiteral("Download URL"), true);
            rewrite(version, QStringLiteral("Uninstall Script"), false);
            versionValue = version;
        }
        if (product.contains(QStringLiteral("Versions")))
            product.insert(QStringLiteral("Versions"), versions);
        productValue = product;
    }
    if (productsSection.contains(QStringLiteral("Products"))) {
        productsSection.insert(QStringLiteral("Products"), products);
        root.insert(QStringLiteral("Products"), productsSection);
    }
    QVariantMap newsSection = root.value(QStringLiteral("News")).toMap();
    if (newsSection.contains(QStringLiteral("News"))) {
        QVariantList news = newsSection.value(QStringLiteral("News")).toList();
        for (QVariant& itemValue : news) {
            QVariantMap item = itemValue.toMap();
            rewrite(item, QStringLiteral("News Image URL"), false);
            rewrite(item, QStringLiteral("Announcement Image URL"), false);
            itemValue = item;
        }
        newsSection.insert(QStringLiteral("News"), news);
        root.insert(QStringLiteral("News"), newsSection);
    }
    rewrite(root, QStringLiteral("License Agreement URL"), false);
    return root;
}
