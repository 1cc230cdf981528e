#pragma once

// The processor, in plain C++.
namespace MacHardware {

// Apple silicon, also for a process translated by Rosetta (whose uname says x86_64).
bool isAppleSilicon();

} // namespace MacHardware
