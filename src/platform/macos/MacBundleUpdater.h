#pragma once

#include "platform/UpdateInstaller.h"

#include <QStringList>

struct MacProgramResult;

// The programs the updater runs (tests put stand-ins in their place).
struct MacBundleUpdaterPrograms
{
    QString ditto = QStringLiteral("/usr/bin/ditto");
    QString codesign = QStringLiteral("/usr/bin/codesign");
    QString open = QStringLiteral("/usr/bin/open");
    QString shell = QStringLiteral("/bin/sh");
};

// Installs a verified update archive over the running application bundle: unpack it (ditto),
// check the new bundle's code signature and that its signing team is the running bundle's own
// (codesign), swap the two bundles keeping the old one until the new one is in place, then start
// a helper that opens the new bundle once this process has ended. Any failure leaves the running
// bundle where it was and says why.
class MacBundleUpdater : public UpdateInstaller
{
public:
    using Programs = MacBundleUpdaterPrograms;

    MacBundleUpdater(const QString& runningBundle, qint64 runningProcessId, Programs programs = Programs());

    bool replacesApplication() const override { return true; }
    bool install(const QString& archivePath, QString* reason) override;

    // The signing team that `codesign -dv` reports for a bundle; empty when it has none.
    QString teamIdentifier(const QString& bundle) const;

private:
    bool fail(QString* reason, const QString& why) const;
    QString unpackedBundle(const QString& folder) const;
    bool relaunch() const;

    QString _runningBundle;
    qint64 _runningProcessId;
    Programs _programs;
};
