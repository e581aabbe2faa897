#include "ProcParsers.h"

#include <charconv>
#include <limits>

namespace tarnwell::proc {

namespace {

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(" \t\r");
    return text.substr(first, last - first + 1);
}

// Calls visit(line) for each line; the last line may lack its newline.
template <class Visit>
void forEachLine(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const auto end = text.find('\n');
        visit(text.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
    }
}

std::optional<uint64_t> parseUnsigned(std::string_view digits) {
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size() || digits.empty()) {
        return std::nullopt;
    }
    return value;
}

std::string invalidValue(std::string_view key, std::string_view value) {
    return std::string(key) + ": not a number: '" + std::string(value) + "'";
}

struct MeminfoKey {
    std::string_view name;
    uint64_t MeminfoFields::*member;
    bool required;
};

constexpr MeminfoKey kMeminfoKeys[] = {
    {"MemTotal", &MeminfoFields::memTotalBytes, true},
    {"MemFree", &MeminfoFields::memFreeBytes, true},
    {"Active", &MeminfoFields::activeBytes, true},
    {"Inactive", &MeminfoFields::inactiveBytes, true},
    {"Active(anon)", &MeminfoFields::activeAnonBytes, false},
    {"Inactive(anon)", &MeminfoFields::inactiveAnonBytes, false},
    {"Active(file)", &MeminfoFields::activeFileBytes, false},
    {"Inactive(file)", &MeminfoFields::inactiveFileBytes, false},
    {"Unevictable", &MeminfoFields::unevictableBytes, false},
    {"SReclaimable", &MeminfoFields::sReclaimableBytes, false},
    {"SUnreclaim", &MeminfoFields::sUnreclaimBytes, false},
    {"KernelStack", &MeminfoFields::kernelStackBytes, false},
    {"PageTables", &MeminfoFields::pageTablesBytes, false},
    {"SwapTotal", &MeminfoFields::swapTotalBytes, true},
    {"SwapFree", &MeminfoFields::swapFreeBytes, true},
    {"Zswap", &MeminfoFields::zswapBytes, false},
    {"Zswapped", &MeminfoFields::zswappedBytes, false},
};
constexpr std::string_view kMemAvailable = "MemAvailable";

// "  24683620 kB" -> bytes. Every field read here is reported in kB.
std::optional<uint64_t> parseKilobytes(std::string_view value) {
    value = trimmed(value);
    if (!value.ends_with("kB")) {
        return std::nullopt;
    }
    const auto kilobytes = parseUnsigned(trimmed(value.substr(0, value.size() - 2)));
    if (!kilobytes || *kilobytes > std::numeric_limits<uint64_t>::max() / 1024) {
        return std::nullopt;
    }
    return *kilobytes * 1024;
}

}  // namespace

ParseResult<MeminfoFields> parseMeminfo(std::string_view text) {
    MeminfoFields fields;
    bool seen[std::size(kMeminfoKeys)] = {};
    std::optional<ParseError> error;
    forEachLine(text, [&](std::string_view line) {
        const auto colon = line.find(':');
        if (error || colon == std::string_view::npos) {
            return;
        }
        const std::string_view key = line.substr(0, colon);
        const std::string_view value = line.substr(colon + 1);
        if (key == kMemAvailable) {
            if (fields.memAvailableBytes) {
                return;
            }
            fields.memAvailableBytes = parseKilobytes(value);
            if (!fields.memAvailableBytes) {
                error = ParseError{invalidValue(key, trimmed(value))};
            }
            return;
        }
        for (size_t i = 0; i < std::size(kMeminfoKeys); ++i) {
            if (kMeminfoKeys[i].name != key || seen[i]) {
                continue;
            }
            const auto bytes = parseKilobytes(value);
            if (!bytes) {
                error = ParseError{invalidValue(key, trimmed(value))};
                return;
            }
            fields.*kMeminfoKeys[i].member = *bytes;
            seen[i] = true;
        }
    });
    if (error) {
        return *error;
    }
    for (size_t i = 0; i < std::size(kMeminfoKeys); ++i) {
        if (kMeminfoKeys[i].required && !seen[i]) {
            return ParseError{"missing " + std::string(kMeminfoKeys[i].name)};
        }
    }
    return fields;
}

