#include "VMLog.h"

#include "foundation/LVPreferences.h"
#include "foundation/VMDispatch.h"

namespace VMLog {

QString callSite(const QString& message, const char* function, int line)
{
    // One multi-argument pass, so a '%1' inside the message is left as it is.
    return QStringLiteral("'%1' in %2 line %3").arg(message, QString::fromUtf8(function), QString::number(line));
}

QString callSite(const QString& message, qint64 code, const char* function, int line)
{
    return QStringLiteral("'%1': %2 in %3 line %4")
        .arg(message, QString::number(code), QString::fromUtf8(function), QString::number(line));
}

} // namespace VMLog

namespace VMLog {

void logExtended(VMLogger::Severity severity, const QString& line)
{
    auto write = [severity, line] {
        if (!LVPreferences::sharedPreferences()->usesExtendedLogging())
            return;
        switch (severity) {
        case VMLogger::Message:
            VMLogger::logMessage(line);
            break;
        case VMLogger::Error:
            VMLogger::logError(line);
            break;
        case VMLogger::Warning:
            VMLogger::logWarning(line);
            break;
        }
    };
    if (VMDispatch::isMainThread())
        write();
    else
        VMDispatch::performOnMainThread(std::move(write));
}

} // namespace VMLog
