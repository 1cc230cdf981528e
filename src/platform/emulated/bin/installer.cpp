// Installs a flat package into the system root: installer -pkg PATH -target TARGET
#include "PackageInstaller.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>

namespace {

const QStringList kIgnoredFlags = {QStringLiteral("-allowUntrusted"), QStringLiteral("-verbose"),
                                   QStringLiteral("-verboseR"), QStringLiteral("-dumplog"), QStringLiteral("-store")};

int usage(QTextStream& out)
{
    out << "Usage: installer -pkg <pathToPackage> -target <[DevNode, MountPoint, DomainKey]>" << Qt::endl
        << "  -pkg, -package    the package to install" << Qt::endl
        << "  -target, -tgt     \"/\" (the system root), CurrentUserHomeDirectory, or a volume path" << Qt::endl;
    return 1;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    // Everything goes to standard output: that is what an administrator run hands back.
    QTextStream out(stdout);
    QString package;
    QString target;
    const QStringList arguments = application.arguments().mid(1);
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if ((argument == QLatin1String("-pkg") || argument == QLatin1String("-package")) && i + 1 < arguments.size())
            package = arguments.at(++i);
        else if ((argument == QLatin1String("-target") || argument == QLatin1String("-tgt")) &&
                 i + 1 < arguments.size())
            target = arguments.at(++i);
        else if (!kIgnoredFlags.contains(argument))
            return usage(out);
    }
    if (package.isEmpty() || target.isEmpty())
        return usage(out);

    PackageInstaller installer([&out](const QString& line) { out << line << Qt::endl; });
    return installer.install(package, target);
}
