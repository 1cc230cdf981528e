#include "VMInstalledVersions.h"

#include "catalogue/VMUtils.h"
#include "foundation/VMLog.h"
#include "foundation/VMPropertyList.h"
#include "platform/Platform.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QMutex>
#include <QMutexLocker>
#include <QProcess>

#include <atomic>
#include <memory>

namespace {

// Where each plug-in identifier lives in one wrapper folder, read in one go: a cold pass over many
// products lists the folder once instead of once per identifier.
struct WrapperIndex
{
    QString folder;
    qint64 folderStamp = -1;       // the folder's modification time when it was read
    QHash<QString, QString> paths; // identifier -> the first plug-in with it, in listing order
};

// The process-wide cache: plug-in bundle identifier -> installed-versions table, and the wrapper
// index it was built from; both go when the cache is cleared.
struct BundleVersionCache
{
    QMutex lock;
    QHash<QString, QVariantMap> tables;
    std::shared_ptr<const WrapperIndex> index;
    quint64 generation = 0; // bumped by every clearing, so an index read before one is not kept
};

BundleVersionCache& cache()
{
    static BundleVersionCache instance;
    return instance;
}

std::atomic<quint64> g_fileSystemAccesses{0};

// What an Objective-C format prints for a string argument: "(null)" for nil.
QString described(const QString& text)
{
    return text.isNull() ? QStringLiteral("(null)") : text;
}

// A bundle "opens" where there is a folder; its information dictionary is Contents/Info.plist.
bool bundleOpens(const QString& path)
{
    return QFileInfo(path).isDir();
}

QVariant infoDictionary(const QString& bundlePath)
{
    ++g_fileSystemAccesses;
    return VMPropertyList::fromFile(bundlePath + QStringLiteral("/Contents/Info.plist"));
}

QString bundleIdentifierAt(const QString& bundlePath)
{
    const QVariant info = infoDictionary(bundlePath);
    if (info.typeId() != QMetaType::QVariantMap)
        return QString();
    const QVariant identifier = info.toMap().value(QStringLiteral("CFBundleIdentifier"));
    return identifier.typeId() == QMetaType::QString ? identifier.toString() : QString();
}

QStringList listFolder(const QString& path, bool* ok)
{
    ++g_fileSystemAccesses;
    QDir dir(path);
    *ok = dir.exists() && QFileInfo(path).isReadable();
    if (!*ok)
        return {};
    return dir.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
}

qint64 folderStamp(const QString& folder)
{
    ++g_fileSystemAccesses;
    const QFileInfo info(folder);
    return info.exists() ? info.fileTime(QFileDevice::FileModificationTime).toMSecsSinceEpoch() : -1;
}

// Visits every plug-in ("pluginkit" extension) of every wrapper in `folder`, in listing order,
// until `visit` answers true. False when the folder can't be listed.
template <typename Visit> bool forEachPlugIn(const QString& folder, Visit visit)
{
    bool listed = false;
    const QStringList wrappers = listFolder(folder, &listed);
    if (!listed)
        return false;
    const QDir dir(folder);
    for (const QString& wrapper : wrappers) {
        const QString wrapperPath = dir.filePath(wrapper);
        if (!bundleOpens(wrapperPath))
            continue;
        const QString plugInsPath = wrapperPath + QStringLiteral("/Contents/PlugIns");
        bool plugInsListed = false;
        const QStringList plugIns = listFolder(plugInsPath, &plugInsListed);
        for (const QString& plugIn : plugIns) {
            if (QFileInfo(plugIn).suffix() != QLatin1String("pluginkit"))
                continue;
            const QString plugInPath = plugInsPath + QLatin1Char('/') + plugIn;
            if (bundleOpens(plugInPath) && visit(plugInPath))
                return true;
        }
    }
    return true;
}

QString wrapperFolder()
{
    const QString applications = Platform::systemInfo().localApplicationsDirectory();
    if (applications.isEmpty())
        return QString();
    return QDir(applications).filePath(QStringLiteral("Lumivane"));
}

std::shared_ptr<const WrapperIndex> readWrapperIndex(const QString& folder)
{
    auto index = std::make_shared<WrapperIndex>();
    index->folder = folder;
    index->folderStamp = folderStamp(folder);
    forEachPlugIn(folder, [&](const QString& plugInPath) {
        const QString identifier = bundleIdentifierAt(plugInPath);
        if (!identifier.isNull() && !index->paths.contains(identifier))
            index->paths.insert(identifier, plugInPath);
        return false;
    });
    return index;
}

// The index of `folder`: the cached one, or one read now (outside the lock) when there is none,
// it is of another folder, or `stale` is it.
std::shared_ptr<const WrapperIndex> wrapperIndex(const QString& folder, const WrapperIndex* stale = nullptr)
{
    quint64 generation = 0;
    {
        QMutexLocker locker(&cache().lock);
        const auto& cached = cache().index;
        if (cached && cached->folder == folder && cached.get() != stale)
            return cached;
        generation = cache().generation;
    }
    auto index = readWrapperIndex(folder);
    QMutexLocker locker(&cache().lock);
    if (cache().generation == generation)
        cache().index = index;
    return index;
}

// Where the plug-in with `identifier` is, through the wrapper index, and its information
// dictionary. A wrapper added since the index was read (the folder changed) or a plug-in that is
// no longer where the index says gets the folder read again.
QString locatePlugIn(const QString& identifier, QVariant* info)
{
    const QString folder = wrapperFolder();
    if (folder.isNull())
        return QString();
    auto index = wrapperIndex(folder);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const QString path = index->paths.value(identifier);
        if (path.isNull()) {
            if (attempt > 0 || folderStamp(folder) == index->folderStamp)
                return QString();
        } else if (bundleOpens(path)) {
            *info = infoDictionary(path);
            const QVariant found = info->toMap().value(QStringLiteral("CFBundleIdentifier"));
            if (attempt > 0 || (found.typeId() == QMetaType::QString && found.toString() == identifier))
                return path;
        } else if (attempt > 0) {
            return QString();
        }
        index = wrapperIndex(folder, index.get());
    }
    return QString();
}

