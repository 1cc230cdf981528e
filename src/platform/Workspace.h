#pragma once

#include <QList>
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
    // Every application bundle with this identifier that the system knows of, wherever it lies.
    virtual QList<QUrl> URLsForApplicationsWithBundleIdentifier(const QString&) const { return {}; }

    // The file-manager error codes a failed move to the Trash reports.
    enum TrashError : int { TrashNoSuchFile = -43, TrashNoPermission = 513, TrashUnknownError = 512 };

    // Moves the file to the Trash with the user's own rights; on success `trashedPath` (if given)
    // receives its new place, on failure `errorCode` one of TrashError.
    virtual bool moveToTrash(const QString&, QString* /*trashedPath*/ = nullptr, QString* /*error*/ = nullptr,
                             int* errorCode = nullptr)
    {
        if (errorCode)
            *errorCode = TrashUnknownError;
        return false;
    }

protected:
    // The system's own Trash through Qt (the XDG Trash, the Finder's on a Mac), with the error codes
    // above: a missing file, or a folder the user may not write to.
    static bool moveToSystemTrash(const QString& path, QString* trashedPath, QString* error, int* errorCode);
};
