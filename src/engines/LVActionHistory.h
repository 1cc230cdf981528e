#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QList>
#include <QString>

// A record of every install and uninstall, from the window and from the command line, kept as
// JSON Lines (one object per line) in the application's data folder so that fleet tools can read it.
class LVActionHistory
{
public:
    struct Record
    {
        QDateTime time; // when the action started
        QString productID;
        QString title;
        QString version; // the version installed, or the one that was installed before an uninstall
        QString action;  // "install", "uninstall" or "download"
        QString outcome; // "succeeded", "failed" or "cancelled"
        double seconds = 0;
        QString detail; // the error's description, when there is one

        QJsonObject toJson() const;
    };

    // <application data folder>/history.jsonl
    static QString filePath();
    // Appends one line; safe from any thread and from concurrent processes (one append write).
    static bool append(const Record& record);
    // Every record in the file, oldest first; lines that are not JSON objects are skipped.
    static QList<QJsonObject> records(QString* error = nullptr);
};
