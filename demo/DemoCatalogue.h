#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>
#include <QVariantMap>

// A catalogue of invented products, news and help pages, with the images they point at, laid out
// as the catalogue CDN, download server and support site would serve them. Dates are relative to
// `now` so that the current news stays current.
namespace DemoCatalogue {

// The root dictionary of "Product Versions.plist". `generatedProducts` adds that many plain
// products after the hand-written ones (for load benchmarks).
QVariantMap catalogue(const QUrl& baseURL, const QDateTime& now, int generatedProducts = 0);

// Writes the whole site under `folder`: "VM_installers/Product+Versions.plist", icons, news
// images and the help and news pages. False when something can't be written.
bool writeSite(const QString& folder, const QUrl& baseURL, const QDateTime& now, int generatedProducts = 0);

struct ProductFiles
{
    QString id;           // "LV-PRISM"
    QString title;        // "Prismatic Glow"
    QString name;         // "PrismaticGlow": the wrapper app and its plug-in
    QString identifier;   // the plug-in's bundle identifier
    QStringList versions; // oldest first
};
// The hand-written products, with what their packages install.
QList<ProductFiles> productFiles();
// Where the demo's products install, as on a Mac.
QString wrapperPath(const QString& name);
// The package identifier shared by all of the maker's plug-in installers.
QString packageIdentifier();

} // namespace DemoCatalogue
