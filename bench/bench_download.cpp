// Downloads one large body from a server in another process (lv_http_serve) to disk, with
// LVDownloader and with `curl -o` in turn (paired rounds, alternating who goes first), and prints
// per round and as medians: throughputs, CPU time per GiB of each and their ratio (the steadier
// figure on a busy machine), and this process's peak memory (VmHWM), which must not grow with the
// size of the download.
//
//   bench_download [--size-mib N] [--rounds R] [--dir FOLDER]

#include "engines/LVDownloader.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace {

class Waiter : public QObject, public LVDownloaderDelegate
{
public:
    void downloadCompleted(LVDownloader*) override { _loop.quit(); }
    void downloadFailed(LVDownloader* downloader) override
    {
        failed = true;
        std::fprintf(stderr, "download failed: %s\n", qPrintable(downloader->error().description()));
        _loop.quit();
    }
    void run() { _loop.exec(); }
    bool failed = false;

private:
    QEventLoop _loop;
};

qint64 statusKiB(const QByteArray& field)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().split(' ').value(0).toLongLong();
    }
    return -1;
}

// The server's body is byte i = i % 251; look at a few places, including the very end.
bool looksRight(const QString& path, qint64 size)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() != size)
        return false;
    for (qint64 offset : {qint64(0), size / 3, size / 2, std::max<qint64>(0, size - 4096)}) {
        file.seek(offset);
        const QByteArray bytes = file.read(4096);
        for (qsizetype i = 0; i < bytes.size(); ++i) {
            if (static_cast<unsigned char>(bytes[i]) != (offset + i) % 251)
                return false;
        }
    }
    return true;
}

