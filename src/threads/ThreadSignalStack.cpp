#include "threads/ThreadSignalStack.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace tarnwell::threads {

namespace {

std::atomic<ThreadSignalStack::FailureReporter> failureReporter{nullptr};

size_t pageSize() {
    return size_t(sysconf(_SC_PAGESIZE));
}

void reportFailure(const char *what, int error) {
    if (const auto reporter = failureReporter.load()) {
        reporter(what, error);
    }
}

}  // namespace

void ThreadSignalStack::setFailureReporter(FailureReporter reporter) {
    failureReporter.store(reporter);
}

void *ThreadSignalStack::mapGuarded(size_t size) {
    // Committed and populated now, not on first use: a crash is most likely when free
    // memory is nearly gone (this program drives it there on purpose), and a handler
    // whose stack must first be faulted in could not run then. The kernel hands the
    // pages over zero-filled.
    void *mapping = mmap(nullptr, size + pageSize(), PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (mapping == MAP_FAILED) {
        reportFailure("map signal stack", errno);
        return nullptr;
    }
    // The guard page turns an overflow of the handler into a clean fault instead of
    // silently overwriting whatever is mapped below.
    mprotect(mapping, pageSize(), PROT_NONE);
    void *stack = static_cast<char *>(mapping) + pageSize();
    // Locked where the limit allows, so that reclaim cannot swap it out again; unlocked,
    // the populated stack still serves, it may only need paging back in.
    if (mlock(stack, size) != 0) {
        reportFailure("lock signal stack", errno);
    }
    return stack;
}

ThreadSignalStack::ThreadSignalStack(size_t size)
    : size_(size < kMinimumSize ? kMinimumSize : size) {
    stack_ = mapGuarded(size_);
    if (stack_ == nullptr) {
        return;
    }
    stack_t stack{};
    stack.ss_sp = stack_;
    stack.ss_size = size_;
    installed_ = sigaltstack(&stack, &previous_) == 0;
    if (!installed_) {
        reportFailure("install signal stack", errno);
    }
}

ThreadSignalStack::~ThreadSignalStack() {
    if (installed_) {
        sigaltstack(&previous_, nullptr);
    }
    if (stack_ != nullptr) {
        munmap(static_cast<char *>(stack_) - pageSize(), size_ + pageSize());
    }
}

}  // namespace tarnwell::threads
