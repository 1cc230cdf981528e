#pragma once

#include <QString>
#include <QVariantMap>

// The few top-level values the posix services read from property lists on disk
// (Info.plist, SystemVersion.plist). Only strings are needed here.
namespace PosixPlist {
QVariantMap readStrings(const QString& path);
}
