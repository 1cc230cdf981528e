// How much building the catalogue records costs on top of parsing the property list.
// Generates XML catalogues of N products with 10 versions each and times, in paired rounds (one
// after another, so they meet the same machine load), libplist's parse of the bytes alone, its
// parse and free, and the full load (VMCatalogue::initWithData: parse, build the records from
// libplist's nodes, a long product list in pieces side by side; a catalogue of 256 KiB or more has
// its tree freed on a background thread). Each step starts from a settled heap. Prints the median
// of the per-round ratios, by the clock (what a user waits) and by the loading thread's CPU time.
//   bench_catalogue [rounds] [product counts...]     (default: 9 rounds; 250 500 1000 2000)
#include "catalogue/VMCatalogue.h"
#include "foundation/LVPreferences.h"
#include "foundation/VMPropertyList.h"
#include "platform/PlistApi.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTextStream>
#include <QThread>

#include <time.h>
#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

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

// CPU time of this thread: other processes on a busy machine barely move it, unlike the clock.
double threadCpuMilliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return now.tv_sec * 1e3 + now.tv_nsec / 1e6;
}

// glibc keeps freed chunks in bins that the next large allocation sorts out; without this, the
// step after a large free would pay for it.
void settleHeap()
{
#ifdef __GLIBC__
    malloc_trim(0);
#endif
}

struct Time
{
    double wall = 0;
    double cpu = 0;
};

template <typename Work> Time measured(Work work)
{
    settleHeap();
    QElapsedTimer clock;
    const double before = threadCpuMilliseconds();
    clock.start();
    work();
    return {clock.nsecsElapsed() / 1e6, threadCpuMilliseconds() - before};
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t n = values.size();
    return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

double loadAverage()
{
    QFile file(QStringLiteral("/proc/loadavg"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split(' ').value(0).toDouble() : -1;
}

struct Row
{
    double parse = 0, parseAndFree = 0, full = 0, records = 0, ratio = 0, ratioToParseAndFree = 0, cpuRatio = 0;
};

Row measure(const QByteArray& xml, int expectedProducts, int rounds)
{
    std::vector<double> parse, parseAndFree, full, records, ratio, ratioFree, cpuRatio;
    for (int round = 0; round < rounds; ++round) {
        plist_t tree = nullptr;
        const Time p = measured([&] { plist_from_xml(xml.constData(), static_cast<uint32_t>(xml.size()), &tree); });
        if (!tree)
            qFatal("the generated catalogue does not parse");
        VMCatalogue built;
        records.push_back(measured([&] { built = VMCatalogue::initWithNode(tree); }).wall);
        built = VMCatalogue();
        plist_free(tree);
        const Time pf = measured([&] {
            plist_t t = nullptr;
            plist_from_xml(xml.constData(), static_cast<uint32_t>(xml.size()), &t);
            plist_free(t);
        });
        VMCatalogue catalogue;
        const Time f = measured([&] { catalogue = VMCatalogue::initWithData(xml); });
        const qsizetype products =
            catalogue.productsCollection() ? catalogue.productsCollection()->productItems().size() : 0;
        if (products != expectedProducts)
            qFatal("built %lld products instead of %d", static_cast<long long>(products), expectedProducts);
        catalogue = VMCatalogue();
        // The tree is being freed in the background; the next round starts after it.
        QThread::msleep(static_cast<unsigned long>(f.wall) + 50);
        parse.push_back(p.wall);
        parseAndFree.push_back(pf.wall);
        full.push_back(f.wall);
        ratio.push_back(f.wall / p.wall);
        ratioFree.push_back(f.wall / pf.wall);
        cpuRatio.push_back(f.cpu / p.cpu);
    }
    return {median(parse), median(parseAndFree), median(full),    median(records),
            median(ratio), median(ratioFree),    median(cpuRatio)};
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QTemporaryDir settings;
    LVPreferences::setSettingsFile(settings.filePath(QStringLiteral("defaults.ini")));
    const int rounds = argc > 1 ? std::max(1, QByteArray(argv[1]).toInt()) : 9;
    std::vector<int> sizes;
    for (int i = 2; i < argc; ++i)
        sizes.push_back(QByteArray(argv[i]).toInt());
    if (sizes.empty())
        sizes = {250, 500, 1000, 2000};

    QTextStream out(stdout);
    out << "load average before: " << loadAverage() << "; medians of " << rounds
        << " paired rounds; 10 versions per product\n";
    out << QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10\n")
               .arg(QStringLiteral("products"), 8)
               .arg(QStringLiteral("KiB"), 6)
               .arg(QStringLiteral("parse ms"), 9)
               .arg(QStringLiteral("p+free ms"), 9)
               .arg(QStringLiteral("records ms"), 10)
               .arg(QStringLiteral("load ms"), 9)
               .arg(QStringLiteral("load/parse"), 10)
               .arg(QStringLiteral("load/p+free"), 11)
               .arg(QStringLiteral("us/product"), 10)
               .arg(QStringLiteral("CPU load/parse"), 14);
    out.flush();
    double ratio2000 = -1;
    for (int size : sizes) {
        const QByteArray xml = generateCatalogue(size, 10);
        const Row row = measure(xml, size, rounds);
        if (size == 2000)
            ratio2000 = row.ratio;
        out << QStringLiteral("%1 %2 %3 %4 %5 %6 %7 %8 %9 %10\n")
                   .arg(size, 8)
                   .arg(xml.size() / 1024, 6)
                   .arg(row.parse, 9, 'f', 1)
                   .arg(row.parseAndFree, 9, 'f', 1)
                   .arg(row.records, 10, 'f', 1)
                   .arg(row.full, 9, 'f', 1)
                   .arg(row.ratio, 9, 'f', 2)
                   .arg(row.ratioToParseAndFree, 11, 'f', 2)
                   .arg(row.full * 1000 / size, 10, 'f', 1)
                   .arg(row.cpuRatio, 14, 'f', 2);
        out.flush();
    }
    out << "times by the clock; load: VMCatalogue::initWithData (parse, build the records; the tree is freed on a "
           "background thread); records: VMCatalogue::initWithNode on a parsed tree; ratios are medians of the "
           "per-round ratios; CPU load/parse: the same by the loading thread's CPU time, which leaves out the "
           "pieces built on other threads\n";
    if (ratio2000 > 0)
        out << QStringLiteral("2000 products: load / libplist parse alone = %1x (goal <= 1.2x)\n")
                   .arg(ratio2000, 0, 'f', 2);
    out << "load average after: " << loadAverage() << "\n";
    return 0;
}
