#include "engines/LVPrivilegedRunLog.h"

#include "foundation/VMLog.h"

namespace LVPrivilegedRunLog {

void write(const QString& tool, int exitCode, const QByteArray& standardError)
{
    VM_LOG_MESSAGE_CODE(tool + QStringLiteral(" exited"), exitCode);
    const QString errors = QString::fromUtf8(standardError).trimmed();
    if (!errors.isEmpty())
        VM_LOG_MESSAGE(tool + QStringLiteral(" standard error: ") + errors);
}

} // namespace LVPrivilegedRunLog
