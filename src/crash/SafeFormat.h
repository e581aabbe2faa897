#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>

// Text helpers for code that may run in a signal handler: no allocation, no locale,
// no stdio. Every function here is async-signal-safe.
namespace tarnwell::crash {

// Longest unsigned 64-bit decimal (20 digits) plus the terminator.
inline constexpr size_t kNumberBufferSize = 21;

// Writes `value` in base 10 or 16 (lowercase digits), most significant digit first,
// NUL-terminated, into `out`; returns the digit count.
size_t formatUnsigned(uint64_t value, unsigned base, char (&out)[kNumberBufferSize]);

size_t safeStringLength(const char *text);

// Formats into `out` (always NUL-terminated when size > 0) and returns the length written.
// Understands %s %d %i %u %x %p %c %% with the length modifiers l, ll and z; a null %s
// prints "(null)". Anything else is copied through as written.
size_t safeFormat(char *out, size_t size, const char *format, ...)
    __attribute__((format(printf, 3, 4)));
size_t safeFormatV(char *out, size_t size, const char *format, va_list args);

}  // namespace tarnwell::crash
