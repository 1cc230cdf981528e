#pragma once

#include <QString>
#include <QStringList>

// A product archive as productbuild makes it: a "Distribution" script whose choices select
// component packages (pkg-refs), and the components themselves inside the archive
// ("Glow.pkg/PackageInfo", "Glow.pkg/Payload", "Glow.pkg/Scripts").
class ProductArchive
{
public:
    explicit ProductArchive(const QString& path);

    // Whether the file is a xar archive with a Distribution.
    static bool isProductArchive(const QString& path);

    // Reads the Distribution; false (with the reason) when it cannot be installed.
    bool open(QString* error);

    QString title() const { return _title; }
    // The components the default choices select, in the order of the choices outline, each once:
    // the folders of their members ("Glow.pkg").
    QStringList components() const { return _components; }

    // Parses a Distribution script (public for the tests and the fuzz target).
    bool parseDistribution(const QByteArray& xml, QString* error);

private:
    QString _path;
    QString _title;
    QStringList _components;
};
