#include "cli/LVConsole.h"

#include <QJsonDocument>
#include <cstdio>

namespace LVConsole {

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream& err()
{
    static QTextStream stream(stderr);
    return stream;
}

void printJson(const QJsonObject& object)
{
    out() << QJsonDocument(object).toJson(QJsonDocument::Compact) << '\n';
    out().flush();
}

} // namespace LVConsole
