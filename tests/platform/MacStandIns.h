#pragma once

#include <QFile>
#include <QString>
#include <QStringList>

// The stand-ins for the Mac's programs (tests/platform/mac-standins): each appends one line to
// the log, "program [arg] [arg] ...", and answers as the real program does.
class MacStandIns
{
public:
    explicit MacStandIns(const QString& scratch) : _log(scratch + QStringLiteral("/standins.log"))
    {
        qputenv("LV_STANDIN_LOG", QFile::encodeName(_log));
        qputenv("LV_STANDIN_CMAKE", LV_CMAKE_COMMAND);
    }
    ~MacStandIns()
    {
        qunsetenv("LV_STANDIN_LOG");
        qunsetenv("LV_STANDIN_CMAKE");
    }

    static QString program(const char* name) { return QStringLiteral(LV_MAC_STANDINS "/") + QLatin1String(name); }

    // The calls so far, one line each.
    QStringList calls() const
    {
        QFile file(_log);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    }

    // "program [a] [b]" for a call with these arguments.
    static QString call(const QString& program, const QStringList& arguments)
    {
        QString line = program;
        for (const QString& argument : arguments)
            line += QStringLiteral(" [%1]").arg(argument);
        return line;
    }

private:
    QString _log;
};
