#pragma once

// The process's standard output and error. The application silences both so that nothing it
// prints reaches a terminal: the log window and the system log are its only outputs.
class StandardStreams
{
public:
    virtual ~StandardStreams() = default;
    virtual void silence() {}
};
