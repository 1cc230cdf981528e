#pragma once

#include <QString>
#include <QtGlobal>

// How far a download has come, as the rows and the command line tell it.
struct LVDownloadProgress
{
    qint64 receivedBytes = 0;
    qint64 expectedBytes = 0; // 0 when the server did not say
    qint64 elapsedMs = -1;    // since the first data; -1 when unknown

    double bytesPerSecond() const;
    // -1 when unknown.
    double secondsLeft() const;
    // Received of expected bytes, 0 to 1; 0 when unknown.
    double fraction() const;
    // "12.4 of 80.0 MB — 4.1 MB/s, about 16 s left"; the parts that are unknown are left out.
    QString description() const;
};