// Runs the plug-in registry tool and reads its output to the end. A tool that can't be started
// leaves empty output.
QByteArray runPluginkit(const QStringList& arguments)
{
    QProcess task;
    task.setProgram(Platform::commandLineTools().pluginkitPath());
    task.setArguments(arguments);
    task.setStandardInputFile(QProcess::nullDevice());
    task.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    task.start();
    if (!task.waitForStarted(-1))
        return QByteArray();
    task.waitForFinished(-1);
    const QByteArray output = task.readAllStandardOutput();
    task.terminate();
    return output;
}

QString tableAnswer(const std::optional<QVariantMap>& table, const QString& productID)
{
    if (!table)
        return QString();
    if (!productID.isNull()) {
        const QVariant version = table->value(productID);
        if (version.typeId() == QMetaType::QString)
            return version.toString();
    }
    const QVariant xpcVersion = table->value(QLatin1String(VMInstalledVersions::xpcVersionKey));
    return xpcVersion.typeId() == QMetaType::QString ? xpcVersion.toString() : QString();
}

// The directory test shared by product and version checks: true when the look-up may go on.
bool checkDirectory(const QString& identifier, const QString& directory)
{
    const bool found = VMUtils::checkInstallDirectory(directory);
    VMLog::logExtended(VMLogger::Message, QStringLiteral("Install Directory %1: %2, %3")
                                              .arg(found ? QStringLiteral("found") : QStringLiteral("NOT found"),
                                                   described(identifier), described(directory)));
    return found;
}

QString lookUp(const QString& productID, const QString& identifier)
{
    const QString version = tableAnswer(VMInstalledVersions::checkProductVersionsInBundle(identifier), productID);
    if (!version.isNull())
        VMLog::logExtended(VMLogger::Message,
                           QStringLiteral("Installed Version found: %1, %2").arg(described(identifier), version));
    else
        VMLog::logExtended(VMLogger::Warning,
                           QStringLiteral("No Installed Version found: '%1'").arg(described(identifier)));
    return version;
}

} // namespace

std::optional<QVariantMap> VMInstalledVersions::checkProductVersionsInBundle(const QString& bundleIdentifier)
{
    if (bundleIdentifier.isEmpty())
        return std::nullopt;
    {
        QMutexLocker locker(&cache().lock);
        const auto cached = cache().tables.constFind(bundleIdentifier);
        if (cached != cache().tables.constEnd())
            return *cached;
    }

    // Built outside the lock: two threads missing together both build it and the later store wins.
    QVariantMap table;
    QVariant info;
    const QString path = locatePlugIn(bundleIdentifier, &info);
    if (!path.isNull()) {
        const QVariantMap infoMap = info.toMap();
        do {
            const auto bundleVersion = infoMap.constFind(QLatin1String(bundleVersionKey));
            if (bundleVersion != infoMap.constEnd()) {
                if (bundleVersion->typeId() != QMetaType::QString) {
                    VM_LOG_MESSAGE(
                        QStringLiteral("%1 of %2 is not a string").arg(QLatin1String(bundleVersionKey), path));
                    break;
                }
                const QStringList pieces = bundleVersion->toString().split(QStringLiteral(" ("));
                if (!pieces.isEmpty())
                    table.insert(QLatin1String(xpcVersionKey), pieces.first());
            }
            const auto productVersions = infoMap.constFind(QLatin1String(productVersionsKey));
            if (productVersions != infoMap.constEnd()) {
                if (productVersions->typeId() != QMetaType::QVariantMap) {
                    VM_LOG_MESSAGE(
                        QStringLiteral("%1 of %2 is not a dictionary").arg(QLatin1String(productVersionsKey), path));
                    break;
                }
                table.insert(productVersions->toMap());
            }
        } while (false);
    }

    QMutexLocker locker(&cache().lock);
    cache().tables.insert(bundleIdentifier, table);
    return table;
}

