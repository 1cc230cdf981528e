// The plug-in registry: pluginkit -a PATH... | -r PATH... | -m [-v] [-i IDENTIFIER]
#include "PluginRegistry.h"

#include <QCoreApplication>
#include <QStringList>
#include <QTextStream>

#include <cstdio>

namespace {

int usage(QTextStream& err)
{
    err << "usage: pluginkit -a <path>... | -r <path>... | -m [-v] [-i <identifier>] [-p <protocol>]" << Qt::endl;
    return 64;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QTextStream err(stderr);
    enum { None, Add, Remove, Match } mode = None;
    bool verbose = false;
    QString identifier;
    QStringList paths;
    const QStringList arguments = application.arguments().mid(1);
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("-a"))
            mode = Add;
        else if (argument == QLatin1String("-r"))
            mode = Remove;
        else if (argument == QLatin1String("-m"))
            mode = Match;
        else if (argument == QLatin1String("-v") || argument == QLatin1String("-vv"))
            verbose = true;
        else if (argument == QLatin1String("-i") && i + 1 < arguments.size())
            identifier = arguments.at(++i);
        else if (argument == QLatin1String("-p") && i + 1 < arguments.size())
            ++i; // every plug-in here serves the one protocol
        else if (!argument.startsWith(QLatin1Char('-')))
            paths << argument;
        else
            return usage(err);
    }

    PluginRegistry registry(PluginRegistry::defaultFile());
    switch (mode) {
    case Add:
    case Remove: {
        if (paths.isEmpty())
            return usage(err);
        int status = 0;
        for (const QString& path : paths) {
            QString error;
            if (!(mode == Add ? registry.add(path, &error) : registry.remove(path, &error))) {
                err << "pluginkit: " << error << Qt::endl;
                status = 1;
            }
        }
        return status;
    }
    case Match:
        if (!paths.isEmpty())
            return usage(err);
        for (const PluginRegistry::Plugin& plugin : registry.match(identifier))
            std::fputs((PluginRegistry::nonLossyASCII(PluginRegistry::line(plugin, verbose)) + '\n').constData(),
                       stdout);
        return 0;
    case None:
        break;
    }
    return usage(err);
}