double cpuSeconds(int who)
{
    rusage usage{};
    getrusage(who, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

double g_cpuOurs = 0;
double g_cpuCurl = 0;

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

double withDownloader(const QUrl& url, const QString& path, qint64 size)
{
    const double cpuBefore = cpuSeconds(RUSAGE_SELF);
    std::unique_ptr<LVDownloader> downloader(LVDownloader::downloaderWithURL(url));
    Waiter waiter;
    downloader->setDelegate(&waiter);
    QElapsedTimer clock;
    clock.start();
    if (!downloader->startWithDownloadFilePath(path))
        return -1;
    waiter.run();
    const double seconds = clock.nsecsElapsed() / 1e9;
    g_cpuOurs += cpuSeconds(RUSAGE_SELF) - cpuBefore;
    downloader.reset();
    const bool right = !waiter.failed && looksRight(path, size);
    QFile::remove(path);
    return right ? seconds : -1;
}

double withCurl(const QUrl& url, const QString& path, qint64 size)
{
    const double cpuBefore = cpuSeconds(RUSAGE_CHILDREN);
    QProcess curl;
    QElapsedTimer clock;
    clock.start();
    curl.start(QStringLiteral("curl"), {QStringLiteral("-s"), QStringLiteral("-o"), path, url.toString()});
    if (!curl.waitForFinished(-1) || curl.exitCode() != 0)
        return -1;
    const double seconds = clock.nsecsElapsed() / 1e9;
    g_cpuCurl += cpuSeconds(RUSAGE_CHILDREN) - cpuBefore;
    const bool right = looksRight(path, size);
    QFile::remove(path);
    return right ? seconds : -1;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCommandLineParser parser;
    parser.addHelpOption();
    parser.addOption({QStringLiteral("size-mib"), QStringLiteral("Download size in MiB."), QStringLiteral("n"),
                      QStringLiteral("1024")});
    parser.addOption({QStringLiteral("rounds"), QStringLiteral("Downloads with each client."), QStringLiteral("n"),
                      QStringLiteral("3")});
    parser.addOption({QStringLiteral("dir"), QStringLiteral("Where the files are written."), QStringLiteral("folder"),
                      QDir::tempPath()});
    parser.process(app);
    const qint64 size = parser.value(QStringLiteral("size-mib")).toLongLong() * 1024 * 1024;
    const int rounds = std::max(1, parser.value(QStringLiteral("rounds")).toInt());

    QProcess server;
    server.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    server.start(QCoreApplication::applicationDirPath() + QStringLiteral("/lv_http_serve"),
                 {QStringLiteral("--size"), QString::number(size)});
    if (!server.waitForReadyRead(10000)) {
        std::fprintf(stderr, "lv_http_serve did not start\n");
        return 1;
    }
    const QByteArray line = server.readLine().trimmed();
    QUrl url(QStringLiteral("http://127.0.0.1/file"));
    url.setPort(line.mid(5).toInt());

    QTemporaryDir folder(parser.value(QStringLiteral("dir")) + QStringLiteral("/bench_download-XXXXXX"));
    const QString path = folder.filePath(QStringLiteral("download.bin"));
    const qint64 baselineKiB = statusKiB("VmHWM");
    const double mib = size / (1024.0 * 1024.0);

    double bestOurs = 0, bestCurl = 0;
    std::vector<double> ratios, cpuRatios, cpuOursPerGiB, cpuCurlPerGiB;
    std::printf("load average before: %.2f\n", loadAverage());
    for (int round = 0; round < rounds; ++round) {
        const double oursBefore = g_cpuOurs, curlBefore = g_cpuCurl;
        // Alternate who goes first, so neither always meets a cold or a dirty page cache.
        double ours = -1, curl = -1;
        if (round % 2 == 0) {
            ours = withDownloader(url, path, size);
            curl = withCurl(url, path, size);
        } else {
            curl = withCurl(url, path, size);
            ours = withDownloader(url, path, size);
        }
        if (ours <= 0 || curl <= 0) {
            std::fprintf(stderr, "round %d: a download failed or came out wrong\n", round + 1);
            return 1;
        }
        const double oursPerGiB = (g_cpuOurs - oursBefore) * 1024 / mib;
        const double curlPerGiB = (g_cpuCurl - curlBefore) * 1024 / mib;
        std::printf("round %d: LVDownloader %.0f MiB/s (%.2f s, CPU %.2f s/GiB), curl -o %.0f MiB/s (%.2f s, CPU "
                    "%.2f s/GiB), CPU ratio %.2f\n",
                    round + 1, mib / ours, ours, oursPerGiB, mib / curl, curl, curlPerGiB, oursPerGiB / curlPerGiB);
        ratios.push_back(curl / ours);
        cpuOursPerGiB.push_back(oursPerGiB);
        cpuCurlPerGiB.push_back(curlPerGiB);
        cpuRatios.push_back(oursPerGiB / curlPerGiB);
        bestOurs = std::max(bestOurs, mib / ours);
        bestCurl = std::max(bestCurl, mib / curl);
    }
    // Before the server goes: only the curl runs have ended so far.
    rusage children{};
    getrusage(RUSAGE_CHILDREN, &children);
    server.terminate();
    server.waitForFinished();

    std::printf("size %.0f MiB, best of %d: LVDownloader %.0f MiB/s, curl -o %.0f MiB/s, ratio %.2f\n", mib, rounds,
                bestOurs, bestCurl, bestOurs / bestCurl);
    // Rounds are paired (same moment, same machine load), so the median of their ratios is the
    // steadier figure on a busy machine.
    std::printf("median of the per-round throughput ratios: %.2f\n", median(ratios));
    std::printf("CPU time per GiB over all rounds: LVDownloader %.2f s, curl -o %.2f s\n",
                g_cpuOurs * 1024 / (mib * rounds), g_cpuCurl * 1024 / (mib * rounds));
    std::printf("CPU time per GiB, medians: LVDownloader %.2f s, curl -o %.2f s; median of the per-round CPU ratios "
                "(LVDownloader / curl): %.2f (goal <= 1.10)\n",
                median(cpuOursPerGiB), median(cpuCurlPerGiB), median(cpuRatios));
    std::printf("load average after: %.2f\n", loadAverage());
    std::printf("peak RSS of this process (VmHWM): %lld KiB (%lld KiB before the downloads); "
                "peak RSS of curl: %ld KiB\n",
                statusKiB("VmHWM"), baselineKiB, children.ru_maxrss);
    return 0;
}
