#include "crash/CrashContext.h"

#include <time.h>
#include <unistd.h>

#include <cstring>

namespace tarnwell::crash {

namespace {
CrashContext staticContext;
CrashContext *currentContext = nullptr;
// Kept apart from the context so resetting the context never clears a crash in progress.
// Holds the thread id of the path that is recording, 0 before any crash.
pid_t crashOccurredFlag = 0;

// Long enough for any report to be written; a recording path that hangs must still not
// keep the process alive for good.
constexpr int kWaitForOtherRecordingMilliseconds = 5000;

void waitForTheRecordingThreadToEndTheProcess() {
    const timespec step{0, 1000 * 1000};
    for (int waited = 0; waited < kWaitForOtherRecordingMilliseconds; ++waited) {
        nanosleep(&step, nullptr);
    }
}
}  // namespace

CrashContext *crashContext() {
    return __atomic_load_n(&currentContext, __ATOMIC_ACQUIRE);
}

CrashContext &resetCrashContext() {
    memset(&staticContext, 0, sizeof staticContext);
    __atomic_store_n(&currentContext, &staticContext, __ATOMIC_RELEASE);
    return staticContext;
}

bool testAndSetCrashOccurred(const CrashContext &context) {
    if (!context.enabled) {
        return crashOccurred();
    }
    const pid_t self = gettid();
    pid_t recording = 0;
    if (__atomic_compare_exchange_n(&crashOccurredFlag, &recording, self, false, __ATOMIC_SEQ_CST,
                                    __ATOMIC_SEQ_CST)) {
        return false;
    }
    if (recording != self) {
        waitForTheRecordingThreadToEndTheProcess();
    }
    return true;
}

bool crashOccurred() {
    return __atomic_load_n(&crashOccurredFlag, __ATOMIC_SEQ_CST) != 0;
}

}  // namespace tarnwell::crash
