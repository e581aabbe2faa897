#include "crash/DeliberateCrash.h"

#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace tarnwell::crash {

namespace {

// The sanitizer build would stop at the null check; the point is the processor's fault.
[[gnu::noinline, gnu::no_sanitize("undefined")]] void storeThroughNull() {
    volatile int *volatile nowhere = nullptr;
    *nowhere = 1;
}

// C's division by zero is undefined and compilers fold it away; the processor's own
// divide instruction is what raises SIGFPE.
[[gnu::noinline]] void divideByZero() {
#if defined(__x86_64__)
    int dividend = 1;
    int divisor = 0;
    asm volatile("cltd\n\tidivl %[divisor]"
                 : "+a"(dividend)
                 : [divisor] "r"(divisor)
                 : "edx", "cc");
#else
    // Integer division by zero does not trap on every processor; raise what it would.
    std::raise(SIGFPE);
#endif
}

[[gnu::noinline]] void readPastMappedFile() {
    // A page of a file with no bytes behind it: reading it is a bus error.
    const int fd = memfd_create("tarnwell-debug-crash", 0);
    void *page =
        fd >= 0 ? mmap(nullptr, size_t(getpagesize()), PROT_READ, MAP_SHARED, fd, 0) : MAP_FAILED;
    if (page == MAP_FAILED) {
        std::raise(SIGBUS);
        return;
    }
    [[maybe_unused]] volatile char byte = *static_cast<volatile char *>(page);
}

}  // namespace

std::optional<DeliberateCrash> parseDeliberateCrash(std::string_view name) {
    static constexpr std::pair<std::string_view, DeliberateCrash> kNames[] = {
        {"segv", DeliberateCrash::Segv},         {"abort", DeliberateCrash::Abort},
        {"fpe", DeliberateCrash::Fpe},           {"ill", DeliberateCrash::Ill},
        {"bus", DeliberateCrash::Bus},           {"throw", DeliberateCrash::Throw},
        {"throw-int", DeliberateCrash::ThrowInt}};
    for (const auto &[text, how] : kNames) {
        if (text == name) {
            return how;
        }
    }
    return std::nullopt;
}

void crashDeliberately(DeliberateCrash how) {
    switch (how) {
        case DeliberateCrash::Segv:
            storeThroughNull();
            break;
        case DeliberateCrash::Abort:
            std::abort();
        case DeliberateCrash::Fpe:
            divideByZero();
            break;
        case DeliberateCrash::Ill:
            __builtin_trap();
        case DeliberateCrash::Bus:
            readPastMappedFile();
            break;
        case DeliberateCrash::Throw:
            throw std::runtime_error("deliberate crash");
        case DeliberateCrash::ThrowInt:
            throw 42;
    }
    // Only reached when a fault was ignored by a handler that returned.
    std::abort();
}

}  // namespace tarnwell::crash
