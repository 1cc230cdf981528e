#pragma once

#include <string>

// CoreFoundation's distributed notification centre, in plain C++: a name and a string object.
namespace MacDistributedCenter {

// Called on the run loop of the thread that observed (the main run loop).
using Callback = void (*)(void* context, const std::string& name, const std::string& object);

// Posts to every process of this session, delivered at once even to suspended observers.
void post(const std::string& name, const std::string& object);
// Observes `name`; the answer is handed back to stopObserving.
void* observe(const std::string& name, Callback callback, void* context);
void stopObserving(void* observation);

} // namespace MacDistributedCenter
