#include "TestMain.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <string>

namespace {

std::map<std::string, LVTestMain::Runner>& runners()
{
    static std::map<std::string, LVTestMain::Runner> registered;
    return registered;
}

} // namespace

bool LVTestMain::add(const char* className, Runner runner)
{
    return runners().emplace(className, runner).second;
}

int main(int argc, char* argv[])
{
    const auto found = argc > 1 ? runners().find(argv[1]) : runners().end();
    if (found == runners().end()) {
        std::fprintf(stderr, "usage: %s <test class> [QTest options]\nclasses:", argc > 0 ? argv[0] : "tests");
        for (const auto& [name, runner] : runners())
            std::fprintf(stderr, " %s", name.c_str());
        std::fprintf(stderr, "\n");
        return 2;
    }
    // QTest reads its options after the program path, where the class name was.
    argv[1] = argv[0];
    return found->second(argc - 1, argv + 1);
}
