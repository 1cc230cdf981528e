#pragma once

#include "platform/emulated/EmulatedPrivilegedExecution.h"

// Administrator runs on Linux with the real root "/": the tools run as root through pkexec, whose
// polkit agent asks for the password. The authorization's book-keeping is the emulated one's.
class LinuxPrivilegedExecution : public EmulatedPrivilegedExecution
{
public:
    // `elevator` is the program that runs a command as root (pkexec unless a test says otherwise).
    explicit LinuxPrivilegedExecution(const QString& elevator = QStringLiteral("pkexec"));

protected:
    int acquireRight(const QString& right) override;
    int runWithRight(const QString& tool, const QStringList& arguments, const OutputHandler& output, int* exitCode,
                     QByteArray* standardError) override;

private:
    QString _elevator;
};
