#include "memory/ProcParsers.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "CaseName.h"

namespace tarnwell::proc {
namespace {

std::string fixture(const std::string &name) {
    std::ifstream stream(std::string(TARNWELL_TEST_DATA_DIR) + "/memory/malformed/" + name,
                         std::ios::binary);
    EXPECT_TRUE(stream) << name;
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

TEST(ParseSwaps, DecodesEscapedBlanksAndKeepsEveryArea) {
    const auto parsed = parseSwaps(
        "Filename\tType\tSize\tUsed\tPriority\n"
        "/dev/dm-1                               partition\t8388604\t0\t-2\n"
        "/swap\\040file\\134x  file 1024 12 -3");
    ASSERT_TRUE(std::holds_alternative<std::vector<SwapArea>>(parsed));
    const auto &areas = std::get<std::vector<SwapArea>>(parsed);
    ASSERT_EQ(areas.size(), 2u);
    EXPECT_EQ(areas[0].path, "/dev/dm-1");
    EXPECT_EQ(areas[0].type, "partition");
    EXPECT_EQ(areas[1].path, "/swap file\\x");
    EXPECT_EQ(areas[1].type, "file");
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

INSTANTIATE_TEST_SUITE_P(
    Files, BadProcFile,
    testing::Values(
        BadFile{"LineWithoutColonIgnored", meminfo, nullptr,
                "MemTotal: 1 kB\nMemFree: 1 kB\nNo colon here\nActive: 1 kB\nInactive: 1 kB\n"
                "SwapTotal: 0 kB\nSwapFree: 0 kB\n",
                ""},
        BadFile{"MissingRequiredKey", meminfo, "meminfo-missing-memfree", "", "missing MemFree"},
        BadFile{"GarbageInANumber", meminfo, "meminfo-garbage-value", "",
                "Inactive: not a number: '43852x2 kB'"},
        BadFile{"TruncatedMidValue", meminfo, "meminfo-truncated", "",
                "Active: not a number: '97'"},
        BadFile{"BinaryGarbage", meminfo, "meminfo-binary-garbage", "", "missing MemTotal"},
        // "Active(anon)" shares its first letters with "Active"; only the
        // whole key may match.
        BadFile{"ActiveAnonIsNotActive", meminfo, nullptr,
                "MemTotal: 1 kB\nMemFree: 1 kB\nActive(anon): 5 kB\nInactive(file): 6 kB\n"
                "SwapTotal: 0 kB\nSwapFree: 0 kB\n",
                "missing Active"},
        BadFile{"TooLargeForBytes", meminfo, nullptr,
                "MemTotal: 18014398509481984 kB\nMemFree: 1 kB\nActive: 1 kB\nInactive: 1 kB\n"
                "SwapTotal: 0 kB\nSwapFree: 0 kB\n",
                "MemTotal: not a number: '18014398509481984 kB'"},
        BadFile{"NegativeCounter", vmstat, "vmstat-negative-value", "",
                "pgmajfault: not a number: '-1203344'"},
        BadFile{"SwapsWithoutHeader", swaps, "swaps-no-header", "", "missing the Filename header"},
        BadFile{"EmptySwaps", swaps, nullptr, "", "missing the Filename header"},
        BadFile{"SwapsShortLine", swaps, "swaps-short-line", "",
                "malformed swap area: '/dev/sda2 partition 8388604'"}),
    tarnwell::test::caseName);

}  // namespace
}  // namespace tarnwell::proc
