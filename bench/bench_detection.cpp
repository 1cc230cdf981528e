// Installed-version detection over system roots holding N wrapper applications, for several N:
// the cold pass over every product (median of several, the cache cleared before each), then a
// pass the bundle-version cache answers, with the file-system accesses each made. Prints how the
// cold pass grows with N, and checks the cached answers against the cold ones.
// Usage: bench_detection [wrapper counts...] [--rounds R]     (default: 100 200 400 800, 5 rounds)
#include "catalogue/VMInstalledVersions.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMPropertyList.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>

#include <sys/resource.h>

#include <algorithm>
#include <vector>

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

double cpuMilliseconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1e3 +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e3;
}

struct Pass
{
    qint64 nanoseconds = 0;
    double cpuMs = 0;
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
    const double cpuBefore = cpuMilliseconds();
    for (const Product& product : products) {
        const QString version =
            VMInstalledVersions::installedVersionForProduct(product.productID, product.identifier, QString());
        pass.answers.append(version);
        if (!version.isNull())
            ++pass.found;
    }
    pass.nanoseconds = timer.nsecsElapsed();
    pass.cpuMs = cpuMilliseconds() - cpuBefore;
    pass.fileSystemAccesses = VMInstalledVersions::fileSystemAccessCount() - before;
    return pass;
}

struct SizeResult
{
    int wrappers = 0;
    qsizetype products = 0;
    double coldMs = 0;
    double coldCpuMs = 0;
    quint64 coldAccesses = 0;
    double cachedMs = 0;
    quint64 cachedAccesses = 0;
    bool ok = false;
};

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

SizeResult measure(int wrappers, int rounds, QTextStream& out)
{
    SizeResult result;
    result.wrappers = wrappers;
    QTemporaryDir dir;
    if (!dir.isValid())
        return result;
    const QString root = dir.path() + QStringLiteral("/root");
    qputenv("LV_SYSTEM_ROOT", QFile::encodeName(root));
    QList<Product> products;
    for (int i = 0; i < wrappers; ++i) {
        if (!writePlugin(root, i, &products)) {
            out << "could not write wrapper " << i << Qt::endl;
            return result;
        }
    }
    result.products = products.size();

    std::vector<double> coldTimes, coldCpu;
    Pass cold;
    for (int round = 0; round < rounds; ++round) {
        VMInstalledVersions::clearBundleIdentifierCache();
        cold = detectAll(products);
        coldTimes.push_back(cold.nanoseconds / 1e6);
        coldCpu.push_back(cold.cpuMs);
    }
    const Pass cached = detectAll(products);

    // With the wrappers gone from where detection looks, cached answers must not change.
    const QString applications = root + QStringLiteral("/Applications");
    const bool moved = QDir().rename(applications, root + QStringLiteral("/Applications-away"));
    const Pass away = detectAll(products);
    QDir().rename(root + QStringLiteral("/Applications-away"), applications);
    VMInstalledVersions::clearBundleIdentifierCache();
    const Pass cleared = detectAll(products);
    VMInstalledVersions::clearBundleIdentifierCache();

    result.coldMs = median(coldTimes);
    result.coldCpuMs = median(coldCpu);
    result.coldAccesses = cold.fileSystemAccesses;
    result.cachedMs = cached.nanoseconds / 1e6;
    result.cachedAccesses = cached.fileSystemAccesses;
    result.ok = cold.found == products.size() && cached.answers == cold.answers && cached.fileSystemAccesses == 0 &&
                moved && away.answers == cold.answers && away.fileSystemAccesses == 0 &&
                cleared.answers == cold.answers;
    return result;
}

double loadAverage()
{
    QFile file(QStringLiteral("/proc/loadavg"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(0).toDouble() : -1;
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    std::vector<int> sizes;
    int rounds = 5;
    const QStringList arguments = app.arguments().mid(1);
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        if (arguments.at(i) == QLatin1String("--rounds") && i + 1 < arguments.size())
            rounds = std::max(1, arguments.at(++i).toInt());
        else if (arguments.at(i).toInt() > 0)
            sizes.push_back(arguments.at(i).toInt());
    }
    if (sizes.empty())
        sizes = {100, 200, 400, 800};

    QTemporaryDir settings;
    LVPreferences::setSettingsFile(settings.filePath(QStringLiteral("defaults.ini")));

    out << "load average before: " << loadAverage() << ", cold pass: median of " << rounds << " rounds" << Qt::endl;
    out << QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10")
               .arg(QStringLiteral("wrappers"), 8)
               .arg(QStringLiteral("products"), 8)
               .arg(QStringLiteral("cold ms"), 9)
               .arg(QStringLiteral("cold CPU ms"), 11)
               .arg(QStringLiteral("us/wrap"), 8)
               .arg(QStringLiteral("fs acc."), 8)
               .arg(QStringLiteral("acc/wrap"), 8)
               .arg(QStringLiteral("growth"), 7)
               .arg(QStringLiteral("cached ms"), 9)
               .arg(QStringLiteral("ok"), 3)
        << Qt::endl;
    bool allOk = true;
    const SizeResult* previous = nullptr;
    std::vector<SizeResult> results;
    results.reserve(sizes.size());
    for (int wrappers : sizes) {
        results.push_back(measure(wrappers, rounds, out));
        const SizeResult& r = results.back();
        allOk = allOk && r.ok;
        // Time ratio over size ratio: 1.0 is linear growth, 2.0 quadratic for a doubling.
        const QString growth =
            previous
                ? QString::number((r.coldMs / previous->coldMs) / (double(r.wrappers) / previous->wrappers), 'f', 2)
                : QStringLiteral("-");
        out << QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10")
                   .arg(r.wrappers, 8)
                   .arg(r.products, 8)
                   .arg(r.coldMs, 9, 'f', 2)
                   .arg(r.coldCpuMs, 11, 'f', 2)
                   .arg(r.coldMs * 1000 / std::max(1, r.wrappers), 8, 'f', 1)
                   .arg(r.coldAccesses, 8)
                   .arg(double(r.coldAccesses) / std::max(1, r.wrappers), 8, 'f', 2)
                   .arg(growth, 7)
                   .arg(r.cachedMs, 9, 'f', 2)
                   .arg(r.ok ? QStringLiteral("yes") : QStringLiteral("NO"), 3)
            << Qt::endl;
        previous = &r;
    }
    out << "cold ms: wall clock; cold CPU ms: this process's CPU time, steadier on a loaded machine" << Qt::endl;
    out << "growth: (wall-time ratio) / (size ratio) to the row above; 1.00 is linear" << Qt::endl;
    out << "ok: every product found, cached pass equal and without file-system access, cached answers kept "
           "with the wrappers moved away, equal again after clearing"
        << Qt::endl;
    out << "load average after: " << loadAverage() << Qt::endl;
    return allOk ? 0 : 2;
}
