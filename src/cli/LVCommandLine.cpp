#include "cli/LVCommandLine.h"

#include "catalogue/LVServers.h"
#include "catalogue/VMBundleProductItem.h"
#include "catalogue/VMCatalogue.h"
#include "catalogue/VMInstallStatus.h"
#include "catalogue/VMProductsCollection.h"
#include "cli/LVApplyPlan.h"
#include "cli/LVConsole.h"
#include "cli/LVHeadlessSession.h"
#include "cli/LVStudioCommands.h"
#include "engines/LVActionHistory.h"
#include "engines/LVDownloadFolder.h"
#include "engines/LVDownloader.h"
#include "engines/LVOperationLock.h"
#include "engines/LVPackageChecksum.h"
#include "engines/LVProductOperations.h"
#include "platform/InterruptCleanup.h"
#include "platform/Platform.h"
#include "platform/PrivilegedExecution.h"
#include "platform/StandardStreams.h"
#include "platform/SystemInfo.h"

#include <QCommandLineParser>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QTextStream>
#include <cstdio>

namespace {

const QStringList commandOptions = {
    QStringLiteral("list"),      QStringLiteral("check"),   QStringLiteral("install"), QStringLiteral("update-all"),
    QStringLiteral("uninstall"), QStringLiteral("history"), QStringLiteral("apply"),   QStringLiteral("mirror")};

// The toolkit's own options, which the window's application object takes out of the arguments;
// "-name value", "--name value" and "-name=value" alike.
const QStringList toolkitOptionsWithValue = {QStringLiteral("platform"),
                                             QStringLiteral("platformpluginpath"),
                                             QStringLiteral("platformtheme"),
                                             QStringLiteral("plugin"),
                                             QStringLiteral("qwindowgeometry"),
                                             QStringLiteral("qwindowicon"),
                                             QStringLiteral("qwindowtitle"),
                                             QStringLiteral("session"),
                                             QStringLiteral("display"),
                                             QStringLiteral("geometry"),
                                             QStringLiteral("style"),
                                             QStringLiteral("stylesheet"),
                                             QStringLiteral("title"),
                                             QStringLiteral("icon"),
                                             QStringLiteral("name"),
                                             QStringLiteral("dialogs"),
                                             QStringLiteral("fontengine"),
                                             QStringLiteral("visual"),
                                             QStringLiteral("ncols"),
                                             QStringLiteral("cmap"),
                                             QStringLiteral("qmljsdebugger")};
const QStringList toolkitFlags = {QStringLiteral("reverse"), QStringLiteral("widgetcount"), QStringLiteral("nograb"),
                                  QStringLiteral("dograb"),  QStringLiteral("testability"), QStringLiteral("sync")};

// The arguments without the program name and without the toolkit's options.
QStringList ownArguments(const QStringList& arguments)
{
    QStringList own;
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        // The process serial number a Mac's Finder passed to applications it launched.
        if (argument.startsWith(QLatin1String("-psn_")))
            continue;
        QString name = argument;
        if (name.startsWith(QLatin1String("--")))
            name.remove(0, 1);
        if (!name.startsWith(QLatin1Char('-')) || name.size() < 2) {
            own.append(argument);
            continue;
        }
        name.remove(0, 1);
        const QString key = name.section(QLatin1Char('='), 0, 0);
        if (toolkitFlags.contains(key) && !name.contains(QLatin1Char('=')))
            continue;
        if (toolkitOptionsWithValue.contains(key)) {
            if (!name.contains(QLatin1Char('=')))
                ++i; // the value follows
            continue;
        }
        own.append(argument);
    }
    return own;
}

using LVConsole::err;
using LVConsole::out;
using LVConsole::printJson;

