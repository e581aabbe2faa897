#pragma once

#include <exception>
#include <string>

#include "crash/CrashContext.h"

namespace tarnwell::crash {

// What the terminate handler learnt about the active exception.
struct ExceptionDescription {
    std::string typeName;
    std::string reason;
};

// Classifies the exception currently being handled (call inside a catch block or the
// terminate handler): const char *, std::string, std::exception by reference or by
// pointer (dynamic type, demangled, and what()), anything else by its demangled type
// with an empty reason. Normal context.
ExceptionDescription describeCurrentException();

// Deletes the report's old exception record and installs the terminate handler,
// keeping the one it replaces.
void installExceptionCapture(CrashContext &context);

// Writes the "exception" record and the throwing thread's record to the context's
// exception file, synchronously: two threads failing at once are written one after the
// other. Kind 2 is a C++ exception.
void recordException(const CrashContext &context, int kind, const ExceptionDescription &exception);

}  // namespace tarnwell::crash
