#pragma once

#include "crash/CrashContext.h"

namespace tarnwell::crash {

// "SIGSEGV" and the rest for the seven captured signals, "UNKNOWN" for any other.
// Async-signal-safe.
const char *signalName(int number);
// "ABORT" for SIGABRT, null for every other signal. Async-signal-safe.
const char *signalCodeName(int number);

// Normal context, once: deletes the report's old signal record, installs the alternate
// stack (the context's, kAlternateStackSize bytes) and the handler for the seven signals,
// saving what was there before. Returns false when any handler failed to install.
bool installSignalCapture(CrashContext &context);

// Writes a warning to `fd` for each captured signal whose handler is not ours. Normal
// context (it asks the dynamic linker for the foreign handler's symbol name).
void checkForeignSignalHandlers(int fd);

// Resets the seven signals to the default action. Async-signal-safe.
void removeSignalHandlers();
// Puts back the previous actions and alternate stack saved at installation.
// Async-signal-safe.
bool reinstallPreviousSignalHandlers(const CrashContext &context);

}  // namespace tarnwell::crash
