// Builds a flat package from a folder: lv-pkgbuild --root DIR --identifier ID [--version V]
// [--install-location PATH] [--scripts DIR] [--product [--title TITLE]] OUT.pkg
#include "PackageBuilder.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char* argv[])
{
    QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Builds a flat component package from a folder."));
    parser.addHelpOption();
    const QCommandLineOption root(QStringLiteral("root"), QStringLiteral("Folder whose contents are installed."),
                                  QStringLiteral("dir"));
    const QCommandLineOption identifier(QStringLiteral("identifier"), QStringLiteral("Package identifier."),
                                        QStringLiteral("id"));
    const QCommandLineOption version(QStringLiteral("version"), QStringLiteral("Package version."),
                                     QStringLiteral("version"), QStringLiteral("1.0"));
    const QCommandLineOption location(QStringLiteral("install-location"),
                                      QStringLiteral("Where the contents land on the target."), QStringLiteral("path"),
                                      QStringLiteral("/"));
    const QCommandLineOption scripts(QStringLiteral("scripts"),
                                     QStringLiteral("Folder with the preinstall and postinstall scripts."),
                                     QStringLiteral("dir"));
    const QCommandLineOption product(QStringLiteral("product"),
                                     QStringLiteral("Write a product archive (a Distribution and the component)."));
    const QCommandLineOption title(QStringLiteral("title"), QStringLiteral("The product archive's title."),
                                   QStringLiteral("title"));
    parser.addOptions({root, identifier, version, location, scripts, product, title});
    parser.addPositionalArgument(QStringLiteral("package"), QStringLiteral("The .pkg file to write."));
    parser.process(application);

    QTextStream err(stderr);
    if (!parser.isSet(root) || !parser.isSet(identifier) || parser.positionalArguments().size() != 1) {
        err << parser.helpText();
        return 1;
    }
    PackageBuilder builder;
    builder.root = parser.value(root);
    builder.identifier = parser.value(identifier);
    builder.version = parser.value(version);
    builder.installLocation = parser.value(location);
    builder.scripts = parser.value(scripts);
    builder.product = parser.isSet(product);
    builder.title = parser.value(title);
    const QString output = parser.positionalArguments().constFirst();
    QString error;
    if (!builder.build(output, &error)) {
        err << "lv-pkgbuild: error: " << error << Qt::endl;
        return 1;
    }
    QTextStream(stdout) << "lv-pkgbuild: Wrote package to " << output << Qt::endl;
    return 0;
}
