#pragma once

#include <string>

#include "crash/ReportMetadata.h"

namespace tarnwell::crash {

struct CrashReportingOptions {
    // The reports folder (see ReportStore).
    std::string reportsDirectory;
    // Identity values for the metadata record: the run's identity shared with the events
    // kit. Without an install identifier the reporter makes its own identity.
    MetadataValues metadata;
    // Off for processes that are known to chain other handlers on purpose.
    bool checkForeignHandlers = true;
    // Polls the loader for images loaded or unloaded later (dlopen, dlclose).
    bool watchImages = true;
};

// Starts crash capture for the whole process: keeps the previous run's crash report,
// prepares a fresh active report, fills the image table and log, writes the metadata,
// then installs the alternate stack, the signal handlers and the terminate handler. A
// signal ignored when it starts stays ignored.
// Once per process, from the main thread before other threads start; normal context.
// False when no report directory could be prepared (capture is then off).
bool startCrashReporting(const CrashReportingOptions &options);

// The foreign-handler check, once per process and only when the options asked for it.
// Run when start-up is over (the event loop's first turn): a toolkit or library that
// installs its own signal handlers does so after crash reporting started. Normal context.
void checkForeignSignalHandlersOnce();

}  // namespace tarnwell::crash
