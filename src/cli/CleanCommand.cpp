#include <QString>
#include <algorithm>
#include <future>
#include <iostream>
#include <memory>
#include <string>

#include "cli/ConsoleText.h"
#include "cli/MemoryCommands.h"
#include "memory/QRMMemoryInfo.h"
#include "memory/QRMRecordKeys.h"

namespace tarnwell::cli {

namespace {

// Why the engine declined, in the interface language.
std::string declinedText(CleaningRefusal refusal) {
    const char *reason = "";
    switch (refusal) {
        case CleaningRefusal::AlreadyCleaning:
            reason = "CleanRefusedAlreadyCleaning";
            break;
        case CleaningRefusal::NoUsableStatistics:
            reason = "CleanRefusedNoUsableStatistics";
            break;
        case CleaningRefusal::NoRoomAboveReserve:
            reason = "CleanRefusedNoRoomAboveReserve";
            break;
        case CleaningRefusal::CouldNotStart:
            reason = "CleanRefusedCouldNotStart";
            break;
    }
    return consoleText("CleanDeclined") + ' ' + consoleText(reason);
}

// Stable identifiers of the refusals for --json.
const char *refusalKey(CleaningRefusal refusal) {
    switch (refusal) {
        case CleaningRefusal::AlreadyCleaning:
            return "already-cleaning";
        case CleaningRefusal::NoUsableStatistics:
            return "no-usable-statistics";
        case CleaningRefusal::NoRoomAboveReserve:
            return "no-room-above-reserve";
        case CleaningRefusal::CouldNotStart:
            return "could-not-start";
    }
    return "";
}

// Free memory as the exact 64-bit product of page count and page size:
// "freeBytes" is a 32-bit figure that wraps at 4 GiB, which would make the
// before and after figures meaningless on most machines.
uint64_t freeMemory(const QRMStatisticsRecord &record) {
    const auto count = record.find(keys::freeCount);
    const auto pageSize = record.find(keys::pageSize);
    if (count == record.end() || pageSize == record.end()) {
        return 0;
    }
    return count->second.toUInt64() * pageSize->second.toUInt64();
}

std::string size(uint64_t bytes) {
    return QRMMemoryInfo::adaptiveMemorySize(bytes, true, false, false);
}

}  // namespace

int clean(QRMMemoryInfo &memory, Arguments args, std::ostream &out) {
    bool json = false;
    for (const std::string_view arg : args) {
        if (arg != "--json") {
            return unknownOptionError("clean", arg);
        }
        json = true;
    }

    memory.refresh();
    const uint64_t before = freeMemory(memory.info());

    // Shared with the observer: the cleaning thread may still be leaving
    // set_value when the wait below returns.
    const auto cleaned = std::make_shared<std::promise<void>>();
    const int observer = memory.addMemoryCleanedObserver([cleaned] { cleaned->set_value(); });
    const CleaningDecision decision = memory.cleanMemoryNow();
    if (decision.started()) {
        cleaned->get_future().wait();
    }
    memory.removeMemoryCleanedObserver(observer);

    if (!decision.started()) {
        if (json) {
            out << R"({"cleaned":false,"reason":")" << refusalKey(*decision.refusal) << "\"}\n";
        } else {
            out << declinedText(*decision.refusal) << '\n';
        }
        return kExitFailure;
    }

    memory.refresh();
    const uint64_t after = freeMemory(memory.info());
    const uint64_t freed = after > before ? after - before : 0;
    if (json) {
        out << R"({"cleaned":true,"blockBytes":)" << decision.blockBytes << R"(,"freeBytesBefore":)"
            << before << R"(,"freeBytesAfter":)" << after << R"(,"freedBytes":)" << freed << "}\n";
        return kExitOk;
    }
    // Labels padded to the longest so the sizes line up in any language.
    const std::string freeBeforeLabel = consoleText("CleanFreeBefore");
    const std::string freeAfterLabel = consoleText("CleanFreeAfter");
    const std::string freedLabel = freed == 0 ? std::string() : consoleText("CleanFreed");
    const int width = int(std::max({QString::fromStdString(freeBeforeLabel).size(),
                                    QString::fromStdString(freeAfterLabel).size(),
                                    QString::fromStdString(freedLabel).size()}));
    const auto line = [&](const std::string &label, uint64_t bytes) {
        out << leftJustified(label, width + 1) << size(bytes) << '\n';
    };
    line(freeBeforeLabel, before);
    line(freeAfterLabel, after);
    if (freed == 0) {
        out << consoleText("CleanNothingFreed") << '\n';
    } else {
        line(freedLabel, freed);
    }
    return kExitOk;
}

int runClean(Arguments args) {
    return clean(QRMMemoryInfo::sharedMemoryInfo(), args, std::cout);
}

}  // namespace tarnwell::cli
