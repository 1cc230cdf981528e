#pragma once

#include <QString>
#include <QStringList>

// The administrator step of a package with an expected digest: as administrator, it copies the
// package into a folder of its own that the user cannot write (made with mktemp -d, mode 0700),
// checks the digest of that copy and installs that copy onto "/", so that nothing can swap the
// package between the check and the install. Paths and digest are arguments, never part of the
// script's text, and the script runs in the C locale.
class LVPrivilegedPackageCheck
{
public:
    // Printed (with the digest found) instead of running the installer when the copy differs.
    static constexpr const char* mismatchMarker = "LVChecksumMismatch";

    // The shell's arguments for installing `package` (expected hex SHA-256 `expected`) onto "/".
    static QStringList shellArguments(const QString& package, const QString& expected);
};
