// How much building the catalogue records costs on top of parsing the property list.
// Generates an XML catalogue of 2,000 products with 10 versions each, then times (best of N)
// libplist's parse of those bytes alone against the full load: parse, convert, build collections.
#include "catalogue/VMCatalogue.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMPropertyList.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTextStream>

#include <plist/plist.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace {

QByteArray generateCatalogue(int productCount, int versionCount)
{
    const QString base = QStringLiteral("https://downloads.lumivane.example/VM_installers/");
    QVariantList products;
    for (int p = 0; p < productCount; ++p) {
        const QString id = QStringLiteral("LVProduct%1").arg(p);
        QVariantList versions;
        for (int v = 0; v < versionCount; ++v) {
            const QString number = QStringLiteral("%1.%2.%3").arg(1 + v / 4).arg(v % 4).arg(v % 3);
            QVariantMap version{
                {QStringLiteral("Product Version"), number},
                {QStringLiteral("Release Date"), QStringLiteral("%1.%2.%3")
                                                     .arg(15 + v, 2, 10, QLatin1Char('0'))
                                                     .arg(1 + v % 12, 2, 10, QLatin1Char('0'))
                                                     .arg(1 + p % 28, 2, 10, QLatin1Char('0'))},
                {QStringLiteral("OSX Version"), QStringLiteral("10.%1").arg(13 + v % 3)},
                {QStringLiteral("Host Versions"),
                 QVariantMap{{QStringLiteral("FCP X"), QStringLiteral("10.4.%1").arg(v)},
                             {QStringLiteral("Motion"), QStringLiteral("5.4.%1").arg(v)}}},
                {QStringLiteral("New Features"), v % 3},
                {QStringLiteral("Bug Fixes"), (v + 1) % 3},
                {QStringLiteral("New Features Description"),
                 QStringLiteral("New looks and faster rendering for %1 %2").arg(id, number)},
                {QStringLiteral("Bug Fixes Description"), QStringLiteral("Fixes a crash when scrubbing in %1").arg(id)},
                {QStringLiteral("Download URL"), base + id + QStringLiteral("-") + number + QStringLiteral(".pkg")},
                {QStringLiteral("Installer Requires Authentication"), v % 2 == 0},
            };
            if (v % 5 == 4)
                version.insert(QStringLiteral("Version Tags"), QStringLiteral("FxPlug3, Metal"));
            if (v % 7 == 6)
                version.insert(QStringLiteral("Internal Comment"), QStringLiteral("beta"));
            versions.append(version);
        }
        // Catalogues are written newest first.
        std::reverse(versions.begin(), versions.end());
        products.append(QVariantMap{
            {QStringLiteral("Product ID"), id},
            {QStringLiteral("Title"), QStringLiteral("Product %1").arg(p)},
            {QStringLiteral("Identifier"), QStringLiteral("com.quarnet.FxPlug.%1XPC").arg(id)},
            {QStringLiteral("Description"),
             QStringLiteral("A video effect that does something remarkable, number %1.").arg(p)},
            {QStringLiteral("Info URL"), QStringLiteral("https://www.lumivane.example/") + id},
            {QStringLiteral("Docs URL"), QStringLiteral("https://www.lumivane.example/docs/") + id},
            {QStringLiteral("Buy URL"), QStringLiteral("https://store.lumivane.example/") + id},
            {QStringLiteral("Download URL"), base + id + QStringLiteral(".pkg")},
            {QStringLiteral("Check Installed Directory"), QStringLiteral("/Applications/Lumivane/%1.app").arg(id)},
            {QStringLiteral("Installer Requires Authentication"), true},
            {QStringLiteral("Icon URL"), base + QStringLiteral("icons/") + id + QStringLiteral(".png")},
            {QStringLiteral("Uninstall Script"), base + QStringLiteral("uninstallers/") + id + QStringLiteral(".bash")},
            {QStringLiteral("Discontinued"), p % 50 == 0},
            {QStringLiteral("Versions"), versions},
        });
    }
    const QVariantMap root{
        {QStringLiteral("Version Number"), 1234},
        {QStringLiteral("License Agreement URL"), QStringLiteral("https://www.lumivane.example/eula.rtf")},
        {QStringLiteral("Products"), QVariantMap{{QStringLiteral("Products"), products}}},
    };
    return VMPropertyList::toXmlData(root);
}

// Best of `runs`: `work` returns what it built, which is destroyed after the clock stops.
template <typename Work> double bestOf(int runs, Work work)
{
    double best = std::numeric_limits<double>::max();
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        [[maybe_unused]] auto result = work();
        best = std::min(best, timer.nsecsElapsed() / 1e6);
    }
    return best;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir settings;
    LVPreferences::setSettingsFile(settings.filePath(QStringLiteral("defaults.ini")));
    const int runs = argc > 1 ? QByteArray(argv[1]).toInt() : 7;

    const QByteArray xml = generateCatalogue(2000, 10);
    QTextStream out(stdout);

    struct PlistTree
    {
        plist_t root = nullptr;
        ~PlistTree() { plist_free(root); }
    };
    const double parseOnly = bestOf(runs, [&xml] {
        auto tree = std::make_unique<PlistTree>();
        plist_from_xml(xml.constData(), static_cast<uint32_t>(xml.size()), &tree->root);
        if (!tree->root)
            qFatal("the generated catalogue does not parse");
        return tree;
    });
    const double parseAndFree = bestOf(runs, [&xml] {
        PlistTree tree;
        plist_from_xml(xml.constData(), static_cast<uint32_t>(xml.size()), &tree.root);
        return 0;
    });
    qsizetype products = 0;
    const double full = bestOf(runs, [&xml, &products] {
        VMCatalogue catalogue = VMCatalogue::initWithData(xml);
        products = catalogue.productsCollection() ? catalogue.productsCollection()->productItems().size() : 0;
        return catalogue;
    });
    if (products != 2000)
        qFatal("built %lld products instead of 2000", static_cast<long long>(products));
    const double convert = bestOf(runs, [&xml] { return VMPropertyList::fromData(xml); });
    const QVariantMap root = VMPropertyList::fromData(xml).toMap();
    const double build = bestOf(runs, [&root] { return VMCatalogue::initWithDict(root); });

    out << "catalogue: 2000 products x 10 versions, " << xml.size() / 1024 << " KiB of XML, best of " << runs
        << " runs\n";
    out << QStringLiteral("libplist parse alone:          %1 ms\n").arg(parseOnly, 0, 'f', 1);
    out << QStringLiteral("libplist parse + free:         %1 ms\n").arg(parseAndFree, 0, 'f', 1);
    out << QStringLiteral("parse + build collections:     %1 ms\n").arg(full, 0, 'f', 1);
    out << QStringLiteral("  of which parse + Qt values:  %1 ms\n").arg(convert, 0, 'f', 1);
    out << QStringLiteral("  of which building records:   %1 ms\n").arg(build, 0, 'f', 1);
    out << QStringLiteral("ratio to parse alone:          %1x (goal <= 2x)\n").arg(full / parseOnly, 0, 'f', 2);
    out << QStringLiteral("ratio to parse + free:         %1x\n").arg(full / parseAndFree, 0, 'f', 2);
    return 0;
}
