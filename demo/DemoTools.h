#pragma once

#include <QString>

// What the tools tab needs from the demo: the two total-uninstall scripts and the diagnostic tool
// on the download server, and a stray copy of a plug-in application for the search to find.
namespace DemoTools {

// Writes "VM_installers/uninstallers/TotalRemoveAllProducts.bash", ".../TotalRemoveAllFxPlug3.bash"
// (scripts that remove the plug-in wrappers from `systemRoot` and print "0") and
// "VM_installers/LV_GatherDiagnostics.app.zip" under the site folder.
bool writeToolFiles(const QString& siteFolder, const QString& systemRoot);

// Puts an old copy of a plug-in application under "Users/Shared/Old Installers" in the system
// root, unless one is there already.
bool placeStrayCopy(const QString& systemRoot);

// Writes the emulated Mac's version file (macOS 13.6) unless the root has one.
bool ensureSystemVersion(const QString& systemRoot);

} // namespace DemoTools