// Waits for a downloader into memory on the main thread's event loop.
class CatalogueFetch : public QObject, public LVDownloaderDelegate
{
public:
    QByteArray fetch(const QUrl& url, QString* error)
    {
        std::unique_ptr<LVDownloader> downloader(LVDownloader::downloaderWithURL(url));
        if (!downloader) {
            *error = QStringLiteral("Not a valid catalogue address: %1").arg(url.toString());
            return {};
        }
        downloader->setDelegate(this);
        if (!downloader->start()) {
            *error = QStringLiteral("The catalogue download could not be started.");
            return {};
        }
        _loop.exec();
        if (_failed) {
            *error = QStringLiteral("The catalogue could not be downloaded from %1: %2")
                         .arg(url.toString(), downloader->error().description());
            return {};
        }
        return downloader->data();
    }
    void downloadCompleted(LVDownloader*) override { _loop.quit(); }
    void downloadFailed(LVDownloader*) override
    {
        _failed = true;
        _loop.quit();
    }

private:
    QEventLoop _loop;
    bool _failed = false;
};

// --catalogue FILE|URL, else the override file in the home folder, else the catalogue server.
QByteArray loadCatalogueData(const QString& source, QString* error)
{
    QString path = source;
    QUrl url;
    if (source.isEmpty()) {
        const QString home = Platform::systemInfo().homeDirectory();
        const QString overridePath = QDir(home).filePath(QStringLiteral("Product Versions.plist"));
        if (!home.isEmpty() && QFile::exists(overridePath))
            path = overridePath;
        else
            url = LVServers::remoteCatalogueURL();
    } else {
        const QUrl given(source);
        if (given.scheme() == QLatin1String("http") || given.scheme() == QLatin1String("https"))
            url = given;
    }
    if (url.isValid() && !url.isEmpty()) {
        CatalogueFetch fetch;
        return fetch.fetch(url, error);
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("Cannot read the catalogue %1: %2").arg(path, file.errorString());
        return {};
    }
    return file.readAll();
}

struct ProductRow
{
    VMProductItemPtr item;
    QString installed;
    QString latest;
    uint status = 0;
    QStringList members;
};

QString latestVersionString(const VMSingleProductItem& product)
{
    const VMVersionItemPtr latest = product.latestVersionItem();
    return latest ? latest->productVersion() : QString();
}

QList<ProductRow> productRows(const VMProductsCollection& collection)
{
    QList<ProductRow> rows;
    for (const VMProductItemPtr& item : collection.productItems()) {
        ProductRow row;
        row.item = item;
        if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(item)) {
            row.installed = single->checkInstalledPluginVersion();
            row.latest = latestVersionString(*single);
            row.status = VMInstallStatus::singleProductStatus(*single, row.installed);
        } else if (auto bundle = std::dynamic_pointer_cast<VMBundleProductItem>(item)) {
            QList<uint> statuses;
            for (const VMSingleProductItemPtr& member : collection.bundleMembers(*bundle)) {
                row.members.append(member->productID());
                statuses.append(VMInstallStatus::singleProductStatus(*member, member->checkInstalledPluginVersion()));
            }
            row.status = VMInstallStatus::bundleStatus(statuses);
        }
        rows.append(row);
    }
    return rows;
}

bool isDiscontinued(const VMProductItem& item)
{
    if (auto* single = dynamic_cast<const VMSingleProductItem*>(&item))
        return single->productDiscontinued();
    if (auto* bundle = dynamic_cast<const VMBundleProductItem*>(&item))
        return bundle->bundleDiscontinued();
    return false;
}

QJsonObject rowJson(const ProductRow& row)
{
    const bool bundle = !std::dynamic_pointer_cast<VMSingleProductItem>(row.item);
    QJsonObject object{{QStringLiteral("type"), bundle ? QStringLiteral("bundle") : QStringLiteral("product")},
                       {QStringLiteral("id"), row.item->productID()},
                       {QStringLiteral("title"), row.item->title()},
                       {QStringLiteral("status"), static_cast<int>(row.status)},
                       {QStringLiteral("statusText"), VMInstallStatus::statusText(row.status)},
                       {QStringLiteral("discontinued"), isDiscontinued(*row.item)}};
    if (bundle) {
        object.insert(QStringLiteral("members"), QJsonArray::fromStringList(row.members));
    } else {
        object.insert(QStringLiteral("installedVersion"),
                      row.installed.isNull() ? QJsonValue() : QJsonValue(row.installed));
        object.insert(QStringLiteral("latestVersion"), row.latest);
        // Whether the catalogue gives the digest its installer package is checked against.
        object.insert(QStringLiteral("verifiable"),
                      LVPackageChecksum::isVerifiable(*std::static_pointer_cast<VMSingleProductItem>(row.item)));
    }
    return object;
}

