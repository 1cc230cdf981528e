#pragma once

class QSettings;

namespace Platform {
// The application's user defaults where this system keeps them (on a Mac, the defaults domain of
// the bundle identifier); the caller owns them.
QSettings* createUserDefaults();
} // namespace Platform

namespace NativePlatform {
QSettings* createUserDefaults();
}
