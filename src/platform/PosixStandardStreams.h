#pragma once

#include "StandardStreams.h"

// The standard streams of a Unix process (Linux and the Mac alike).
class PosixStandardStreams : public StandardStreams
{
public:
    void silence() override;
    bool inputIsTerminal() const override;
    bool outputIsTerminal() const override;
};
