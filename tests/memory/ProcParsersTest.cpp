#include "memory/ProcParsers.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace tarnwell::proc {
namespace {

std::string fixture(const std::string &name) {
    std::ifstream stream(std::string(TARNWELL_TEST_DATA_DIR) + "/memory/" + name, std::ios::binary);
    EXPECT_TRUE(stream) << name;
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

template <class Fields>
std::string errorOf(const ParseResult<Fields> &result) {
    const auto *error = std::get_if<ParseError>(&result);
    return error ? error->message : "";
}

TEST(ParseMeminfo, ReadsKeysInAnyOrderAndIgnoresUnknownOnes) {
    const auto result = parseMeminfo(
        "Inactive:  8 kB\nSwapFree: 1 kB\nHugePages_Total: 7\nMemFree:\t 2 kB\n"
        "Weird line without colon\nSwapTotal: 3 kB\nActive: 4 kB\nMemTotal: 16 kB\n");
    ASSERT_EQ(errorOf(result), "");
    const auto &fields = std::get<MeminfoFields>(result);
    EXPECT_EQ(fields.memTotalBytes, 16u * 1024);
    EXPECT_EQ(fields.memFreeBytes, 2u * 1024);
    EXPECT_EQ(fields.activeBytes, 4u * 1024);
    EXPECT_EQ(fields.inactiveBytes, 8u * 1024);
    EXPECT_EQ(fields.swapTotalBytes, 3u * 1024);
    EXPECT_EQ(fields.swapFreeBytes, 1u * 1024);
    EXPECT_FALSE(fields.memAvailableBytes.has_value());
    EXPECT_EQ(fields.zswapBytes, 0u);
}

TEST(ParseMeminfo, DoesNotTakeActiveAnonForActive) {
    // "Active(anon)" shares its first letters with "Active"; only the whole
    // key may match.
    const auto result = parseMeminfo(
        "MemTotal: 1 kB\nMemFree: 1 kB\nActive(anon): 5 kB\nInactive(file): 6 kB\n"
        "SwapTotal: 0 kB\nSwapFree: 0 kB\n");
    EXPECT_EQ(errorOf(result), "missing Active");
}

TEST(ParseMeminfo, RejectsAValueTooLargeForBytes) {
    const auto result = parseMeminfo(
        "MemTotal: 18014398509481984 kB\nMemFree: 1 kB\nActive: 1 kB\nInactive: 1 kB\n"
        "SwapTotal: 0 kB\nSwapFree: 0 kB\n");
    EXPECT_EQ(errorOf(result), "MemTotal: not a number: '18014398509481984 kB'");
}

struct MalformedFile {
    const char *name;
    const char *file;
    const char *error;
};

class MalformedProcFile : public testing::TestWithParam<MalformedFile> {};

TEST_P(MalformedProcFile, NamesWhatIsWrong) {
    const std::string file = GetParam().file;
    const std::string text = fixture("malformed/" + file);
    std::string error;
    if (file.starts_with("meminfo")) {
        error = errorOf(parseMeminfo(text));
    } else if (file.starts_with("vmstat")) {
        error = errorOf(parseVmstat(text));
    } else {
        error = errorOf(parseSwaps(text));
    }
    EXPECT_EQ(error, GetParam().error);
}

INSTANTIATE_TEST_SUITE_P(
    Files, MalformedProcFile,
    testing::Values(
        MalformedFile{"MissingRequiredKey", "meminfo-missing-memfree", "missing MemFree"},
        MalformedFile{"GarbageInANumber", "meminfo-garbage-value",
                      "Inactive: not a number: '43852x2 kB'"},
        MalformedFile{"TruncatedMidValue", "meminfo-truncated", "Active: not a number: '97'"},
        MalformedFile{"BinaryGarbage", "meminfo-binary-garbage", "missing MemTotal"},
        MalformedFile{"NegativeCounter", "vmstat-negative-value",
                      "pgmajfault: not a number: '-1203344'"},
        MalformedFile{"SwapsWithoutHeader", "swaps-no-header", "missing the Filename header"},
        MalformedFile{"SwapsShortLine", "swaps-short-line",
                      "malformed swap area: '/dev/sda2 partition 8388604'"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST(ParseVmstat, SumsPerZoneStealCountersOfOldKernels) {
    const auto result = parseVmstat(
        "pgsteal_kswapd_dma32 10\npgsteal_kswapd_normal 5\npgsteal_direct_normal 3\n"
        "pgsteal_dma32 1000\npgsteal_anon 2000\nkswapd_steal 4000\npgfault 9");
    ASSERT_EQ(errorOf(result), "");
    const auto &fields = std::get<VmstatFields>(result);
    EXPECT_EQ(fields.pgstealKswapd, 15u);
    EXPECT_EQ(fields.pgstealDirect, 3u);
    EXPECT_EQ(fields.pgfault, 9u);
}

TEST(ParseVmstat, EmptyFileGivesZeros) {
    const auto result = parseVmstat("");
    ASSERT_EQ(errorOf(result), "");
    EXPECT_EQ(std::get<VmstatFields>(result).pgfault, 0u);
}

TEST(ParseSwaps, DecodesEscapedBlanksAndKeepsEveryArea) {
    const auto result = parseSwaps(
        "Filename\tType\tSize\tUsed\tPriority\n"
        "/dev/dm-1                               partition\t8388604\t0\t-2\n"
        "/swap\\040file\\134x  file 1024 12 -3");
    ASSERT_EQ(errorOf(result), "");
    const auto &areas = std::get<std::vector<SwapArea>>(result);
    ASSERT_EQ(areas.size(), 2u);
    EXPECT_EQ(areas[0].path, "/dev/dm-1");
    EXPECT_EQ(areas[0].type, "partition");
    EXPECT_EQ(areas[1].path, "/swap file\\x");
    EXPECT_EQ(areas[1].type, "file");
}

TEST(ParseSwaps, EmptyFileHasNoHeader) {
    EXPECT_EQ(errorOf(parseSwaps("")), "missing the Filename header");
}

}  // namespace
}  // namespace tarnwell::proc