int list(const VMProductsCollection& collection, bool json)
{
    for (const ProductRow& row : productRows(collection)) {
        if (json) {
            printJson(rowJson(row));
            continue;
        }
        const bool bundle = !row.members.isEmpty() || !std::dynamic_pointer_cast<VMSingleProductItem>(row.item);
        out() << row.item->productID() << "  " << row.item->title() << "  ";
        if (bundle)
            out() << "bundle of " << row.members.join(QLatin1Char(' ')) << "  ";
        else
            out() << "installed " << (row.installed.isNull() ? QStringLiteral("-") : row.installed) << ", latest "
                  << row.latest << "  ";
        out() << VMInstallStatus::statusText(row.status);
        if (isDiscontinued(*row.item))
            out() << "  (discontinued)";
        out() << '\n';
    }
    out().flush();
    return LVCommandLine::Success;
}

QList<VMSingleProductItemPtr> outdatedProducts(const VMProductsCollection& collection)
{
    QList<VMSingleProductItemPtr> singles;
    for (const VMProductItemPtr& item : collection.productItems()) {
        if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(item))
            singles.append(single);
    }
    QList<VMSingleProductItemPtr> products;
    for (const qsizetype index : LVProductOperations::shared().updatesToInstall(singles))
        products.append(singles.at(index));
    return products;
}

int check(const VMProductsCollection& collection, bool json)
{
    const QList<VMSingleProductItemPtr> outdated = outdatedProducts(collection);
    for (const VMSingleProductItemPtr& product : outdated) {
        const QString installed = product->checkInstalledPluginVersion();
        if (json)
            printJson({{QStringLiteral("id"), product->productID()},
                       {QStringLiteral("title"), product->title()},
                       {QStringLiteral("installedVersion"), installed},
                       {QStringLiteral("latestVersion"), latestVersionString(*product)}});
        else
            out() << product->productID() << "  " << product->title() << "  " << installed << " -> "
                  << latestVersionString(*product) << '\n';
    }
    if (outdated.isEmpty() && !json)
        out() << "Everything installed is up to date.\n";
    out().flush();
    return outdated.isEmpty() ? LVCommandLine::Success : LVCommandLine::UpdatesAvailable;
}

int history(bool json)
{
    QString error;
    const QList<QJsonObject> records = LVActionHistory::records(&error);
    if (!error.isEmpty()) {
        err() << "Cannot read " << LVActionHistory::filePath() << ": " << error << '\n';
        return LVCommandLine::ActionFailed;
    }
    for (const QJsonObject& record : records) {
        if (json) {
            printJson(record);
            continue;
        }
        out() << record.value(QStringLiteral("time")).toString() << "  "
              << record.value(QStringLiteral("action")).toString() << "  "
              << record.value(QStringLiteral("productID")).toString() << " "
              << record.value(QStringLiteral("version")).toString() << "  "
              << record.value(QStringLiteral("outcome")).toString() << "  "
              << QString::number(record.value(QStringLiteral("seconds")).toDouble(), 'f', 1) << " s";
        const QString detail = record.value(QStringLiteral("detail")).toString();
        if (!detail.isEmpty())
            out() << "  " << detail;
        out() << '\n';
    }
    out().flush();
    return LVCommandLine::Success;
}

