#include "EmulatedCommandLineTools.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

bool holdsTools(const QString& directory)
{
    const QFileInfo installer(directory + QStringLiteral("/installer"));
    return !directory.isEmpty() && installer.isFile() && installer.isExecutable();
}

} // namespace

QString EmulatedCommandLineTools::toolsDirectory()
{
    const QString configured = qEnvironmentVariable("LV_TOOLS_DIR");
    if (!configured.isEmpty())
        return QDir::cleanPath(configured);
    const QString applicationDirectory =
        QCoreApplication::instance() ? QCoreApplication::applicationDirPath() : QString();
    if (holdsTools(applicationDirectory))
        return applicationDirectory;
#ifdef LV_TOOLS_BUILD_DIR
    if (holdsTools(QStringLiteral(LV_TOOLS_BUILD_DIR)))
        return QStringLiteral(LV_TOOLS_BUILD_DIR);
#endif
    return applicationDirectory;
}

QString EmulatedCommandLineTools::installerPath() const
{
    return toolsDirectory() + QStringLiteral("/installer");
}

QString EmulatedCommandLineTools::pluginkitPath() const
{
    return toolsDirectory() + QStringLiteral("/pluginkit");
}

QStringList EmulatedCommandLineTools::sha256Command() const
{
    // Linux has coreutils' tool; elsewhere the Mac's.
    const QString coreutils = QStandardPaths::findExecutable(QStringLiteral("sha256sum"));
    return coreutils.isEmpty() ? CommandLineTools::sha256Command() : QStringList{coreutils};
}
