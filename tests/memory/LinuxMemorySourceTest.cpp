#include "memory/LinuxMemorySource.h"
#include "memory/ProcParsers.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <tuple>

namespace tarnwell {
namespace {

using namespace proc;

std::string dataFile(const std::string &name) {
    std::ifstream stream(TARNWELL_TEST_DATA_DIR "/memory/" + name, std::ios::binary);
    EXPECT_TRUE(stream) << name;
    return {std::istreambuf_iterator<char>(stream), {}};
}

// A capture's expected file less its comments and blank lines.
std::string expectedFigures(const std::string &capture) {
    std::istringstream lines(dataFile(capture + "/expected"));
    std::string kept;
    for (std::string line; std::getline(lines, line);) {
        line = line.substr(0, line.find('#'));
        line.erase(line.find_last_not_of(' ') + 1);
        kept += line.empty() ? "" : line + "\n";
    }
    return kept;
}

// Replaying a capture reads nothing of this machine: _SC_PHYS_PAGES, which
// glibc takes from the same kernel total as MemTotal, comes from the capture.
// Counters Linux has no source for stay 0.
class LinuxCapture : public testing::TestWithParam<const char *> {};

TEST_P(LinuxCapture, GivesTheFiguresOfItsExpectedFile) {
    const std::string root = std::string(TARNWELL_TEST_DATA_DIR "/memory/") + GetParam();
    LinuxMemorySource memory(root + "/proc", root + "/sys", {4096, 1000});
    const MemorySample sample = memory.sample();
    const VmStatistics s = sample.vmStatistics.value_or(VmStatistics{});
    const SwapUsage swap = sample.swapUsage.value_or(SwapUsage{});
    std::string printed;
    const auto print = [&](std::string_view names, auto... values) {
        std::istringstream words{std::string(names)};
        for (const uint64_t value : {uint64_t(values)...}) {
            std::string name;
            words >> name;
            printed += name + ' ' + std::to_string(value) + '\n';
        }
    };
    print("physicalMemory hardwareMemorySize hardwarePhysicalMemory userMemory",
          LinuxMemorySource::underRoot(root.c_str())->physicalMemory(),
          memory.hardwareMemorySize().value_or(0), memory.hardwarePhysicalMemory().value_or(0),
          sample.userMemory.value_or(0));
    print(
        "pageSize freeCount activeCount inactiveCount wireCount externalPageCount "
        "internalPageCount compressorPageCount totalUncompressedPagesInCompressor faults "
        "reactivations pageins pageouts swapouts purges swapins compressions decompressions "
        "availableBytes zeroFillCount cowFaults lookups hits purgeableCount speculativeCount "
        "throttledCount",
        s.pageSize, s.freeCount, s.activeCount, s.inactiveCount, s.wireCount, s.externalPageCount,
        s.internalPageCount, s.compressorPageCount, s.totalUncompressedPagesInCompressor, s.faults,
        s.reactivations, s.pageins, s.pageouts, s.swapouts, s.purges, s.swapins, s.compressions,
        s.decompressions, s.availableBytes, s.zeroFillCount, s.cowFaults, s.lookups, s.hits,
        s.purgeableCount, s.speculativeCount, s.throttledCount);
    print("swap.totalBytes swap.availableBytes swap.usedBytes swap.pageSize swap.encrypted",
          swap.totalBytes, swap.availableBytes, swap.usedBytes, swap.pageSize, swap.encrypted);
    EXPECT_EQ(printed, expectedFigures(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Captures, LinuxCapture,
                         testing::Values("debian12-6.18-noswap", "laptop-6.1-zswap-cryptswap",
                                         "debian7-3.2-no-memavailable"));

// Swap counts as encrypted only when every area is on a dm-crypt device; the
// laptop's /sys has dm-1 as "cryptswap" (CRYPT-) and dm-0 as an LVM volume.
// The captures themselves cover a lone dm-crypt area, a swap file and no swap.
TEST(SwapEncryption, OnlyWhenEveryAreaIsDmCrypt) {
    namespace fs = std::filesystem;
    const fs::path capture =
        fs::path(TARNWELL_TEST_DATA_DIR) / "memory" / "laptop-6.1-zswap-cryptswap";
    const fs::path root =
        fs::temp_directory_path() / ("tarnwell-swaps-" + std::to_string(getpid()));
    fs::create_directories(root / "proc");
    fs::copy_file(capture / "proc/meminfo", root / "proc/meminfo");
    const std::pair<const char *, bool> rows[] = {
        {"/dev/mapper/cryptswap partition 8 0 -2\n", true},
        {"/dev/dm-0 partition 8 0 -2\n", false},
        {"/dev/dm-1 partition 8 0 -2\n/dev/zram0 partition 8 0 100\n", false}};
    for (const auto &[swaps, encrypted] : rows) {
        std::ofstream(root / "proc/swaps") << "Filename\tType\tSize\tUsed\tPriority\n" << swaps;
        const auto swap =
            LinuxMemorySource(root / "proc", capture / "sys", {4096, 10}).sample().swapUsage;
        EXPECT_EQ(swap ? std::optional(swap->encrypted) : std::nullopt, encrypted) << swaps;
    }
    fs::remove_all(root);
}

TEST(LinuxMemorySource, FailsEverySampleWithoutProc) {
    LinuxMemorySource memory("/nonexistent/proc", "/nonexistent/sys", {4096, 10});
    const MemorySample sample = memory.sample();
    EXPECT_FALSE(sample.vmStatistics || sample.swapUsage || sample.userMemory);
    EXPECT_FALSE(memory.hardwareMemorySize() || memory.hardwarePhysicalMemory());
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

// The error a parser gives, or "" when it accepts the text.
template <auto parse>
std::string errorOf(std::string_view text) {
    const auto result = parse(text);
    const auto *error = std::get_if<ParseError>(&result);
    return error ? error->message : "";
}

// Files under malformed/; real files: see LinuxCapture, whose captures hold
// unknown keys, per-zone counters of old kernels and a meminfo without
// MemAvailable. "Active(anon)" shares its first letters with "Active"; only
// the whole key may match.
TEST(BadProcFile, NamesWhatIsWrong) {
    constexpr auto meminfo = errorOf<parseMeminfo>;
    constexpr auto swaps = errorOf<parseSwaps>;
    const std::tuple<std::string (*)(std::string_view), const char *, const char *> rows[] = {
        {meminfo, "meminfo-line-without-colon", ""},
        {meminfo, "meminfo-missing-memfree", "missing MemFree"},
        {meminfo, "meminfo-garbage-value", "Inactive: not a number: '43852x2 kB'"},
        {meminfo, "meminfo-truncated", "Active: not a number: '97'"},
        {meminfo, "meminfo-binary-garbage", "missing MemTotal"},
        {meminfo, "meminfo-active-anon-only", "missing Active"},
        {meminfo, "meminfo-too-large-for-bytes", "MemTotal: not a number: '18014398509481984 kB'"},
        {errorOf<parseVmstat>, "vmstat-negative-value", "pgmajfault: not a number: '-1203344'"},
        {swaps, "swaps-no-header", "missing the Filename header"},
        {swaps, "swaps-empty", "missing the Filename header"},
        {swaps, "swaps-short-line", "malformed swap area: '/dev/sda2 partition 8388604'"}};
    for (const auto &[parse, file, error] : rows) {
        EXPECT_EQ(parse(dataFile(std::string("malformed/") + file)), error) << file;
    }
}

}  // namespace
}  // namespace tarnwell
