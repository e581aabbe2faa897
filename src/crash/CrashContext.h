#pragma once

#include <limits.h>
#include <signal.h>

#include <cstddef>
#include <cstdint>

#include "crash/ImageTable.h"

namespace tarnwell::crash {

inline constexpr size_t kCapturedSignalCount = 7;
// The order is the index under which each previous action is saved.
inline constexpr int kCapturedSignals[kCapturedSignalCount] = {SIGABRT, SIGBUS, SIGFPE, SIGILL,
                                                               SIGSEGV, SIGSYS, SIGTRAP};
inline constexpr size_t kAlternateStackSize = 0x40000;

// Everything a capture path needs, prepared in normal context before any handler is
// installed. Lives in static storage; capture paths only read it, except for the
// crash-occurred flag.
struct CrashContext {
    bool enabled;
    bool foreignHandlerCheckDisabled;
    // Previous actions by index of kCapturedSignals; a previous action with no handler of
    // its own is kept as all zeros.
    struct sigaction previousActions[kCapturedSignalCount];
    void *alternateStack;
    stack_t previousAlternateStack;
    bool previousAlternateStackSaved;
    char reportDirectory[PATH_MAX];
    char signalRecordPath[PATH_MAX];
    char exceptionRecordPath[PATH_MAX];
    char binaryImagesPath[PATH_MAX];
    ImageTable images;
};

// The one process-wide context, or null before crash reporting is set up.
CrashContext *crashContext();
// Resets the static context to zeros and makes it the current one. Normal context.
CrashContext &resetCrashContext();

// Test-and-set of the flag that lets exactly one capture path write a report: answers
// whether it was already set, and sets it when capture is enabled. When another thread
// set it, that thread is still writing its report and will end the process; this one
// waits for it (bounded) before answering, so its caller's exit cannot cut the report
// short. Async-signal-safe.
bool testAndSetCrashOccurred(const CrashContext &context);
bool crashOccurred();

}  // namespace tarnwell::crash
