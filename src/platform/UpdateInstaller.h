#pragma once

#include <QString>

// What becomes of an update archive once its signature is verified. The plain default leaves it to
// the user (the updater saves and reveals it); on a Mac it replaces the running application.
class UpdateInstaller
{
public:
    virtual ~UpdateInstaller() = default;
    // Whether install() replaces the running application.
    virtual bool replacesApplication() const { return false; }
    // Installs the archive and starts the new application once this one has quit; the caller then
    // quits. On failure nothing is replaced and `reason` (if given) tells the user why.
    virtual bool install(const QString& /*archivePath*/, QString* reason)
    {
        if (reason)
            *reason = QStringLiteral("This system does not install updates by itself.");
        return false;
    }
};

#include <memory>

namespace Platform {
// The installer of verified updates (replaceable by tests; Platform::reset() puts it back).
UpdateInstaller& updateInstaller();
void setUpdateInstaller(std::shared_ptr<UpdateInstaller>);
} // namespace Platform

namespace NativePlatform {
std::shared_ptr<UpdateInstaller> createUpdateInstaller();
}
