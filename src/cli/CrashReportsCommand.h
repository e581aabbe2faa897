#pragma once

#include "cli/CommandLine.h"

namespace tarnwell::cli {

// `tarnwell crash-reports [--json]`: lists the kept crash reports, newest first.
int runCrashReports(Arguments args);

}  // namespace tarnwell::cli
