#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QVariantMap>
#include <functional>

// Version numbers, host applications, the machine, temporary files and plug-in wrapper
// applications: the stateless helpers every other part of the system relies on.
class VMUtils
{
public:
    struct VersionInfo
    {
        qint64 major = 0;
        qint64 minor = 0;
        qint64 maintenance = 0;
        bool operator==(const VersionInfo&) const = default;
    };

    enum HostApp { HostAppFinalCutProX = 1, HostAppMotion = 2 };

    static constexpr const char* optionBundleIdentifier = "optionBundleIdentifier";

    VMUtils() = delete;

    static VersionInfo versionInfoFromString(const QString& string);
    static QString versionStringFromInfo(const VersionInfo& info);
    // 1 when a is newer than b, -1 when older, 0 when they are the same version.
    static int compareVersion(const QString& a, const QString& b);
    // The single number behind every version comparison: major × 10000 + minor × 100 + maintenance.
    static qint64 versionNumber(const VersionInfo& info);

    static QString stringForHostApp(qint64 hostApp);

    static bool isArm64();
    static QString checkOSXVersion();
    static QString checkInstalledBundleVersion(const QString& bundleIdentifier);
    static bool checkInstallDirectory(const QString& path);

    // The clock (VMClock). Tests may replace it; a null function restores the real one.
    static QDateTime currentDate();
    static void setCurrentDateProvider(std::function<QDateTime()> provider);

    static QString tempFilePathWithData(const QByteArray& data, const QString& extension);

    static QString wrapperBundleIdentifierForPlugin(const QString& pluginBundleIdentifier);
    static QString pathToWrapperAppForBundleIndentifier(const QString& bundleIdentifier);
    static QString xpcPathForBundleIndentifier(const QString& bundleIdentifier);
    static void launchWrapperApp(const QVariantMap& options);
};
