#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <utility>

// Real installer packages and uninstall scripts for the demo catalogue's products, made with the
// project's package builder, and the first-run state of the demo's system root.
namespace DemoPackages {

// Writes "VM_installers/<ID>-<version>.pkg" for every version of every hand-written product and
// "VM_installers/uninstallers/<ID>.bash" for every product under `folder`. Each package carries
// `looksBytes` of effect data, so that its download can be watched.
bool writePackages(const QString& folder, QString* error, int looksBytes = 1000 * 1000);

// URL path and file of every package written by writePackages().
QList<std::pair<QByteArray, QString>> packageFiles(const QString& folder);

// Writes the SHA-256 of every package written by writePackages() into the catalogue that
// DemoCatalogue::writeSite() wrote under `folder`, beside each "Download URL" naming one.
bool addChecksums(const QString& folder, QString* error);

// On the first run (no marker in `systemRoot`), installs the older version of one product into it
// with the portable installer, so that an update is on offer. Later runs leave the root alone.
bool seedSystemRoot(const QString& folder, const QString& systemRoot, QString* error);

} // namespace DemoPackages
