#pragma once

#include <QString>
#include <QStringList>
#include <QUrl>
#include <functional>

// Opening documents and applications, and finding applications by bundle identifier.
class Workspace
{
public:
    struct OpenConfiguration
    {
        QStringList arguments;
        bool hides = false;
        bool addsToRecentItems = true;
    };

    // A launched application as the caller may later address it; pid 0 means none.
    struct RunningApplication
    {
        qint64 pid = 0;
        QString path;
    };

    // Called when the launch is over: an empty error means it succeeded. May run on any thread.
    using OpenCompletion = std::function<void(const RunningApplication&, const QString& error)>;

    virtual ~Workspace() = default;

    virtual bool openUrl(const QUrl&) { return false; }
    virtual bool revealFile(const QString&) { return false; }
    // The application bundle with this identifier, or a null string.
    virtual QString absolutePathForAppBundleWithIdentifier(const QString&) const { return QString(); }
    virtual void openApplication(const QString& path, const OpenConfiguration&, OpenCompletion completion)
    {
        if (completion)
            completion(RunningApplication{0, path}, QStringLiteral("The application can't be opened."));
    }
    virtual bool terminateApplication(const RunningApplication&) { return false; }
    // Moves the file to the Trash; on success `trashedPath` (if given) receives its new place.
    virtual bool moveToTrash(const QString&, QString* /*trashedPath*/ = nullptr, QString* /*error*/ = nullptr)
    {
        return false;
    }
};
