#include "crash/ThreadSignalStack.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "crash/CrashLog.h"

namespace tarnwell::crash {

namespace {
size_t pageSize() {
    return size_t(sysconf(_SC_PAGESIZE));
}
}  // namespace

void *ThreadSignalStack::mapGuarded(size_t size) {
    // The guard page turns an overflow of the handler into a clean fault instead of
    // silently overwriting whatever is mapped below.
    void *mapping = mmap(nullptr, size + pageSize(), PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapping == MAP_FAILED) {
        return nullptr;
    }
    mprotect(mapping, pageSize(), PROT_NONE);
    return static_cast<char *>(mapping) + pageSize();
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
        CRS_WARN("Unable to setup stack %s\n", strerrordesc_np(errno));
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

}  // namespace tarnwell::crash
