#pragma once

#include <QByteArray>
#include <QString>

// How an administrator run ended, for the log: the tool's exit code and what it wrote on standard
// error. The engines judge a run by its standard output; this only tells what happened.
namespace LVPrivilegedRunLog {

// "<tool> exited: <code>" (-1: killed, or its end unknown), then "<tool> standard error: <text>"
// when it wrote any.
void write(const QString& tool, int exitCode, const QByteArray& standardError);

} // namespace LVPrivilegedRunLog
