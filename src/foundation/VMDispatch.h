#pragma once

#include <QObject>
#include <functional>

// The three ways work moves between threads in this system. Delays are given in seconds, as the
// system's rules state them, and pass through one scale factor so that tests can shrink them.
namespace VMDispatch {

// Runs `work` on the main (GUI) thread without waiting. Calls from one thread keep their order.
// With a context object, the work is dropped if the context is destroyed before it runs.
void performOnMainThread(std::function<void()> work);
void performOnMainThread(QObject* context, std::function<void()> work);

// Runs `work` on the main thread after `seconds` × delayScale(); dropped if `context` dies first.
void performAfterDelay(QObject* context, double seconds, std::function<void()> work);

// Runs `work` on a background thread of its own (long, blocking jobs such as an install).
void performInBackground(std::function<void()> work);

// Runs piece(0) … piece(count - 1) side by side: this thread and up to one helper per further core
// from Qt's global pool take the pieces in turn, and this returns when all are done. A busy pool
// slows the job down but never stalls it.
void performConcurrently(int count, const std::function<void(int piece)>& piece);

bool isMainThread();

double delayScale();
void setDelayScale(double scale);

// Converts a delay in seconds into milliseconds of wall time, after the scale.
int scaledMilliseconds(double seconds);

} // namespace VMDispatch
