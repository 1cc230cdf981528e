#include "engines/LVActionHistory.h"

#include "platform/Platform.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QMutex>

namespace {
QMutex historyLock;
}

QJsonObject LVActionHistory::Record::toJson() const
{
    QJsonObject object{
        {QStringLiteral("time"), time.toUTC().toString(Qt::ISODateWithMs)},
        {QStringLiteral("productID"), productID},
        {QStringLiteral("title"), title},
        {QStringLiteral("version"), version},
        {QStringLiteral("action"), action},
        {QStringLiteral("outcome"), outcome},
        {QStringLiteral("seconds"), qRound(seconds * 1000.0) / 1000.0},
    };
    if (!detail.isEmpty())
        object.insert(QStringLiteral("detail"), detail);
    return object;
}

QString LVActionHistory::filePath()
{
    return Platform::systemInfo().applicationSupportDirectory() + QStringLiteral("/history.jsonl");
}

bool LVActionHistory::append(const Record& record)
{
    const QString path = filePath();
    QByteArray line = QJsonDocument(record.toJson()).toJson(QJsonDocument::Compact);
    line.append('\n');
    QMutexLocker locker(&historyLock);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile file(path);
    // Append mode makes each write land at the end even with another process appending.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return false;
    return file.write(line) == line.size();
}

QList<QJsonObject> LVActionHistory::records(QString* error)
{
    QList<QJsonObject> result;
    QFile file(filePath());
    if (!file.exists())
        return result;
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = file.errorString();
        return result;
    }
    while (!file.atEnd()) {
        const QJsonDocument document = QJsonDocument::fromJson(file.readLine());
        if (document.isObject())
            result.append(document.object());
    }
    return result;
}
