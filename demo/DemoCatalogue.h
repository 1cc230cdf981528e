#pragma once

#include <QDateTime>
#include <QString>
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

// Writes the update feed "VM_installers/sparkle/lv_manager_cast_1.xml" and the archive of a newer
// demo version it announces, signed with `privateKey` (base64 Ed25519).
bool writeUpdate(const QString& folder, const QUrl& baseURL, const QByteArray& privateKey);

} // namespace DemoCatalogue