int report(const QList<LVHeadlessSession::Result>& results, bool json)
{
    bool failed = false;
    for (const LVHeadlessSession::Result& result : results) {
        failed = failed || result.outcome == QLatin1String("failed");
        if (json) {
            QJsonObject object{{QStringLiteral("id"), result.productID},
                               {QStringLiteral("title"), result.title},
                               {QStringLiteral("action"), result.action},
                               {QStringLiteral("outcome"), result.outcome},
                               {QStringLiteral("version"), result.version}};
            if (!result.detail.isEmpty())
                object.insert(QStringLiteral("detail"), result.detail);
            printJson(object);
            continue;
        }
        out() << result.productID << "  " << result.action << " " << result.version << "  " << result.outcome;
        if (!result.detail.isEmpty())
            out() << "  " << result.detail;
        out() << '\n';
    }
    out().flush();
    return failed ? LVCommandLine::ActionFailed : LVCommandLine::Success;
}

// Administrator consent: granted unasked with --yes where the platform lets us decide (an emulated
// system root), asked on the terminal when there is one, refused otherwise. With the real root the
// platform asks by itself (polkit) and ignores this.
void installConsent(bool yes)
{
    StandardStreams& streams = Platform::standardStreams();
    const bool ask = !yes && streams.inputIsTerminal();
    Platform::privilegedExecution().setConsentProvider([yes, ask](const QString& right) {
        if (yes)
            return static_cast<int>(PrivilegedExecution::Success);
        if (!ask)
            return static_cast<int>(PrivilegedExecution::Denied);
        err() << "Allow administrator rights (" << right << ") to change plug-ins? [y/N] ";
        err().flush();
        QTextStream in(stdin);
        const QString answer = in.readLine().trimmed().toLower();
        return static_cast<int>(answer == QLatin1String("y") || answer == QLatin1String("yes")
                                    ? PrivilegedExecution::Success
                                    : PrivilegedExecution::Canceled);
    });
}

} // namespace

bool LVCommandLine::isCommand(const QStringList& arguments)
{
    // The window takes no arguments of its own: anything else is a command, or a usage error
    // that the command line reports (a typo must not start a window, nor fail without a display).
    return !ownArguments(arguments).isEmpty();
}

