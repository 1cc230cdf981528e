#pragma once

// The process's standard output and error. The application silences both so that nothing it
// prints reaches a terminal: the log window and the system log are its only outputs.
class StandardStreams
{
public:
    virtual ~StandardStreams() = default;
    virtual void silence() {}
    // Whether standard input / output is a terminal (a person may be reading and answering).
    virtual bool inputIsTerminal() const { return false; }
    virtual bool outputIsTerminal() const { return false; }
};
