#pragma once

#include <signal.h>

#include <cstddef>

namespace tarnwell::crash {

// An alternate signal stack belongs to one thread, so every thread this program starts
// installs its own for as long as it runs; without one, a stack overflow on that thread
// could not be recorded. The stack is a guard-paged mapping. Normal context.
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

    // A stack of `size` usable bytes above one inaccessible guard page, or null.
    // The caller owns it for good (the process's main signal stack is never unmapped).
    static void *mapGuarded(size_t size);

private:
    void *stack_ = nullptr;
    size_t size_;
    stack_t previous_{};
    bool installed_ = false;
};

}  // namespace tarnwell::crash
