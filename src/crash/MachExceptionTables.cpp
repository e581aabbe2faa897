#include "crash/MachExceptionTables.h"

#include <signal.h>

namespace tarnwell::crash::mach {

namespace {

constexpr int kBadAccess = 1;
constexpr int kBadInstruction = 2;
constexpr int kArithmetic = 3;
constexpr int kBreakpoint = 6;
constexpr int kGuard = 12;

constexpr int64_t kInvalidAddress = 1;     // KERN_INVALID_ADDRESS
constexpr int64_t kProtectionFailure = 2;  // KERN_PROTECTION_FAILURE

constexpr const char *kArithmeticCodes[] = {
    "EXC_I386_DIV",    "EXC_I386_INTO",  "EXC_I386_NOEXT", "EXC_I386_EXTOVR",
    "EXC_I386_EXTERR", "EXC_I386_EMERR", "EXC_I386_BOUND", "EXC_I386_SSEEXTERR"};

// The processor's trap numbers that have a name; the others have none of their own.
struct TrapName {
    int64_t number;
    const char *name;
};
constexpr TrapName kTrapNames[] = {
    {0, "EXC_I386_DIVERR"},     {1, "EXC_I386_SGLSTP"},     {2, "EXC_I386_NMIFLT"},
    {3, "EXC_I386_BPTFLT"},     {4, "EXC_I386_INTOFLT"},    {5, "EXC_I386_BOUNDFLT"},
    {6, "EXC_I386_INVOPFLT"},   {7, "EXC_I386_NOEXTFLT"},   {9, "EXC_I386_EXTOVRFLT"},
    {10, "EXC_I386_INVTSSFLT"}, {11, "EXC_I386_SEGNPFLT"},  {12, "EXC_I386_STKFLT"},
    {13, "EXC_I386_GPFLT"},     {14, "EXC_I386_PGFLT"},     {16, "EXC_I386_EXTERRFLT"},
    {17, "EXC_I386_ALIGNFLT"},  {32, "EXC_I386_ENOEXTFLT"}, {33, "EXC_I386_ENDPERR"}};

const char *trapName(int64_t number) {
    for (const TrapName &trap : kTrapNames) {
        if (trap.number == number) {
            return trap.name;
        }
    }
    return nullptr;
}

constexpr uint32_t kCapturedFaults =
    kMaskBadAccess | kMaskBadInstruction | kMaskArithmetic | kMaskBreakpoint;
constexpr uint32_t kFirstVersionWithGuard = 1070;

}  // namespace

const char *exceptionName(int type) {
    switch (type) {
        case kBadAccess:
            return "EXC_BAD_ACCESS";
        case kBadInstruction:
            return "EXC_BAD_INSTRUCTION";
        case kArithmetic:
            return "EXC_ARITHMETIC";
        case kBreakpoint:
            return "EXC_BREAKPOINT";
        case kGuard:
            return "EXC_GUARD";
        default:
            return nullptr;
    }
}

const char *exceptionCodeName(int type, int64_t firstCode) {
    switch (type) {
        case kBadAccess:
            return firstCode == kInvalidAddress      ? "KERN_INVALID_ADDRESS"
                   : firstCode == kProtectionFailure ? "KERN_PROTECTION_FAILURE"
                                                     : nullptr;
        case kBadInstruction:
            return "EXC_I386_INVOP";
        case kArithmetic:
            return firstCode >= 1 && firstCode <= 8 ? kArithmeticCodes[firstCode - 1] : nullptr;
        case kBreakpoint:
            return trapName(firstCode);
        default:
            return nullptr;
    }
}

uint32_t exceptionMaskForSignal(int number) {
    switch (number) {
        case SIGILL:
            return kMaskBadInstruction;
        case SIGTRAP:
            return kMaskBreakpoint;
        case SIGABRT:
        case SIGSYS:
            return kMaskCrash;
        case SIGFPE:
            return kMaskArithmetic;
        case SIGBUS:
        case SIGSEGV:
            return kMaskBadAccess;
        default:
            return 0;
    }
}

uint32_t systemVersionCode(int minorVersion) {
    if (minorVersion >= 6 && minorVersion <= 9) {
        return 1000 + uint32_t(minorVersion) * 10;
    }
    if (minorVersion >= 10 && minorVersion <= 16) {
        return 100000 + uint32_t(minorVersion) * 100;
    }
    return 0;
}

uint32_t exceptionMask(uint32_t versionCode, std::span<const int> signalsDeliveredAsSignals) {
    uint32_t mask = kCapturedFaults;
    if (versionCode >= kFirstVersionWithGuard) {
        mask |= kMaskGuard;
    }
    for (int number : signalsDeliveredAsSignals) {
        mask &= ~exceptionMaskForSignal(number);
    }
    return mask;
}

}  // namespace tarnwell::crash::mach
