#pragma once

#include <functional>
#include <thread>

namespace tarnwell::threads {

// The one way this program starts a thread: `body` runs on a new thread that has
// installed its own guard-paged alternate signal stack first, so that a crash there,
// a stack overflow included, can still be recorded. Throws std::system_error when no
// thread can be had, as std::thread does; the caller joins or detaches the result.
std::thread startThread(std::function<void()> body);

// For threads that a library creates (QThread::run): runs `body` on the calling thread
// with an alternate signal stack installed for as long as it runs.
void runWithSignalStack(const std::function<void()> &body);

}  // namespace tarnwell::threads