int LVCommandLine::run(const QStringList& arguments)
{
    // A run stopped by a signal leaves no partial download behind.
    InterruptCleanup::install();
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Lumivane Manager without a window. Exit status: 0 done (or, "
                                                    "for --check, everything current), 1 an action failed, 2 bad "
                                                    "usage, 3 catalogue unavailable, 4 another copy is busy, 5 "
                                                    "updates available (--check)."));
    parser.addHelpOption();
    parser.addOptions({
        {QStringLiteral("list"), QStringLiteral("List every product and bundle with its status.")},
        {QStringLiteral("check"), QStringLiteral("List what has an update; exit status 5 when something has.")},
        {QStringLiteral("install"), QStringLiteral("Install products or bundles (ID or ID@VERSION).")},
        {QStringLiteral("update-all"), QStringLiteral("Update every installed product that has an update.")},
        {QStringLiteral("uninstall"), QStringLiteral("Uninstall products or bundles.")},
        {QStringLiteral("history"), QStringLiteral("Print the record of installs and uninstalls.")},
        {QStringLiteral("apply"),
         QStringLiteral("Make this machine match a desired-state file (JSON object or property list: ID -> "
                        "\"latest\", a version or \"absent\")."),
         QStringLiteral("FILE")},
        {QStringLiteral("dry-run"), QStringLiteral("With --apply: only print the plan (exit status 5 when it changes "
                                                   "something).")},
        {QStringLiteral("mirror"),
         QStringLiteral("Write or refresh a mirror of the catalogue, its packages and files that a web server can "
                        "serve."),
         QStringLiteral("DIR")},
        {QStringLiteral("base-url"),
         QStringLiteral("With --mirror: the address the mirror is served at (default: paths on the server override)."),
         QStringLiteral("URL")},
        {QStringLiteral("all-versions"),
         QStringLiteral("With --mirror: every version's package, not only the latest.")},
        {QStringLiteral("json"), QStringLiteral("One JSON object per line instead of text.")},
        {QStringLiteral("yes"), QStringLiteral("Grant the administrator step unasked where the platform allows.")},
        {QStringLiteral("catalogue"), QStringLiteral("Use this catalogue file or URL."), QStringLiteral("FILE|URL")},
    });
    parser.addPositionalArgument(QStringLiteral("IDs"),
                                 QStringLiteral("Product or bundle IDs for --install and --uninstall."));
    // A usage error names what is wrong, then lists the commands.
    const auto usageError = [&parser](const QString& message) {
        err() << message << "\n\n" << parser.helpText();
        err().flush();
        return UsageError;
    };
    if (!parser.parse(QStringList{arguments.value(0)} + ownArguments(arguments)))
        return usageError(parser.errorText());
    if (parser.isSet(QStringLiteral("help"))) {
        out() << parser.helpText();
        return Success;
    }
    const bool json = parser.isSet(QStringLiteral("json"));
    // "--mirror --all-versions" would take the next option for the folder.
    for (const QString& option : parser.optionNames()) {
        if (parser.value(option).startsWith(QLatin1String("--")))
            return usageError(
                QStringLiteral("--%1 needs a value, not the option %2.").arg(option, parser.value(option)));
    }
    int commands = 0;
    for (const QString& option : commandOptions)
        commands += parser.isSet(option) ? 1 : 0;
    if (commands != 1)
        return usageError(QStringLiteral("Give exactly one of --list, --check, --install, --update-all, --uninstall, "
                                         "--history, --apply, --mirror."));
    const bool applying = parser.isSet(QStringLiteral("apply"));
    const bool mirroring = parser.isSet(QStringLiteral("mirror"));
    if (parser.isSet(QStringLiteral("dry-run")) && !applying)
        return usageError(QStringLiteral("--dry-run goes with --apply."));
    if ((parser.isSet(QStringLiteral("base-url")) || parser.isSet(QStringLiteral("all-versions"))) && !mirroring)
        return usageError(QStringLiteral("--base-url and --all-versions go with --mirror."));
    const QUrl baseURL(parser.value(QStringLiteral("base-url")), QUrl::StrictMode);
    if (parser.isSet(QStringLiteral("base-url")) &&
        (!baseURL.isValid() || baseURL.host().isEmpty() ||
         (baseURL.scheme() != QLatin1String("http") && baseURL.scheme() != QLatin1String("https"))))
        return usageError(QStringLiteral("Not an http or https address: %1").arg(parser.value("base-url")));
    // The desired state is read before anything else, so that a bad file costs nothing.
    QVariantMap desired;
    if (applying) {
        QString fileError;
        desired = LVApplyPlan::readFile(parser.value(QStringLiteral("apply")), &fileError);
        if (!fileError.isEmpty()) {
            err() << fileError << '\n';
            return UsageError;
        }
    }
    const QStringList ids = parser.positionalArguments();
    const bool takesIDs = parser.isSet(QStringLiteral("install")) || parser.isSet(QStringLiteral("uninstall"));
    if (!takesIDs && !ids.isEmpty())
        return usageError(QStringLiteral("Unexpected argument: %1").arg(ids.first()));
    if (parser.isSet(QStringLiteral("history")))
        return history(json);

    const bool changes = takesIDs || parser.isSet(QStringLiteral("update-all"));
    if (takesIDs && ids.isEmpty()) {
        err() << "Name at least one product or bundle ID.\n";
        return UsageError;
    }

    QString error;
    const QByteArray data = loadCatalogueData(parser.value(QStringLiteral("catalogue")), &error);
    if (data.isNull()) {
        err() << error << '\n';
        return CatalogueUnavailable;
    }
    const VMCatalogue catalogue = VMCatalogue::initWithData(data);
    if (!catalogue.isValid() || !catalogue.productsCollection()) {
        err() << "The catalogue holds no products"
              << (catalogue.errorDescription().isEmpty() ? QString()
                                                         : QStringLiteral(": ") + catalogue.errorDescription())
              << '\n';
        return CatalogueUnavailable;
    }
    if (mirroring)
        return LVStudioCommands::mirror(data, parser.value(QStringLiteral("mirror")), baseURL,
                                        parser.isSet(QStringLiteral("all-versions")), json);
    const VMProductsCollection& collection = *catalogue.productsCollection();
    if (applying) {
        QString planError;
        const QList<LVApplyPlan::Step> steps =
            LVApplyPlan::make(desired, collection, &LVHeadlessSession::detectInstalledVersion, &planError);
        if (!planError.isEmpty()) {
            err() << LVApplyPlan::shown(parser.value(QStringLiteral("apply"))) << ": " << planError << '\n';
            return UsageError;
        }
        installConsent(parser.isSet(QStringLiteral("yes")));
        return LVStudioCommands::apply(steps, parser.isSet(QStringLiteral("dry-run")), json);
    }

    if (parser.isSet(QStringLiteral("list")))
        return list(collection, json);
    if (parser.isSet(QStringLiteral("check")))
        return check(collection, json);

    // Resolve the IDs before taking the lock, so that a typo costs nothing.
    QList<LVHeadlessSession::Target> targets;
    for (const QString& argument : ids) {
        const QString id = argument.section(QLatin1Char('@'), 0, 0);
        const QString version = argument.contains(QLatin1Char('@')) ? argument.section(QLatin1Char('@'), 1) : QString();
        if (argument.contains(QLatin1Char('@')) && version.isEmpty()) {
            err() << "'" << LVApplyPlan::shown(argument) << "' names no version after '@'.\n";
            return UsageError;
        }
        const QList<VMProductItemPtr> found = collection.productItemsWithProductIDs({id});
        if (found.isEmpty()) {
            err() << "No product or bundle with the ID '" << LVApplyPlan::shown(id) << "' in the catalogue.\n";
            return UsageError;
        }
        QList<VMSingleProductItemPtr> products;
        if (auto bundle = std::dynamic_pointer_cast<VMBundleProductItem>(found.first())) {
            if (!version.isEmpty()) {
                err() << "A bundle has no versions to choose from: '" << argument << "'.\n";
                return UsageError;
            }
            products = collection.bundleMembers(*bundle);
        } else if (auto single = std::dynamic_pointer_cast<VMSingleProductItem>(found.first())) {
            products = {single};
        }
        for (const VMSingleProductItemPtr& product : products) {
            VMVersionItemPtr versionItem =
                version.isEmpty() ? product->latestVersionItem() : LVApplyPlan::exactVersion(*product, version);
            if (!versionItem) {
                err() << "'" << product->productID() << "' has no version "
                      << (version.isEmpty() ? QStringLiteral("at all") : LVApplyPlan::shown(version)) << ".\n";
                return UsageError;
            }
            targets.append({product, versionItem});
        }
    }

    LVOperationLock lock;
    if (changes && !lock.tryLock(&error)) {
        err() << error << '\n';
        return Locked;
    }
    // A download folder that is not the user's own is refused before anything is fetched.
    if (changes && LVDownloadFolder::path(&error).isEmpty()) {
        err() << error << '\n';
        return ActionFailed;
    }
    installConsent(parser.isSet(QStringLiteral("yes")));

    LVHeadlessSession session;
    const bool terminal = Platform::standardStreams().outputIsTerminal() && !json;
    if (terminal) {
        session.setProgressHandler([](const VMSingleProductItem& product, const QString& progress) {
            out() << "\r\033[K" << product.title() << ": " << progress;
            out().flush();
        });
    }
    const auto finishProgress = [terminal] {
        if (terminal) {
            out() << "\r\033[K";
            out().flush();
        }
    };

    if (parser.isSet(QStringLiteral("uninstall"))) {
        QList<VMSingleProductItemPtr> products;
        for (const LVHeadlessSession::Target& target : std::as_const(targets))
            products.append(target.product);
        return report(session.uninstall(products), json);
    }
    if (parser.isSet(QStringLiteral("update-all"))) {
        targets.clear();
        for (const VMSingleProductItemPtr& product : outdatedProducts(collection))
            targets.append({product, product->latestVersionItem()});
        if (targets.isEmpty()) {
            if (!json)
                out() << "Everything installed is up to date.\n";
            return Success;
        }
    }
    const QList<LVHeadlessSession::Result> results = session.install(targets);
    finishProgress();
    return report(results, json);
}
