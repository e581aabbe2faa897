#pragma once

#include <chrono>
#include <functional>
#include <iosfwd>

#include "cli/CommandLine.h"

namespace tarnwell {
class QRMMemoryInfo;
}

namespace tarnwell::cli {

// `tarnwell stats [--json] [--watch [SECONDS]]` and `tarnwell clean [--json]`
// over the machine's memory.
int runStats(Arguments args);
int runClean(Arguments args);

// Waits for the next refresh of `stats --watch`; false ends the watch.
using WaitForNextRefresh = std::function<bool(std::chrono::seconds interval)>;

// The commands over any engine and output streams, so tests give them a
// small made-up machine. Both fail, saying which file and which key on err,
// when the figures cannot be read.
int stats(QRMMemoryInfo &memory, Arguments args, std::ostream &out, std::ostream &err,
          const WaitForNextRefresh &waitForNextRefresh);
int clean(QRMMemoryInfo &memory, Arguments args, std::ostream &out, std::ostream &err);

// Samples memory; false, after saying why on err, when the figures could not
// be read.
bool refreshed(QRMMemoryInfo &memory, std::ostream &err);

}  // namespace tarnwell::cli
