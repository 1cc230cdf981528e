#include "ProductArchive.h"
#include "FlatPackage.h"

#include <QHash>
#include <QUrl>
#include <QXmlStreamReader>

namespace {

// A choice is installed unless its selection says "false": an expression that a script would
// decide counts as selected, as it does for a package installed without a user to ask.
bool selectedByDefault(const QXmlStreamAttributes& choice)
{
    for (const char* name : {"selected", "start_selected"}) {
        if (choice.hasAttribute(QLatin1String(name)))
            return choice.value(QLatin1String(name)).trimmed() != QLatin1String("false");
    }
    return true;
}

} // namespace

ProductArchive::ProductArchive(const QString& path) : _path(path) {}

bool ProductArchive::isProductArchive(const QString& path)
{
    return FlatPackage::memberNames(path, nullptr).contains(QStringLiteral("Distribution"));
}

bool ProductArchive::open(QString* error)
{
    const QByteArray distribution = FlatPackage::readMember(_path, QStringLiteral("Distribution"), error);
    if (distribution.isNull() || !parseDistribution(distribution, error))
        return false;
    const QStringList members = FlatPackage::memberNames(_path, error);
    for (const QString& component : std::as_const(_components)) {
        if (!members.contains(component + QStringLiteral("/PackageInfo"))) {
            if (error)
                *error = QStringLiteral("its component '%1' is missing").arg(component);
            return false;
        }
    }
    return true;
}

bool ProductArchive::parseDistribution(const QByteArray& xml, QString* error)
{
    const auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return false;
    };
    QXmlStreamReader reader(xml);
    if (!reader.readNextStartElement() || reader.name() != QLatin1String("installer-gui-script"))
        return fail(QStringLiteral("its Distribution is not an installer script"));

    QStringList outline;                    // choice IDs, in the order of the outline
    QHash<QString, bool> selected;          // choice ID -> installed by default
    QHash<QString, QStringList> choicePkgs; // choice ID -> pkg-ref IDs
    QHash<QString, QString> pkgPaths;       // pkg-ref ID -> "#Glow.pkg"
    QStringList pkgOrder;                   // pkg-ref IDs with a path, in the order of the script
    QString choice;                         // the choice being read
    bool inOutline = false;
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType token = reader.readNext();
        if (token == QXmlStreamReader::EndElement) {
            if (reader.name() == QLatin1String("choices-outline"))
                inOutline = false;
            else if (reader.name() == QLatin1String("choice"))
                choice.clear();
            continue;
        }
        if (token != QXmlStreamReader::StartElement)
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        const QString id = attributes.value(QLatin1String("id")).toString();
        if (reader.name() == QLatin1String("title")) {
            _title = reader.readElementText().trimmed();
        } else if (reader.name() == QLatin1String("choices-outline")) {
            inOutline = true;
        } else if (reader.name() == QLatin1String("line") && inOutline) {
            outline << attributes.value(QLatin1String("choice")).toString();
        } else if (reader.name() == QLatin1String("choice")) {
            choice = id;
            selected.insert(id, selectedByDefault(attributes));
        } else if (reader.name() == QLatin1String("pkg-ref") && !id.isEmpty()) {
            if (!choice.isEmpty())
                choicePkgs[choice] << id;
            const QString path = reader.readElementText(QXmlStreamReader::SkipChildElements).trimmed();
            if (!path.isEmpty() && !pkgPaths.contains(id)) {
                pkgPaths.insert(id, path);
                pkgOrder << id;
            }
        }
    }
    if (reader.hasError())
        return fail(QStringLiteral("its Distribution is not well-formed (%1)").arg(reader.errorString()));

    QStringList pkgs;
    if (outline.isEmpty()) {
        pkgs = pkgOrder;
    } else {
        for (const QString& id : std::as_const(outline)) {
            if (selected.value(id, true))
                pkgs << choicePkgs.value(id);
        }
    }
    _components.clear();
    for (const QString& pkg : std::as_const(pkgs)) {
        const QString path = pkgPaths.value(pkg);
        if (path.isEmpty())
            return fail(QStringLiteral("its Distribution names the package '%1' without a path").arg(pkg));
        if (!path.startsWith(QLatin1Char('#')))
            return fail(QStringLiteral("its package '%1' is not inside the archive (%2)").arg(pkg, path));
        const QString component = QUrl::fromPercentEncoding(path.mid(1).toUtf8());
        if (component.isEmpty() || component.contains(QLatin1Char('/')) || component.startsWith(QLatin1Char('.')))
            return fail(QStringLiteral("its package path '%1' is not usable").arg(path));
        if (!_components.contains(component))
            _components << component;
    }
    if (_components.isEmpty())
        return fail(QStringLiteral("its Distribution selects no package"));
    return true;
}
