#include <charconv>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <string>
#include <thread>

#include "cli/ConsoleText.h"
#include "cli/MemoryCommands.h"
#include "memory/DecimalText.h"
#include "memory/QRMMemoryInfo.h"
#include "memory/QRMRecordKeys.h"
#include "memory/RecordFigures.h"

namespace tarnwell::cli {

namespace {

std::string invalidInterval(std::string_view interval) {
    return "invalid interval '" + std::string(interval) + "': give whole seconds, at least 1";
}

constexpr std::chrono::seconds kDefaultInterval{5};

struct StatsOptions {
    bool json = false;
    bool pretty = false;
    bool watch = false;
    std::chrono::seconds interval = kDefaultInterval;
};

std::optional<std::chrono::seconds> parseInterval(std::string_view text) {
    unsigned seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds == 0) {
        return std::nullopt;
    }
    return std::chrono::seconds(seconds);
}

// Empty after a usage error has been reported.
std::optional<StatsOptions> parseOptions(Arguments args) {
    StatsOptions options;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string_view arg = args[i];
        if (arg == "--json") {
            options.json = true;
        } else if (arg == "--pretty") {
            options.pretty = true;
        } else if (arg == "--watch") {
            options.watch = true;
            if (i + 1 < args.size() && !std::string_view(args[i + 1]).starts_with("--")) {
                const auto interval = parseInterval(args[++i]);
                if (!interval) {
                    usageError(invalidInterval(args[i]));
                    return std::nullopt;
                }
                options.interval = *interval;
            }
        } else {
            unknownOptionError("stats", arg);
            return std::nullopt;
        }
    }
    if (options.pretty && !options.json) {
        usageError("stats: --pretty goes with --json");
        return std::nullopt;
    }
    return options;
}

// Integers as integers; percentages with two decimals (they are floats, and
// more digits would only show float noise).
std::string valueText(const QRMNumber &value) {
    switch (value.type()) {
        case QRMNumber::Type::UInt32:
        case QRMNumber::Type::UInt64:
            return std::to_string(value.toUInt64());
        case QRMNumber::Type::Int32:
            return std::to_string(value.toInt64());
        case QRMNumber::Type::Float:
            return twoDecimals(value.toDouble());
    }
    return {};
}

// JSON has no infinity or not-a-number: a percentage of a zero total is null.
std::string jsonValue(const QRMNumber &value) {
    if (value.type() != QRMNumber::Type::Float) {
        return valueText(value);
    }
    const float number = static_cast<float>(value.toDouble());
    if (!std::isfinite(number)) {
        return "null";
    }
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, number);
    return std::string(buffer, result.ptr);
}

// One line, so that `--watch` gives a line per sample; pretty puts each key
// on its own indented line instead.
void printJson(const QRMStatisticsRecord &record, bool pretty, std::ostream &out) {
    const char *const separator = pretty ? "\n  " : "";
    out << '{';
    bool first = true;
    for (const auto &key : keys::kRecordKeys) {
        const auto found = record.find(key.name);
        if (found == record.end()) {
            continue;
        }
        out << (first ? "" : ",") << separator << '"' << key.name << "\":" << (pretty ? " " : "")
            << jsonValue(found->second);
        first = false;
    }
    out << (pretty ? "\n}\n" : "}\n");
}

void printTable(const QRMStatisticsRecord &record, std::ostream &out) {
    constexpr int kKeyWidth = 40;
    constexpr int kValueWidth = 16;
    out << leftJustified(consoleText("StatsKeyHeading"), kKeyWidth)
        << rightJustified(consoleText("StatsValueHeading"), kValueWidth) << "  "
        << consoleText("StatsSizeHeading") << '\n';
    for (const auto &key : keys::kRecordKeys) {
        const auto found = record.find(key.name);
        if (found == record.end()) {
            continue;
        }
        out << std::left << std::setw(kKeyWidth) << key.name << std::right << std::setw(kValueWidth)
            << valueText(found->second);
        if (key.isByteSize) {
            // The value column keeps the stored number; the size a person
            // reads is exact where the stored one wraps at 4 GiB.
            const uint64_t bytes =
                key.countKey.empty() ? found->second.toUInt64() : exactBytes(record, key.countKey);
            out << "  " << QRMMemoryInfo::adaptiveMemorySize(bytes, true, false, false);
        }
        out << '\n';
    }
}

}  // namespace

bool refreshed(QRMMemoryInfo &memory, std::ostream &err) {
    memory.refresh();
    const std::string problem = memory.sampleProblem();
    if (problem.empty()) {
        return true;
    }
    err << "tarnwell: " << consoleText("MemoryUnreadable") << ": " << problem << '\n';
    return false;
}

int stats(QRMMemoryInfo &memory, Arguments args, std::ostream &out, std::ostream &err,
          const WaitForNextRefresh &waitForNextRefresh) {
    const auto options = parseOptions(args);
    if (!options) {
        return kExitUsage;
    }
    for (bool first = true;; first = false) {
        if (!refreshed(memory, err)) {
            return kExitFailure;
        }
        const QRMStatisticsRecord record = memory.info();
        if (options->json) {
            printJson(record, options->pretty, out);
        } else {
            out << (first ? "" : "\n");
            printTable(record, out);
        }
        // A watch whose output goes nowhere ends; the dispatcher says why.
        if (!out.flush()) {
            return kExitFailure;
        }
        if (!options->watch || !waitForNextRefresh(options->interval)) {
            return kExitOk;
        }
    }
}

int runStats(Arguments args) {
    return stats(QRMMemoryInfo::sharedMemoryInfo(), args, std::cout, std::cerr,
                 [](std::chrono::seconds interval) {
                     std::this_thread::sleep_for(interval);
                     return true;
                 });
}

}  // namespace tarnwell::cli
