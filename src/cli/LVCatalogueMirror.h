#pragma once

#include "engines/LVDownloaderDelegate.h"

#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>
#include <QVariantMap>
#include <functional>

class LVDownloader;
class QEventLoop;

// Makes and refreshes a folder that any static web server can serve as the application's server
// override: the catalogue with its download URLs pointing into the folder, the installer packages
// (of the latest versions, or of all), the uninstall scripts, the tools' scripts and diagnostics
// tool, the icons, news images and licence, and a "Download SHA256" for every package. A re-run
// fetches only what changed; nothing appears under its final name before every file of the run is
// complete and checked, so a failed run leaves the previous mirror as it was.
class LVCatalogueMirror : public QObject, public LVDownloaderDelegate
{
    Q_OBJECT
public:
    static constexpr const char* downloadSHA256Key = "Download SHA256";
    // What the folder holds and where each file came from (sizes and hashes), for the next run.
    static constexpr const char* manifestFileName = ".lv-mirror.json";
    static constexpr int parallelDownloads = 6;
    // Held while a run writes the folder: one run per folder at a time.
    static constexpr const char* lockFileName = ".lv-mirror.lock";

    struct FileResult
    {
        QString path;    // inside the folder, e.g. "VM_installers/LV-PRISM-2.0.1.pkg"
        QString url;     // where it came from
        QString outcome; // "downloaded", "unchanged", "failed"
        qint64 bytes = 0;
        QString sha256;
        QString detail;
        bool package = false;
    };
    // "3 of 40 files, 12.5 MB downloaded".
    using ProgressHandler = std::function<void(const QString&)>;

    // `baseURL` empty: the catalogue names the files by their path alone, which the application
    // resolves against the server override, so the folder works at any address.
    LVCatalogueMirror(const QString& folder, const QUrl& baseURL, bool allVersions, QObject* parent = nullptr);
    ~LVCatalogueMirror() override;

    void setProgressHandler(ProgressHandler handler) { _progress = std::move(handler); }

    // Mirrors `catalogue` (the root dictionary). Returns one result per file. The catalogue is
    // written last and only when every package is in place; otherwise `error` says why not.
    QList<FileResult> run(const QVariantMap& catalogue, QString* error);

    // The folder-relative path a URL is kept at: its path, without leading slashes; empty for a
    // path that would leave the folder.
    static QString localPath(const QUrl& url);

    void downloadProgress(double progress, LVDownloader* downloader) override;
    void downloadCompleted(LVDownloader* downloader) override;
    void downloadFailed(LVDownloader* downloader) override;

private:
    struct Entry
    {
        QUrl source;
        QString path;
        bool package = false;
        QString expectedSHA256; // from the source catalogue, when it gives one
        FileResult result;
        qint64 announcedSize = -1;
    };
    void collect(const QVariantMap& catalogue);
    void add(const QVariant& url, bool package, const QString& expectedSHA256 = QString());
    bool isUnchanged(const Entry& entry) const;
    void startNext();
    // The entry that `downloader` fetches, no longer running; null when it is not ours.
    Entry* takeRunning(LVDownloader* downloader);
    void finish(Entry& entry, const QString& failure);
    void reportProgress();
    QVariantMap rewritten(const QVariantMap& catalogue) const;
    QVariant rewrittenURL(const QVariant& url) const;
    QString partPath(const Entry& entry) const;
    // Moves every downloaded file into place and records them; false with `error` on the first failure.
    bool publish(QString* error);

    QString _folder;
    QUrl _baseURL;
    bool _allVersions = false;
    ProgressHandler _progress;
    QList<Entry> _entries;
    QJsonObject _manifest;
    QList<int> _queue;
    QHash<LVDownloader*, int> _running;
    QEventLoop* _loop = nullptr;
    int _done = 0;
    qint64 _downloadedBytes = 0;
};
