#pragma once

#include <QString>
#include <QUrl>

// The three hosts the application talks to: the catalogue CDN, the download server and the
// support site. Only the paths on them are fixed; the hosts have built-in defaults and one
// override, the environment variable LV_SERVER_URL or else the user default "LVServerURL",
// which points all three at one base address (the demo and the tests use a server on 127.0.0.1).
class LVServers
{
public:
    LVServers() = delete;

    static constexpr const char* overrideEnvironmentVariable = "LV_SERVER_URL";
    static constexpr const char* overrideDefaultsKey = "LVServerURL";

    static QUrl catalogueBaseURL();
    static QUrl downloadBaseURL();
    static QUrl supportBaseURL();

    // The base address joined with an absolute path ("/VM_installers/...").
    static QUrl catalogueURL(const QString& path);
    static QUrl downloadURL(const QString& path);
    static QUrl supportURL(const QString& path);

    // Where a package URL from the catalogue is fetched from: a path alone ("/VM_installers/...",
    // as a mirror writes it) lies on the download server, and every package goes over plain HTTP.
    // The one resolution for downloading a package and for finding its expected digest.
    static QUrl resolvedPackageURL(const QUrl& catalogueURL);

    // "/VM_installers/Product+Versions.plist" on the catalogue CDN.
    static QUrl remoteCatalogueURL();

    // The override in force, or an empty URL when the built-in hosts are used.
    static QUrl overrideURL();
    // For tests and the demo: takes precedence over the environment and the user default;
    // an empty URL removes it.
    static void setOverrideURL(const QUrl& url);
};
