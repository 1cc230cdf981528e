#pragma once

#include <QSet>
#include <QString>

#include <functional>

// Installs flat packages into the system root the way the Mac's installer does, printing the
// same "installer: …" lines: a component package, or a product archive's components in the order
// of its choices, each with its own receipt, each with its preinstall and postinstall scripts run
// around its payload. Nothing is ever written outside the install location: every payload entry is
// checked before anything is extracted, and libarchive's own guards stay on while it is.
class PackageInstaller
{
public:
    using Printer = std::function<void(const QString& line)>;
    explicit PackageInstaller(Printer print);

    // Installs `packagePath` onto `target` ("/", "CurrentUserHomeDirectory" or a volume path) and
    // returns the process exit code (0 on success).
    int install(const QString& packagePath, const QString& target);

    // Why a payload entry may not be extracted; a null string when it may. `name` is the entry's
    // path, `linkTarget` the target of a symbolic link (null otherwise).
    static QString entryProblem(const QString& name, const QString& linkTarget);
    // The entry's path inside the install location, "./"s and empty parts dropped ("" for the top).
    static QString relativePath(const QString& name);

private:
    int fail(const QString& message);
    QString targetDirectory(const QString& target, QString* basePath) const;
    QString receiptPath(const class FlatPackage& package, const QString& target, const QString& targetDir) const;
    // Installs one component; a null string on success, else why it failed.
    QString installComponent(const FlatPackage& package, const QString& packagePath, const QString& target,
                             const QString& targetDir) const;
    QString runScript(const QString& folder, const QString& name, const QStringList& arguments) const;
    QString checkEntries(const FlatPackage& package, const QString& destination) const;
    QString extract(const FlatPackage& package, const QString& destination) const;
    bool writeReceipt(const FlatPackage& package, const QString& receiptPath, const QString& packagePath,
                      QString* error) const;

    Printer _print;
};
