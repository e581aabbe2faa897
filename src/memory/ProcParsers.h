#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

// Pure parsers of the kernel's memory files: text in, fields out. Keys are
// matched at the start of a line in any order, unknown keys are ignored, every
// number that is used is checked, and a problem comes back as an error that
// names the key, so a caller can keep its previous figures.
namespace tarnwell::proc {

struct ParseError {
    std::string message;
};

template <class Fields>
using ParseResult = std::variant<Fields, ParseError>;

// /proc/meminfo. MemTotal, MemFree, Active, Inactive, SwapTotal and SwapFree
// are required; every other field is 0 when the kernel does not report it.
struct MeminfoFields {
    uint64_t memTotalBytes = 0;
    uint64_t memFreeBytes = 0;
    // Reported since Linux 3.14.
    std::optional<uint64_t> memAvailableBytes;
    uint64_t activeBytes = 0;
    uint64_t inactiveBytes = 0;
    uint64_t activeAnonBytes = 0;
    uint64_t inactiveAnonBytes = 0;
    uint64_t activeFileBytes = 0;
    uint64_t inactiveFileBytes = 0;
    uint64_t unevictableBytes = 0;
    uint64_t sReclaimableBytes = 0;
    uint64_t sUnreclaimBytes = 0;
    uint64_t kernelStackBytes = 0;
    uint64_t pageTablesBytes = 0;
    uint64_t swapTotalBytes = 0;
    uint64_t swapFreeBytes = 0;
    // Reported with zswap support (Zswapped since Linux 5.19).
    uint64_t zswapBytes = 0;
    uint64_t zswappedBytes = 0;
};
ParseResult<MeminfoFields> parseMeminfo(std::string_view text);

// /proc/vmstat. Every field is optional: the set of counters varies with the
// kernel's version and configuration.
struct VmstatFields {
    uint64_t pgfault = 0;
    uint64_t pgactivate = 0;
    uint64_t pgmajfault = 0;
    uint64_t pswpin = 0;
    uint64_t pswpout = 0;
    // Kernels before 4.8 count page steals per zone (pgsteal_kswapd_normal,
    // ...); those are summed here.
    uint64_t pgstealKswapd = 0;
    uint64_t pgstealDirect = 0;
    uint64_t zswpin = 0;
    uint64_t zswpout = 0;
};
ParseResult<VmstatFields> parseVmstat(std::string_view text);

// /proc/swaps: one entry per active swap area.
struct SwapArea {
    std::string path;  // with the kernel's octal escapes (\040) decoded
    std::string type;  // "partition" or "file"
};
ParseResult<std::vector<SwapArea>> parseSwaps(std::string_view text);

}  // namespace tarnwell::proc
