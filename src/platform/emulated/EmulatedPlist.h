#pragma once

#include <QString>
#include <QVariantMap>

// The few top-level values the emulated services read from property lists on disk
// (Info.plist, SystemVersion.plist). Only strings are needed here.
namespace EmulatedPlist {
QVariantMap readStrings(const QString& path);
}
