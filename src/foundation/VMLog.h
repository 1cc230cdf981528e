#pragma once

#include "foundation/VMLogger.h"

#include <QString>

// Call-site log lines: "'message' in function line N" and "'message': code in function line N".
namespace VMLog {
QString callSite(const QString& message, const char* function, int line);
QString callSite(const QString& message, qint64 code, const char* function, int line);
} // namespace VMLog

#define VM_CALL_SITE(message) VMLog::callSite((message), Q_FUNC_INFO, __LINE__)
#define VM_CALL_SITE_CODE(message, code) VMLog::callSite((message), (code), Q_FUNC_INFO, __LINE__)

#define VM_LOG_MESSAGE(message) VMLogger::logMessage(VM_CALL_SITE(message))
#define VM_LOG_ERROR(message) VMLogger::logError(VM_CALL_SITE(message))
#define VM_LOG_WARNING(message) VMLogger::logWarning(VM_CALL_SITE(message))
#define VM_LOG_MESSAGE_CODE(message, code) VMLogger::logMessage(VM_CALL_SITE_CODE(message, code))
#define VM_LOG_ERROR_CODE(message, code) VMLogger::logError(VM_CALL_SITE_CODE(message, code))
#define VM_LOG_WARNING_CODE(message, code) VMLogger::logWarning(VM_CALL_SITE_CODE(message, code))

namespace VMLog {
// Writes the line only while extended logging is on. The preference is read on the main thread
// (its settings object is not shared across threads), so a call from another thread is moved
// there; each thread's lines keep their order.
void logExtended(VMLogger::Severity severity, const QString& line);
} // namespace VMLog
