#include "InterruptCleanup.h"

#include <QFile>

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

// The handler reads these with nothing but atomic loads and unlink(), both safe in a signal handler.
std::array<std::atomic<char*>, 64> registered{};

void removeRegistered(int signal)
{
    for (std::atomic<char*>& slot : registered) {
        if (const char* path = slot.load())
            unlink(path);
    }
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

} // namespace

void InterruptCleanup::install()
{
    struct sigaction action
    {
    };
    action.sa_handler = removeRegistered;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaction(signal, &action, nullptr);
}

int InterruptCleanup::add(const QString& path)
{
    const QByteArray native = QFile::encodeName(path);
    char* copy = strdup(native.constData());
    for (std::size_t slot = 0; slot < registered.size(); ++slot) {
        char* empty = nullptr;
        if (registered[slot].compare_exchange_strong(empty, copy))
            return int(slot);
    }
    std::free(copy);
    return -1;
}

void InterruptCleanup::remove(int slot)
{
    if (slot < 0 || slot >= int(registered.size()))
        return;
    std::free(registered[std::size_t(slot)].exchange(nullptr));
}
