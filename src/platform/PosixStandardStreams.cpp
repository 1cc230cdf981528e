#include "PosixStandardStreams.h"

#include <fcntl.h>
#include <unistd.h>

void PosixStandardStreams::silence()
{
    // Everything written to fd 1 and 2 from now on is accepted and dropped.
    const int null = ::open("/dev/null", O_WRONLY);
    if (null < 0)
        return;
    ::dup2(null, STDOUT_FILENO);
    ::dup2(null, STDERR_FILENO);
    ::close(null);
}

bool PosixStandardStreams::inputIsTerminal() const
{
    return ::isatty(STDIN_FILENO) == 1;
}

bool PosixStandardStreams::outputIsTerminal() const
{
    return ::isatty(STDOUT_FILENO) == 1;
}
