#pragma once

#include <QString>
#include <QStringList>

// Where the command-line tools that the system runs are.
class CommandLineTools
{
public:
    virtual ~CommandLineTools() = default;
    virtual QString installerPath() const { return QStringLiteral("/usr/sbin/installer"); }
    virtual QString pluginkitPath() const { return QStringLiteral("/usr/bin/pluginkit"); }
    virtual QString shellPath() const { return QStringLiteral("/bin/sh"); }
    // A program (with its arguments) that prints the hex SHA-256 of its standard input first.
    virtual QStringList sha256Command() const
    {
        return {QStringLiteral("/usr/bin/shasum"), QStringLiteral("-a"), QStringLiteral("256")};
    }
};
