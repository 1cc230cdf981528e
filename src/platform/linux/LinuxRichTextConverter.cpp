#include "LinuxRichTextConverter.h"

#include <QProcess>
#include <QStandardPaths>

QString LinuxRichTextConverter::rtfToHtml(const QByteArray& rtf) const
{
    const QString pandoc = QStandardPaths::findExecutable(QStringLiteral("pandoc"));
    if (pandoc.isEmpty() || rtf.isEmpty())
        return QString();
    QProcess process;
    process.start(pandoc, {QStringLiteral("-f"), QStringLiteral("rtf"), QStringLiteral("-t"), QStringLiteral("html")});
    if (!process.waitForStarted(5000))
        return QString();
    process.write(rtf);
    process.closeWriteChannel();
    if (!process.waitForFinished(15000)) {
        process.kill();
        process.waitForFinished(1000);
        return QString();
    }
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0)
        return QString();
    return QString::fromUtf8(process.readAllStandardOutput());
}
