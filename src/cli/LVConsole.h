#pragma once

#include <QJsonObject>
#include <QTextStream>

// The command line's standard output and error, and its one-object-per-line JSON.
namespace LVConsole {
QTextStream& out();
QTextStream& err();
void printJson(const QJsonObject& object);
} // namespace LVConsole