ParseResult<VmstatFields> parseVmstat(std::string_view text) {
    struct Counter {
        std::string_view name;
        uint64_t VmstatFields::*member;
        bool perZone;  // also matches name + "_<zone>", summed
    };
    static constexpr Counter kCounters[] = {
        {"pgfault", &VmstatFields::pgfault, false},
        {"pgactivate", &VmstatFields::pgactivate, false},
        {"pgmajfault", &VmstatFields::pgmajfault, false},
        {"pswpin", &VmstatFields::pswpin, false},
        {"pswpout", &VmstatFields::pswpout, false},
        {"pgsteal_kswapd", &VmstatFields::pgstealKswapd, true},
        {"pgsteal_direct", &VmstatFields::pgstealDirect, true},
        {"zswpin", &VmstatFields::zswpin, false},
        {"zswpout", &VmstatFields::zswpout, false},
    };
    VmstatFields fields;
    std::optional<ParseError> error;
    forEachLine(text, [&](std::string_view line) {
        const auto space = line.find(' ');
        if (error || space == std::string_view::npos) {
            return;
        }
        const std::string_view key = line.substr(0, space);
        for (const Counter &counter : kCounters) {
            const bool matches =
                key == counter.name ||
                (counter.perZone && key.starts_with(counter.name) &&
                 key.size() > counter.name.size() && key[counter.name.size()] == '_');
            if (!matches) {
                continue;
            }
            const std::string_view value = trimmed(line.substr(space + 1));
            const auto number = parseUnsigned(value);
            if (!number) {
                error = ParseError{invalidValue(key, value)};
                return;
            }
            fields.*counter.member += *number;
        }
    });
    if (error) {
        return *error;
    }
    return fields;
}

namespace {

// The kernel escapes blanks and backslashes in paths as \ooo octal.
std::string decodeOctalEscapes(std::string_view path) {
    std::string decoded;
    for (size_t i = 0; i < path.size(); ++i) {
        if (path[i] == '\\' && i + 3 < path.size() && path[i + 1] >= '0' && path[i + 1] <= '3' &&
            path[i + 2] >= '0' && path[i + 2] <= '7' && path[i + 3] >= '0' && path[i + 3] <= '7') {
            decoded +=
                char((path[i + 1] - '0') * 64 + (path[i + 2] - '0') * 8 + (path[i + 3] - '0'));
            i += 3;
        } else {
            decoded += path[i];
        }
    }
    return decoded;
}

std::vector<std::string_view> splitOnBlanks(std::string_view line) {
    std::vector<std::string_view> fields;
    size_t position = 0;
    while (true) {
        const auto begin = line.find_first_not_of(" \t\r", position);
        if (begin == std::string_view::npos) {
            return fields;
        }
        const auto end = line.find_first_of(" \t\r", begin);
        fields.push_back(line.substr(begin, end - begin));
        if (end == std::string_view::npos) {
            return fields;
        }
        position = end;
    }
}

}  // namespace

ParseResult<std::vector<SwapArea>> parseSwaps(std::string_view text) {
    std::vector<SwapArea> areas;
    std::optional<ParseError> error;
    bool headerSeen = false;
    forEachLine(text, [&](std::string_view line) {
        if (error) {
            return;
        }
        if (!headerSeen) {
            headerSeen = true;
            if (!line.starts_with("Filename")) {
                error = ParseError{"missing the Filename header"};
            }
            return;
        }
        const auto fields = splitOnBlanks(line);
        if (fields.empty()) {
            return;
        }
        // Filename Type Size Used Priority; sizes in kB, priority may be negative.
        if (fields.size() != 5 || !parseUnsigned(fields[2]) || !parseUnsigned(fields[3])) {
            error = ParseError{"malformed swap area: '" + std::string(trimmed(line)) + "'"};
            return;
        }
        areas.push_back(SwapArea{decodeOctalEscapes(fields[0]), std::string(fields[1])});
    });
    if (error) {
        return *error;
    }
    if (!headerSeen) {
        return ParseError{"missing the Filename header"};
    }
    return areas;
}

}  // namespace tarnwell::proc
