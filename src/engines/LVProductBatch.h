#pragma once

#include "catalogue/VMSingleProductItem.h"
#include "engines/LVAdminAuthorization.h"

#include <QList>
#include <QObject>
#include <QPointer>
#include <QSemaphore>
#include <QUrl>
#include <QVariantMap>
#include <memory>

class LVProductOperation;

// Several products in one run, each through its own LVProductOperation so that rows observe it and
// a catalogue refresh does not end it. Installing: the installers download one at a time, then
// install in order on one background thread under one administrator authorization, then are
// confirmed. Uninstalling: the products' scripts run on one background thread under one
// authorization. A total uninstall fetches one ready-made script that removes every product and
// runs it the same way, holding the products meanwhile. What a failure means (stall, abandon, go
// on) is the owner's policy.
//
// While the run lasts it holds its products (LVProductOperation::holder()): their rows show its
// progress and act on it only as its policy allows. A stalled run keeps its packages but lets go
// of its products, whose rows read what is installed again.
class LVProductBatch : public QObject
{
    Q_OBJECT
public:
    enum class Kind { Install, Uninstall, TotalUninstall };
    // A total uninstall's steps, numbered as its tool tells them.
    enum class ScriptStep : uint {
        DownloadStarted = 1,
        Downloaded = 2,
        DownloadFailed = 3,
        UninstallStarted = 4,
        UninstallCompleted = 5,
        UninstallFailed = 6,
    };
    Q_ENUM(ScriptStep)
    // An item's state; the install states keep the update-all tool's numbers.
    enum class State : uint {
        WaitingForDownload = 0,
        Downloading = 1,
        Downloaded = 2,
        DownloadFailed = 3,
        Installing = 4,
        Installed = 5,
        InstallFailed = 6,
        WaitingForUninstall = 7,
        Uninstalling = 8,
        Uninstalled = 9,
        UninstallFailed = 10,
    };
    Q_ENUM(State)
    enum class Ending {
        Completed,            // every item ended; some may have failed
        DownloadFailed,       // a download failed and the run was abandoned
        Cancelled,            // cancel(), or a download that could not start in an abandoning run
        AuthorizationRefused, // the administrator right was refused and the run was abandoned
    };
    Q_ENUM(Ending)

    struct Item
    {
        VMSingleProductItemPtr product;
        // Install: the version to install. With `installerURL` it may be null (the installer is not
        // a version's own) and the installer is fetched without the version's settings.
        VMVersionItemPtr version;
        QString installerURL;
    };

    struct Policy
    {
        enum class OnFailure {
            Stall,   // stop where it stands: no further step, no ending, packages kept
            Abandon, // cancel every download, delete every package, end
            GoOn,    // the product fails; the others go on (downloads only)
        };
        OnFailure downloadFailure = OnFailure::GoOn;
        // Stall or Abandon; an abandoned item fails with the refusal as its detail.
        OnFailure refusedAuthorization = OnFailure::Abandon;
        // Every package is installed as administrator, whatever its settings say.
        bool installsAsAdministrator = false;
        // Waited on the background thread after each installation but the last.
        double secondsBetweenInstallations = 0.0;
        // Confirmed after each installation with this wait before the announcement; a negative
        // value leaves the confirmation to the owner (after the ending).
        double secondsBeforeAnnouncement = 0.0;
        // No administrator prompt unless a package's settings ask for one.
        bool authorizesOnlyWhenNeeded = false;
        // A failed installation whose version is found installed counts as a success.
        bool judgesByOutcome = false;
        // Held by the caller for longer than the run; none: the run acquires its own.
        std::shared_ptr<LVAdminAuthorization> authorization;
        LVAdminAuthorization::CreateFailureLog createFailureLog = LVAdminAuthorization::CreateFailureLog::Always;
        // Who holds the products, as the rows name it when they refuse an action.
        QString holderTitle;
        // A product row's Cancel cancels the whole run (a bundle's); otherwise rows may not cancel it.
        bool rowsMayCancel = false;
        // A total uninstall's script. A failed fetch stalls the run.
        QUrl script;
    };

    LVProductBatch(Kind kind, const QList<Item>& items, const Policy& policy, QObject* parent = nullptr);
    ~LVProductBatch() override;

    // Install: starts the first download (an item whose product is busy with an installation
    // already joins that one instead). Uninstall: starts the background run. False when nothing
    // could start; under a stalling policy the run then stays as it stands.
    bool start();
    // Cancels the downloads and deletes every package not yet installed; the run ends Cancelled
    // unless its installations are under way already.
    void cancel();

    Kind kind() const { return _kind; }
    qsizetype count() const { return _items.size(); }
    Item item(qsizetype index) const { return _items.at(index).item; }
    State state(qsizetype index) const { return _items.at(index).state; }
    // Why the item failed: an error's description, or empty.
    QString detail(qsizetype index) const { return _items.at(index).detail; }
    LVProductOperation* operation(qsizetype index) const;
    // The item whose download runs, or -1.
    qsizetype downloadingIndex() const;
    // While a download runs: "Downloading 'Title' (2 of 3): 12.4 of 80.0 MB — 4.1 MB/s, about 16 s
    // left"; empty otherwise.
    QString progressDescription() const;
    // Of the whole run: every item's received and expected bytes.
    qint64 receivedBytes() const;
    qint64 expectedBytes() const;
    bool hasEnded() const { return _ended; }
    bool isStalled() const { return _stalled; }
    // cancel() would act: the run downloads or waits for its installations to begin.
    bool isCancellable() const { return _started && !_ended && !_stalled && !_backgroundRunning; }
    const Policy& policy() const { return _policy; }
    // The status of the administrator right when it was not granted; 0 otherwise.
    int authorizationStatus() const { return _authorizationStatus; }

    static bool isFinal(State state);

signals:
    void stateChanged(qsizetype index, LVProductBatch::State state);
    // The item's installer download has begun to arrive.
    void downloadStarted(qsizetype index);
    void progressChanged();
    void ended(LVProductBatch::Ending ending);
    void scriptStepChanged(LVProductBatch::ScriptStep step);

private:
    struct Entry
    {
        Item item;
        QPointer<LVProductOperation> operation;
        State state = State::WaitingForDownload;
        QString detail;
        // One of its uninstall scripts failed.
        bool failed = false;
        // Follows an installation that someone else started; the batch neither installs nor
        // confirms it.
        bool joined = false;
        // The package of a stalled run, which no one else may delete.
        QString keptPackage;
    };

    void observe(qsizetype index);
    void setState(qsizetype index, State state, const QString& detail = QString());
    void downloadNext();
    bool startDownload(Entry& entry);
    void downloadFailed(qsizetype index, const QString& detail, bool cancelled);
    void installDownloaded();
    void refused(int status);
    void runUninstall();
    bool fetchTotalUninstallScript();
    void runTotalUninstall(const QByteArray& script);
    void endTotalUninstall(bool succeeded);
    void abandon(Ending ending, const QString& detail = QString());
    void endIfDone();
    void stall();
    void releaseLater(const Entry& entry);
    void release(Entry& entry);
    // A joined product whose other work ended without installing it.
    void checkJoined(qsizetype index);

    const Kind _kind;
    QList<Entry> _items;
    const Policy _policy;
    bool _started = false;
    bool _stalled = false;
    bool _backgroundRunning = false;
    bool _ended = false;
    int _authorizationStatus = 0;
    // Released by each installation's end, so that the next begins its wait only then.
    std::shared_ptr<QSemaphore> _installationsEnded = std::make_shared<QSemaphore>();
};
