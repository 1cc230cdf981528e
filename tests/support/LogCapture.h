#pragma once

#include "foundation/VMLogger.h"

#include <QObject>
#include <QRegularExpression>
#include <QStringList>

// The messages the log wrote, without the date: "M: text", "W: text" or "E: text".
class LogCapture : public QObject
{
public:
    LogCapture()
    {
        connect(VMLogger::sharedLogger(), &VMLogger::lineLogged, this,
                [this](const QString& line, VMLogger::Severity severity) {
                    const QString text = line.section(QStringLiteral(": "), 1).chopped(1);
                    const char* tag = severity == VMLogger::Error ? "E" : severity == VMLogger::Warning ? "W" : "M";
                    lines.append(QStringLiteral("%1: %2").arg(QLatin1String(tag), text));
                });
    }
    // The message part of call-site lines: "'text' in f line N" gives "text", "'text': 5 in f line N"
    // gives "text: 5".
    QStringList messages() const
    {
        static const QRegularExpression callSite(QStringLiteral("^.: '(.*)'(: -?\\d+)? in .* line \\d+$"),
                                                 QRegularExpression::DotMatchesEverythingOption);
        QStringList texts;
        for (const QString& line : lines) {
            const QRegularExpressionMatch match = callSite.match(line);
            if (match.hasMatch())
                texts.append(match.captured(1) + match.captured(2));
        }
        return texts;
    }
    QStringList lines;
};
