#include "memory/LinuxMemorySource.h"
#include "memory/ProcParsers.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <tuple>

#include "CaseName.h"

namespace tarnwell {
namespace {

using test::caseName;
using namespace proc;

// Expected figures were worked out by hand from each capture: meminfo's kB
// times 1024, divided by the 4 KiB page for counts.
struct Capture {
    const char *name;
    const char *folder;
    uint64_t hardwareMemorySize, hardwarePhysicalMemory, userMemory;
    uint32_t freeCount, activeCount, inactiveCount, wireCount;
    uint32_t externalPageCount, internalPageCount, compressorPageCount;
    uint64_t totalUncompressedPagesInCompressor;
    uint64_t faults, reactivations, pageins, pageouts, purges, swapins, compressions,
        decompressions;
    uint64_t availableBytes, swapTotal, swapAvailable, swapUsed;
    bool swapEncrypted;
};

// Rows group the figures as the struct does: hardware and user memory; page
// classes; event counters; available memory and swap.
// clang-format off
const Capture kCaptures[] = {
    // No swap, no zswap in use; three online memory blocks of 128 MiB in /sys.
    {"Debian12NoSwap", "debian12-6.18-noswap",
     3 * 134217728ull, 25276026880ull,
     25230782464ull,  // (24683620 - (17924 + 22904 + 1528 + 1828)) kB
     6031331, 41545, 50780, 11046, 88276, 4049, 0, 0,
     3889707, 143405, 1828, 0, 0, 0, 0, 0,
     24893001728ull, 0, 0, 0, false},
    // zswap holding pages, swap on dm-crypt; no memory blocks in /sys, so the
    // installed size falls back to MemTotal.
    {"LaptopZswapCryptSwap", "laptop-6.1-zswap-cryptswap",
     16588312576ull, 16588312576ull,
     15866310656ull,  // (16199524 - (262740 + 289528 + 34336 + 118476)) kB
     128077, 2433625, 1096323, 176270, 1036922, 2493026, 154632, 542720,
     918273645, 40213377, 1203344, 86213,
     25329308,  // 23451987 + 1877321
     10452, 5830112, 2318845,
     4016001024ull, 8589930496ull, 5328334848ull, 3261595648ull, true},
    // Linux 3.2: no MemAvailable (estimated as MemFree + half the file pages
    // + half SReclaimable), per-zone steal counters, a swap file, and a
    // meminfo without its final newline.
    {"Debian7NoMemAvailable", "debian7-3.2-no-memavailable",
     4146982912ull, 4146982912ull, 4074147840ull,
     75301, 526084, 327868, 17782, 512223, 341729, 0, 0,
     240193867, 3912045, 31409, 15732,
     2182297,  // 1741230 + 412881 + 23009 + 5177
     4081, 0, 0,
     1467994112ull,  // (301204 + (1116224 + 932668) / 2 + 215876 / 2) kB
     1073737728ull, 1011355648ull, 62382080ull, false},
};
// clang-format on

class LinuxCapture : public testing::TestWithParam<Capture> {
protected:
    const std::string root = std::string(TARNWELL_TEST_DATA_DIR "/memory/") + GetParam().folder;
};

// Replaying a capture reads nothing of this machine: _SC_PHYS_PAGES, which
// glibc takes from the same kernel total as MemTotal, comes from the capture.
TEST_P(LinuxCapture, Figures) {
    const Capture &c = GetParam();
    EXPECT_EQ(LinuxMemorySource::underRoot(root.c_str())->physicalMemory(),
              c.hardwarePhysicalMemory);
    LinuxMemorySource memory(root + "/proc", root + "/sys", {4096, 1000});
    EXPECT_EQ(memory.hardwareMemorySize(), c.hardwareMemorySize);
    EXPECT_EQ(memory.hardwarePhysicalMemory(), c.hardwarePhysicalMemory);
    const MemorySample sample = memory.sample();
    EXPECT_EQ(sample.userMemory, c.userMemory);
    ASSERT_TRUE(sample.vmStatistics && sample.swapUsage);
    const VmStatistics &s = *sample.vmStatistics;
    EXPECT_EQ(s.pageSize, 4096);
    EXPECT_EQ(std::tuple(s.freeCount, s.activeCount, s.inactiveCount, s.wireCount),
              std::tuple(c.freeCount, c.activeCount, c.inactiveCount, c.wireCount));
    EXPECT_EQ(std::tuple(s.externalPageCount, s.internalPageCount, s.compressorPageCount,
                         s.totalUncompressedPagesInCompressor),
              std::tuple(c.externalPageCount, c.internalPageCount, c.compressorPageCount,
                         c.totalUncompressedPagesInCompressor));
    EXPECT_EQ(std::tuple(s.faults, s.reactivations, s.pageins, s.pageouts, s.swapouts, s.purges,
                         s.swapins, s.compressions, s.decompressions),
              std::tuple(c.faults, c.reactivations, c.pageins, c.pageouts, c.pageouts, c.purges,
                         c.swapins, c.compressions, c.decompressions));
    EXPECT_EQ(s.availableBytes, c.availableBytes);
    // Counters Linux has no source for.
    EXPECT_EQ(s.zeroFillCount + s.cowFaults + s.lookups + s.hits, 0u);
    EXPECT_EQ(s.purgeableCount + s.speculativeCount + s.throttledCount, 0u);
    const SwapUsage &swap = *sample.swapUsage;
    EXPECT_EQ(std::tuple(swap.totalBytes, swap.availableBytes, swap.usedBytes, swap.pageSize,
                         swap.encrypted),
              std::tuple(c.swapTotal, c.swapAvailable, c.swapUsed, 4096u, c.swapEncrypted));
}

INSTANTIATE_TEST_SUITE_P(Captures, LinuxCapture, testing::ValuesIn(kCaptures), caseName);

struct SwapAreas {
    const char *name;
    const char *swaps;
    bool encrypted;
};

class SwapEncryption : public testing::TestWithParam<SwapAreas> {};

// Swap counts as encrypted only when every area is on a dm-crypt device; the
// laptop's /sys has dm-1 as "cryptswap" (CRYPT-) and dm-0 as an LVM volume.
// The captures themselves cover a lone dm-crypt area, a swap file and no swap.
TEST_P(SwapEncryption, OnlyWhenEveryAreaIsDmCrypt) {
    namespace fs = std::filesystem;
    const fs::path capture =
        fs::path(TARNWELL_TEST_DATA_DIR) / "memory" / "laptop-6.1-zswap-cryptswap";
    const fs::path root = fs::temp_directory_path() /
                          ("tarnwell-swaps-" + std::to_string(getpid()) + GetParam().name);
    fs::create_directories(root / "proc");
    fs::copy_file(capture / "proc/meminfo", root / "proc/meminfo");
    std::ofstream(root / "proc/swaps") << "Filename\tType\tSize\tUsed\tPriority\n"
                                       << GetParam().swaps;
    LinuxMemorySource memory(root / "proc", capture / "sys", {4096, 10});
    const auto swap = memory.sample().swapUsage;
    fs::remove_all(root);
    ASSERT_TRUE(swap.has_value());
    EXPECT_EQ(swap->encrypted, GetParam().encrypted);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Areas, SwapEncryption,
    testing::Values(SwapAreas{"MapperName", "/dev/mapper/cryptswap partition 8 0 -2\n", true},
                    SwapAreas{"LvmVolume", "/dev/dm-0 partition 8 0 -2\n", false},
                    SwapAreas{"CryptAndZram", "/dev/dm-1 partition 8 0 -2\n/dev/zram0 partition 8 0 100\n", false}),
    caseName);
// clang-format on

TEST(LinuxMemorySource, FailsEverySampleWithoutProc) {
    LinuxMemorySource memory("/nonexistent/proc", "/nonexistent/sys", {4096, 10});
    const MemorySample sample = memory.sample();
    EXPECT_FALSE(sample.vmStatistics || sample.swapUsage || sample.userMemory);
    EXPECT_FALSE(memory.hardwareMemorySize() || memory.hardwarePhysicalMemory());
}

std::string fixture(const std::string &name) {
    std::ifstream stream(TARNWELL_TEST_DATA_DIR "/memory/malformed/" + name, std::ios::binary);
    EXPECT_TRUE(stream) << name;
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST(ParseSwaps, DecodesEscapedBlanksAndKeepsEveryArea) {
    const auto parsed = parseSwaps(
        "Filename\tType\tSize\tUsed\tPriority\n"
        "/dev/dm-1                               partition\t8388604\t0\t-2\n"
        "/swap\\040file\\134x  file 1024 12 -3");
    ASSERT_TRUE(std::holds_alternative<std::vector<SwapArea>>(parsed));
    const auto &areas = std::get<std::vector<SwapArea>>(parsed);
    ASSERT_EQ(areas.size(), 2u);
    EXPECT_EQ(std::tie(areas[0].path, areas[0].type), std::tuple("/dev/dm-1", "partition"));
    EXPECT_EQ(std::tie(areas[1].path, areas[1].type), std::tuple("/swap file\\x", "file"));
}

// Real files: see LinuxCapture, whose captures hold unknown keys, per-zone
// counters of old kernels and a meminfo without MemAvailable.
struct BadFile {
    const char *name;
    std::string (*parse)(std::string_view text);
    const char *fixture;  // a capture under malformed/, or null to parse text
    const char *text;
    const char *error;  // "": accepted
};

// The error a parser gives, or "" when it accepts the text.
template <auto parse>
std::string errorOf(std::string_view text) {
    const auto result = parse(text);
    const auto *error = std::get_if<ParseError>(&result);
    return error ? error->message : "";
}
constexpr auto meminfo = errorOf<parseMeminfo>;
constexpr auto vmstat = errorOf<parseVmstat>;
constexpr auto swaps = errorOf<parseSwaps>;

class BadProcFile : public testing::TestWithParam<BadFile> {};

TEST_P(BadProcFile, NamesWhatIsWrong) {
    const BadFile &c = GetParam();
    EXPECT_EQ(c.parse(c.fixture ? fixture(c.fixture) : c.text), c.error);
}

// "Active(anon)" shares its first letters with "Active"; only the whole key
// may match.
// clang-format off
INSTANTIATE_TEST_SUITE_P(
    Files, BadProcFile,
    testing::Values(
        BadFile{"LineWithoutColonIgnored", meminfo, nullptr, "MemTotal: 1 kB\nMemFree: 1 kB\nNo colon here\nActive: 1 kB\nInactive: 1 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n", ""},
        BadFile{"MissingRequiredKey", meminfo, "meminfo-missing-memfree", "", "missing MemFree"},
        BadFile{"GarbageInANumber", meminfo, "meminfo-garbage-value", "", "Inactive: not a number: '43852x2 kB'"},
        BadFile{"TruncatedMidValue", meminfo, "meminfo-truncated", "", "Active: not a number: '97'"},
        BadFile{"BinaryGarbage", meminfo, "meminfo-binary-garbage", "", "missing MemTotal"},
        BadFile{"ActiveAnonIsNotActive", meminfo, nullptr, "MemTotal: 1 kB\nMemFree: 1 kB\nActive(anon): 5 kB\nInactive(file): 6 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n", "missing Active"},
        BadFile{"TooLargeForBytes", meminfo, nullptr, "MemTotal: 18014398509481984 kB\nMemFree: 1 kB\nActive: 1 kB\nInactive: 1 kB\nSwapTotal: 0 kB\nSwapFree: 0 kB\n", "MemTotal: not a number: '18014398509481984 kB'"},
        BadFile{"NegativeCounter", vmstat, "vmstat-negative-value", "", "pgmajfault: not a number: '-1203344'"},
        BadFile{"SwapsWithoutHeader", swaps, "swaps-no-header", "", "missing the Filename header"},
        BadFile{"EmptySwaps", swaps, nullptr, "", "missing the Filename header"},
        BadFile{"SwapsShortLine", swaps, "swaps-short-line", "", "malformed swap area: '/dev/sda2 partition 8388604'"}),
    caseName);
// clang-format on

}  // namespace
}  // namespace tarnwell
