#pragma once

#include <signal.h>

#include <cstddef>

namespace tarnwell::threads {

// An alternate signal stack belongs to one thread, so every thread this program starts
// installs its own for as long as it runs; without one, a stack overflow on that thread
// could not be recorded. Normal context.
class ThreadSignalStack {
public:
    // SIGSTKSZ is no constant in current C libraries; this covers the crash handler with
    // room to spare.
    static constexpr size_t kMinimumSize = 64 * 1024;

    explicit ThreadSignalStack(size_t size = kMinimumSize);
    ~ThreadSignalStack();
    ThreadSignalStack(const ThreadSignalStack &) = delete;
    ThreadSignalStack &operator=(const ThreadSignalStack &) = delete;

    bool installed() const { return installed_; }

    // A stack of `size` usable bytes above one inaccessible guard page, zeroed and
    // resident, or null. The caller owns it for good (the process's main signal stack is
    // never unmapped).
    static void *mapGuarded(size_t size);

    // Where failures to map or install a stack are told (an errno value and what
    // failed); nowhere until set. Set once, before threads start.
    using FailureReporter = void (*)(const char *what, int error);
    static void setFailureReporter(FailureReporter reporter);

private:
    void *stack_ = nullptr;
    size_t size_;
    stack_t previous_{};
    bool installed_ = false;
};

}  // namespace tarnwell::threads
