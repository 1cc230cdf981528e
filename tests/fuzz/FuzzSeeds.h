#pragma once

#include <QByteArray>
#include <QCryptographicHash>
#include <QDir>
#include <QFile>

// Seeds a target makes itself: written into the first corpus folder named on the command line,
// which libFuzzer reads after initialisation.
inline void writeSeeds(int argc, char** argv, const QList<QByteArray>& seeds)
{
    for (int i = 1; i < argc; ++i) {
        if (argv[i][0] == '-' || !QFileInfo(QString::fromLocal8Bit(argv[i])).isDir())
            continue;
        const QDir corpus(QString::fromLocal8Bit(argv[i]));
        for (const QByteArray& seed : seeds) {
            QFile file(
                corpus.filePath(QString::fromLatin1(QCryptographicHash::hash(seed, QCryptographicHash::Sha1).toHex())));
            if (file.open(QIODevice::WriteOnly))
                file.write(seed);
        }
        return;
    }
}
