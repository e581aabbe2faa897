#include "crash/CrashLog.h"

#include <unistd.h>

#include <atomic>
#include <cstdarg>

#include "crash/SafeFormat.h"

namespace tarnwell::crash {

namespace {
std::atomic<int> logDescriptor{-1};
}

void setCrashLogDescriptor(int fd) {
    logDescriptor.store(fd);
}

void crashLogWrite(const char *format, ...) {
    const int fd = logDescriptor.load();
    if (fd < 0) {
        return;
    }
    char line[512];
    va_list args;
    va_start(args, format);
    const size_t length = safeFormatV(line, sizeof line, format, args);
    va_end(args);
    // One write keeps lines from two threads whole; a short write only trims a log line.
    [[maybe_unused]] const ssize_t written = ::write(fd, line, length);
}

}  // namespace tarnwell::crash
