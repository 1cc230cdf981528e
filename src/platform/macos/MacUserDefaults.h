#pragma once

#include <QString>

class QSettings;

// The application's user defaults on a Mac: the defaults domain of its bundle identifier, so that
// the settings a Mac user already has ("LVLicenseAgreementURL", the "LVPrefs" keys,
// "showDiscontinuedProducts") are the ones read.
namespace MacUserDefaults {

// QSettings makes a Mac's defaults domain of the reversed organization domain, a dot and the
// application name: "com.quarnet.Lumivane-Manager" → "quarnet.com" and "Lumivane-Manager".
QString organizationDomain(const QString& bundleIdentifier);
QString applicationName(const QString& bundleIdentifier);

// The native settings of that domain; the caller owns them.
QSettings* open(const QString& bundleIdentifier);

} // namespace MacUserDefaults
