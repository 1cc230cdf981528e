#pragma once

#include <QDateTime>
#include <functional>

// The one clock every date in the system is read from. Tests may replace it; a null function
// restores the real one. Safe from any thread.
namespace VMClock {

QDateTime currentDate();
void setCurrentDateProvider(std::function<QDateTime()> provider);

} // namespace VMClock
