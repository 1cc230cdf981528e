#pragma once

#include <string>

// The unified log (os_log), in plain C++.
namespace MacUnifiedLog {

// One line of the application's log, readable by everyone (the text is not redacted).
void write(const std::string& message);

} // namespace MacUnifiedLog
