#pragma once

#include <QString>
#include <QVariantMap>
#include <optional>

// Which version of a product is installed: read from the plug-in bundles inside the wrapper
// applications in "/Applications/Lumivane", and remembered per plug-in bundle identifier until the
// cache is cleared. Callable from any thread.
class VMInstalledVersions
{
public:
    // The installed-versions table: "XPC_" holds the plug-in's own version, every other key is a
    // product ID whose installed version the plug-in reports.
    static constexpr const char* xpcVersionKey = "XPC_";
    static constexpr const char* productVersionsKey = "Product Versions";
    static constexpr const char* bundleVersionKey = "CFBundleVersion";

    VMInstalledVersions() = delete;

    // The installed-versions table of a plug-in (empty when it isn't installed); nothing for a
    // null or empty identifier. Each caller gets its own copy of the cached table.
    static std::optional<QVariantMap> checkProductVersionsInBundle(const QString& bundleIdentifier);
    static QString filePathToBundle(const QString& bundleIdentifier);
    static QString findXPCBunde(const QString& bundleIdentifier, const QString& folder);
    static QString filePathToXPCBundleUsingPluginKit(const QString& bundleIdentifier);
    // Adds a plug-in to the plug-in registry. Always answers false; callers ignore it.
    static bool registerPluginkitBundle(const QString& path);
    static void clearBundleIdentifierCache();

    // The product-level answer: directory test (when one is set), then the table of `identifier`
    // keyed by `productID`, falling back to "XPC_".
    static QString installedVersionForProduct(const QString& productID, const QString& identifier,
                                              const QString& directory);
    // The answer of one version record that may name its own plug-in and directory; the missing
    // one is taken from its product. Needs both an identifier and a directory.
    static QString installedVersionForVersion(const QString& productID, const QString& versionIdentifier,
                                              const QString& versionDirectory, const QString& productIdentifier,
                                              const QString& productDirectory);
    // `candidate` when it is strictly newer than `current` (or `current` is null), else `current`.
    static QString newerInstalledVersion(const QString& current, const QString& candidate);

    // How many times detection has read the file system (directory listings and information
    // dictionaries) since the process started; for measuring the cache.
    static quint64 fileSystemAccessCount();

    // Text decoded the way the plug-in registry's output is read: ASCII with backslash escapes
    // (\uXXXX, \ooo, \\); null when a byte is not ASCII.
    static QString decodeNonLossyASCII(const QByteArray& bytes);
};
