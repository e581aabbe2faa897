#include "crash/CrashContext.h"

#include <cstring>

namespace tarnwell::crash {

namespace {
CrashContext staticContext;
CrashContext *currentContext = nullptr;
// Kept apart from the context so resetting the context never clears a crash in progress.
int crashOccurredFlag = 0;
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
    int expected = 0;
    return !__atomic_compare_exchange_n(&crashOccurredFlag, &expected, 1, false, __ATOMIC_SEQ_CST,
                                        __ATOMIC_SEQ_CST);
}

bool crashOccurred() {
    return __atomic_load_n(&crashOccurredFlag, __ATOMIC_SEQ_CST) != 0;
}

}  // namespace tarnwell::crash