QString VMInstalledVersions::filePathToBundle(const QString& bundleIdentifier)
{
    const QString folder = wrapperFolder();
    return folder.isNull() ? QString() : findXPCBunde(bundleIdentifier, folder);
}

QString VMInstalledVersions::findXPCBunde(const QString& bundleIdentifier, const QString& folder)
{
    if (bundleIdentifier.isNull() || folder.isNull())
        return QString();
    QString found;
    forEachPlugIn(folder, [&](const QString& plugInPath) {
        if (bundleIdentifierAt(plugInPath) != bundleIdentifier)
            return false;
        found = plugInPath;
        return true;
    });
    return found;
}

QString VMInstalledVersions::filePathToXPCBundleUsingPluginKit(const QString& bundleIdentifier)
{
    if (bundleIdentifier.isEmpty())
        return QString();
    const QString output = decodeNonLossyASCII(
        runPluginkit({QStringLiteral("-m"), QStringLiteral("-v"), QStringLiteral("-i"), bundleIdentifier}));
    VMLog::logExtended(
        VMLogger::Message,
        QStringLiteral("Check Installed: %1 result: %2").arg(described(bundleIdentifier), described(output)));
    if (output.isNull())
        return QString();
    // The verbose listing ends with the plug-in's path after the last tab.
    const QString lastField = output.split(QLatin1Char('\t')).last();
    return lastField.split(QLatin1Char('\n')).first();
}

bool VMInstalledVersions::registerPluginkitBundle(const QString& path)
{
    if (path.isEmpty())
        return false;
    const QString output = decodeNonLossyASCII(runPluginkit({QStringLiteral("-a"), path}));
    VMLog::logExtended(
        VMLogger::Message,
        QStringLiteral("Register with Pluginkit: %1 result: %2").arg(described(path), described(output)));
    return false;
}

void VMInstalledVersions::clearBundleIdentifierCache()
{
    QMutexLocker locker(&cache().lock);
    cache().tables.clear();
    cache().index.reset();
    ++cache().generation;
}

QString VMInstalledVersions::installedVersionForProduct(const QString& productID, const QString& identifier,
                                                        const QString& directory)
{
    if (!directory.isNull() && !checkDirectory(identifier, directory))
        return QString();
    return lookUp(productID, identifier);
}

QString VMInstalledVersions::installedVersionForVersion(const QString& productID, const QString& versionIdentifier,
                                                        const QString& versionDirectory,
                                                        const QString& productIdentifier,
                                                        const QString& productDirectory)
{
    // A version that names neither adds nothing to its product's own check.
    if (versionIdentifier.isNull() && versionDirectory.isNull())
        return QString();
    const QString identifier = versionIdentifier.isNull() ? productIdentifier : versionIdentifier;
    const QString directory = versionDirectory.isNull() ? productDirectory : versionDirectory;
    if (identifier.isNull() || directory.isNull())
        return QString();
    if (!checkDirectory(identifier, directory))
        return QString();
    return lookUp(productID, identifier);
}

QString VMInstalledVersions::newerInstalledVersion(const QString& current, const QString& candidate)
{
    if (candidate.isNull())
        return current;
    if (current.isNull() || VMUtils::compareVersion(candidate, current) == 1)
        return candidate;
    return current;
}

quint64 VMInstalledVersions::fileSystemAccessCount()
{
    return g_fileSystemAccesses.load();
}

QString VMInstalledVersions::decodeNonLossyASCII(const QByteArray& bytes)
{
    QString text;
    text.reserve(bytes.size());
    const auto isOctal = [](char c) { return c >= '0' && c <= '7'; };
    const auto hexValue = [](char c) -> int {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    };
    const qsizetype n = bytes.size();
    for (qsizetype i = 0; i < n; ++i) {
        const char c = bytes.at(i);
        if (static_cast<unsigned char>(c) > 0x7f)
            return QString();
        if (c != '\\') {
            text.append(QLatin1Char(c));
            continue;
        }
        if (i + 1 < n && bytes.at(i + 1) == '\\') {
            text.append(QLatin1Char('\\'));
            ++i;
            continue;
        }
        if (i + 5 < n && bytes.at(i + 1) == 'u') {
            int value = 0;
            bool hex = true;
            for (int k = 2; k <= 5 && hex; ++k) {
                const int digit = hexValue(bytes.at(i + k));
                hex = digit >= 0;
                value = value * 16 + digit;
            }
            if (hex) {
                text.append(QChar(char16_t(value)));
                i += 5;
                continue;
            }
        }
        if (i + 3 < n && isOctal(bytes.at(i + 1)) && isOctal(bytes.at(i + 2)) && isOctal(bytes.at(i + 3))) {
            const int value = (bytes.at(i + 1) - '0') * 64 + (bytes.at(i + 2) - '0') * 8 + (bytes.at(i + 3) - '0');
            text.append(QChar(char16_t(value)));
            i += 3;
            continue;
        }
        text.append(QLatin1Char('\\'));
    }
    return text;
}
