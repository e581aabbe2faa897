#pragma once

#include <cstdint>
#include <span>

// The names and masks the Mach exception server uses. Plain tables with the kernel's
// numbers spelt out, so they build and are tested on every platform; the server itself
// exists on macOS only. All functions are async-signal-safe.
namespace tarnwell::crash::mach {

inline constexpr uint32_t kMaskBadAccess = 1u << 1;       // EXC_MASK_BAD_ACCESS
inline constexpr uint32_t kMaskBadInstruction = 1u << 2;  // EXC_MASK_BAD_INSTRUCTION
inline constexpr uint32_t kMaskArithmetic = 1u << 3;      // EXC_MASK_ARITHMETIC
inline constexpr uint32_t kMaskBreakpoint = 1u << 6;      // EXC_MASK_BREAKPOINT
inline constexpr uint32_t kMaskCrash = 1u << 10;          // EXC_MASK_CRASH
inline constexpr uint32_t kMaskGuard = 1u << 12;          // EXC_MASK_GUARD

// "EXC_BAD_ACCESS" and the rest by exception type; null for types not captured.
const char *exceptionName(int type);
// The name of the first code for that type, or null.
const char *exceptionCodeName(int type, int64_t firstCode);
// The exception mask that stands for a Unix signal; 0 for signals without one.
uint32_t exceptionMaskForSignal(int number);
// 1060, 1070 .. 1090, 101000 .. 101600 by the system's minor version number alone (the
// major number is deliberately not consulted); 0 for any other minor number.
uint32_t systemVersionCode(int minorVersion);
// The mask to register: the four fault classes, EXC_GUARD from version code 1070 on,
// minus the classes of the signals whose delivery the application insists on.
uint32_t exceptionMask(uint32_t versionCode, std::span<const int> signalsDeliveredAsSignals);

}  // namespace tarnwell::crash::mach
