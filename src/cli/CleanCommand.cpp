#include <QString>
#include <algorithm>
#include <future>
#include <iostream>
#include <memory>
#include <string>

#include "cli/ConsoleText.h"
#include "cli/MemoryCommands.h"
#include "memory/QRMMemoryInfo.h"
#include "memory/RecordFigures.h"

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

std::string size(uint64_t bytes) {
    return QRMMemoryInfo::adaptiveMemorySize(bytes, true, false, false);
}

}  // namespace

int clean(QRMMemoryInfo &memory, Arguments args, std::ostream &out, std::ostream &err) {
    bool json = false;
    for (const std::string_view arg : args) {
        if (arg != "--json") {
            return unknownOptionError("clean", arg);
        }
        json = true;
    }

    if (!refreshed(memory, err)) {
        return kExitFailure;
    }
    const uint64_t before = exactBytes(memory.info(), keys::freeCount);

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
    const uint64_t after = exactBytes(memory.info(), keys::freeCount);
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
    return clean(QRMMemoryInfo::sharedMemoryInfo(), args, std::cout, std::cerr);
}

}  // namespace tarnwell::cli
