#pragma once

#include <QString>

// The system's log (the unified log on a Mac, syslog elsewhere).
class SystemLog
{
public:
    virtual ~SystemLog() = default;
    virtual void write(const QString&) {}
};
