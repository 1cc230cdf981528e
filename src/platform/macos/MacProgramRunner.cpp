#include "MacProgramRunner.h"

#include <QProcess>

namespace MacProgramRunner {

MacProgramResult run(const QString& program, const QStringList& arguments, const QByteArray& input,
                     int timeoutMilliseconds)
{
    MacProgramResult result;
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForStarted(10000))
        return result;
    result.started = true;
    if (!input.isEmpty())
        process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(timeoutMilliseconds)) {
        process.kill();
        process.waitForFinished(1000);
        return result;
    }
    result.standardOutput = process.readAllStandardOutput();
    result.standardError = process.readAllStandardError();
    if (process.exitStatus() == QProcess::NormalExit)
        result.exitCode = process.exitCode();
    return result;
}

} // namespace MacProgramRunner
