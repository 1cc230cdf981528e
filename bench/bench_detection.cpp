// Installed-version detection over a system root holding 500 wrapper applications: the first
// (cold) pass over every product, then a second pass that the bundle-version cache answers.
// Usage: bench_detection [wrapper count]
#include "catalogue/VMInstalledVersions.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMPropertyList.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

namespace {

struct Product
{
    QString productID;
    QString identifier;
};

bool writePlugin(const QString& root, int index, QList<Product>* products)
{
    const QString identifier = QStringLiteral("com.quarnet.FxPlug.Bench%1XPC").arg(index, 3, 10, QLatin1Char('0'));
    const QString contents =
        QStringLiteral("%1/Applications/Lumivane/Bench%2.app/Contents/PlugIns/Bench%2XPC.pluginkit/Contents")
            .arg(root)
            .arg(index, 3, 10, QLatin1Char('0'));
    if (!QDir().mkpath(contents))
        return false;
    QVariantMap info{{QStringLiteral("CFBundleIdentifier"), identifier},
                     {QStringLiteral("CFBundleVersion"), QStringLiteral("2.%1 (%2)").arg(index % 10).arg(index)}};
    // Every third plug-in serves three products of its own; the others one product through "XPC_".
    if (index % 3 == 0) {
        QVariantMap versions;
        for (int k = 0; k < 3; ++k) {
            const QString productID = QStringLiteral("P%1-%2").arg(index).arg(k);
            versions.insert(productID, QStringLiteral("1.%1").arg(k));
            products->append({productID, identifier});
        }
        info.insert(QStringLiteral("Product Versions"), versions);
    } else {
        products->append({QStringLiteral("P%1").arg(index), identifier});
    }
    QFile file(contents + QStringLiteral("/Info.plist"));
    return file.open(QIODevice::WriteOnly) && file.write(VMPropertyList::toXmlData(info)) > 0;
}

struct Pass
{
    qint64 nanoseconds = 0;
    quint64 fileSystemAccesses = 0;
    int found = 0;
    QStringList answers;
};

Pass detectAll(const QList<Product>& products)
{
    Pass pass;
    const quint64 before = VMInstalledVersions::fileSystemAccessCount();
    QElapsedTimer timer;
    timer.start();
    for (const Product& product : products) {
        const QString version =
            VMInstalledVersions::installedVersionForProduct(product.productID, product.identifier, QString());
        pass.answers.append(version);
        if (!version.isNull())
            ++pass.found;
    }
    pass.nanoseconds = timer.nsecsElapsed();
    pass.fileSystemAccesses = VMInstalledVersions::fileSystemAccessCount() - before;
    return pass;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    const int wrappers = argc > 1 ? QString::fromLocal8Bit(argv[1]).toInt() : 500;

    QTemporaryDir dir;
    if (!dir.isValid())
        return 1;
    const QString root = dir.path() + QStringLiteral("/root");
    qputenv("LV_SYSTEM_ROOT", QFile::encodeName(root));
    LVPreferences::setSettingsFile(dir.path() + QStringLiteral("/defaults.ini"));

    QList<Product> products;
    for (int i = 0; i < wrappers; ++i) {
        if (!writePlugin(root, i, &products)) {
            out << "could not write wrapper " << i << Qt::endl;
            return 1;
        }
    }
    VMInstalledVersions::clearBundleIdentifierCache();

    const Pass cold = detectAll(products);
    const Pass cached = detectAll(products);

    // With the wrappers gone from where detection looks, cached answers must not change.
    const QString applications = root + QStringLiteral("/Applications");
    const bool moved = QDir().rename(applications, root + QStringLiteral("/Applications-away"));
    const Pass away = detectAll(products);
    QDir().rename(root + QStringLiteral("/Applications-away"), applications);

    VMInstalledVersions::clearBundleIdentifierCache();
    const Pass cleared = detectAll(products);

    const auto ms = [](qint64 ns) { return QString::number(ns / 1e6, 'f', 2); };
    const auto us = [](qint64 ns, qsizetype n) { return QString::number(n ? ns / 1e3 / n : 0, 'f', 2); };
    out << "wrapper applications: " << wrappers << ", products: " << products.size() << Qt::endl;
    out << "cold pass:    " << ms(cold.nanoseconds) << " ms (" << us(cold.nanoseconds, products.size())
        << " us/product), found " << cold.found << ", file-system accesses " << cold.fileSystemAccesses << Qt::endl;
    out << "cached pass:  " << ms(cached.nanoseconds) << " ms (" << us(cached.nanoseconds, products.size())
        << " us/product), found " << cached.found << ", file-system accesses " << cached.fileSystemAccesses << Qt::endl;
    out << "Applications folder moved away: " << (moved ? "yes" : "NO")
        << ", cached answers unchanged: " << (away.answers == cold.answers ? "yes" : "NO") << ", file-system accesses "
        << away.fileSystemAccesses << Qt::endl;
    out << "after clearing: " << ms(cleared.nanoseconds)
        << " ms, answers equal to the first pass: " << (cleared.answers == cold.answers ? "yes" : "NO") << Qt::endl;

    const bool ok = cold.found == products.size() && cached.fileSystemAccesses == 0 && moved &&
                    away.answers == cold.answers && away.fileSystemAccesses == 0 && cleared.answers == cold.answers;
    return ok ? 0 : 2;
}
