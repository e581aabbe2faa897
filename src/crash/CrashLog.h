#pragma once

// The crash kit's internal logger. Lines read "WARN  [<function>:<line>] <message>".
// Async-signal-safe: the line is formatted on the stack and written with one write(2).
namespace tarnwell::crash {

// Where log lines go; -1 (the default) discards them. Set in normal context before
// crash capture starts, or by tests that read the lines back.
void setCrashLogDescriptor(int fd);

// Formats the whole line from `format`, which starts with "WARN  [%s:%d] " (function
// name and line number come first among the arguments), followed by the message's own
// directives.
void crashLogWrite(const char *format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace tarnwell::crash

#define CRS_WARN(message, ...)                                           \
    ::tarnwell::crash::crashLogWrite("WARN  [%s:%d] " message, __func__, \
                                     __LINE__ __VA_OPT__(, ) __VA_ARGS__)
