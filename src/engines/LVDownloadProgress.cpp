#include "LVDownloadProgress.h"

#include <cmath>

namespace {
constexpr double kMegabyte = 1000.0 * 1000.0;

QString megabytes(qint64 bytes)
{
    return QString::number(double(bytes) / kMegabyte, 'f', 1);
}

QString speedText(double bytesPerSecond)
{
    if (bytesPerSecond >= kMegabyte)
        return QStringLiteral("%1 MB/s").arg(QString::number(bytesPerSecond / kMegabyte, 'f', 1));
    return QStringLiteral("%1 KB/s").arg(qRound64(bytesPerSecond / 1000.0));
}

QString timeText(double seconds)
{
    if (seconds < 60.0)
        return QStringLiteral("about %1 s left").arg(qMax<qint64>(1, qint64(std::ceil(seconds))));
    return QStringLiteral("about %1 min left").arg(qint64(std::ceil(seconds / 60.0)));
}
} // namespace

double LVDownloadProgress::bytesPerSecond() const
{
    return elapsedMs > 0 ? double(receivedBytes) * 1000.0 / double(elapsedMs) : 0.0;
}

double LVDownloadProgress::secondsLeft() const
{
    const double speed = bytesPerSecond();
    if (expectedBytes <= 0 || speed <= 0.0)
        return -1.0;
    return double(qMax<qint64>(0, expectedBytes - receivedBytes)) / speed;
}

double LVDownloadProgress::fraction() const
{
    return expectedBytes > 0 ? qBound(0.0, double(receivedBytes) / double(expectedBytes), 1.0) : 0.0;
}

QString LVDownloadProgress::description() const
{
    QString text = expectedBytes > 0
                       ? QStringLiteral("%1 of %2 MB").arg(megabytes(receivedBytes), megabytes(expectedBytes))
                       : QStringLiteral("%1 MB").arg(megabytes(receivedBytes));
    const double speed = bytesPerSecond();
    if (speed > 0.0) {
        text += QStringLiteral(" \u2014 ") + speedText(speed);
        const double left = secondsLeft();
        if (left >= 0.0)
            text += QStringLiteral(", ") + timeText(left);
    }
    return text;
}
