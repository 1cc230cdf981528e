#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

// Runs one of the Mac's command-line programs and waits for it; the Mac classes that drive
// programs (open, textutil, ditto, codesign) share it, and tests point them at stand-ins.
struct MacProgramResult
{
    bool started = false;
    int exitCode = -1; // -1 when it did not run to its end
    QByteArray standardOutput;
    QByteArray standardError;
    bool succeeded() const { return started && exitCode == 0; }
};

namespace MacProgramRunner {
MacProgramResult run(const QString& program, const QStringList& arguments, const QByteArray& input = QByteArray(),
                     int timeoutMilliseconds = 120000);
}
