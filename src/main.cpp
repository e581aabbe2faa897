#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "BuildInfo.h"
#include "cli/CommandLine.h"
#include "cli/CrashReportsCommand.h"
#include "crash/CrashLog.h"
#include "crash/CrashReporter.h"
#include "crash/DeliberateCrash.h"
#include "crash/ReportStore.h"
#include "crash/TelemetryDirectory.h"

using namespace tarnwell;

namespace {

constexpr std::array<cli::Subcommand, 1> kSubcommands{{
    {"crash-reports", "list the reports of earlier crashes (--json for JSON)",
     cli::runCrashReports},
}};

// First thing in main: a crash anywhere later, start-up included, leaves a report.
void installCrashReporting() {
    const std::string telemetry = crash::telemetryDirectory(kBundleIdentifier);
    if (telemetry.empty()) {
        return;
    }
    // The kit's own warnings, for support; quiet otherwise.
    if (std::getenv("TARNWELL_CRASH_LOG") != nullptr) {
        crash::setCrashLogDescriptor(STDERR_FILENO);
    }
    crash::CrashReportingOptions options;
    options.reportsDirectory = crash::ReportStore::folderIn(telemetry).string();
    options.metadata.bundleIdentifier = kBundleIdentifier;
    options.metadata.buildVersion = kBuildNumber;
    options.metadata.displayVersion = kMarketingVersion;
    crash::startCrashReporting(options);
}

// Hidden from --help: support asks a user to run it to check that reports work.
constexpr std::string_view kDebugCrashOption = "--debug-crash=";

int crashOnPurpose(std::string_view option) {
    const std::string_view way = option.substr(kDebugCrashOption.size());
    const auto how = crash::parseDeliberateCrash(way);
    if (!how) {
        return cli::usageError("unknown crash '" + std::string(way) +
                               "' (segv, abort, fpe, ill, bus, throw, throw-int)");
    }
    crash::crashDeliberately(*how);
}

int runApplication(int argc, char **argv) {
    for (int i = 1; i < argc; ++i) {
        return cli::usageError("unknown option '" + std::string(argv[i]) + "'");
    }
    return cli::usageError("no command given");
}

}  // namespace

int main(int argc, char **argv) {
    installCrashReporting();
    if (argc >= 2 && std::string_view(argv[1]).starts_with(kDebugCrashOption)) {
        return crashOnPurpose(argv[1]);
    }
    return cli::dispatch(argc, argv, kSubcommands, runApplication);
}
