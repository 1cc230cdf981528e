#pragma once

#include <QString>

// Where the command-line tools that the system runs are.
class CommandLineTools
{
public:
    virtual ~CommandLineTools() = default;
    virtual QString installerPath() const { return QStringLiteral("/usr/sbin/installer"); }
    virtual QString pluginkitPath() const { return QStringLiteral("/usr/bin/pluginkit"); }
    virtual QString shellPath() const { return QStringLiteral("/bin/sh"); }
};
