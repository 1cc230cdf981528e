#pragma once

#include "platform/CommandLineTools.h"

// The project's own `installer` and `pluginkit` stand in for the Mac's. They are looked for in
// LV_TOOLS_DIR, then next to the application, then in the build tree they were made in.
class EmulatedCommandLineTools : public CommandLineTools
{
public:
    QString installerPath() const override;
    QString pluginkitPath() const override;
    QStringList sha256Command() const override;

    static QString toolsDirectory();
};
