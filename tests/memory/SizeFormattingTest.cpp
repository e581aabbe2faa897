#include <gtest/gtest.h>

#include "memory/QRMInfo.h"
#include "memory/QRMMemoryInfo.h"

#include "CaseName.h"

namespace tarnwell {
namespace {

struct AdaptiveCase {
    const char *name;
    uint64_t bytes;
    bool abbreviation, fullName, standardLength;
    const char *text;
};

class AdaptiveMemorySize : public testing::TestWithParam<AdaptiveCase> {};

TEST_P(AdaptiveMemorySize, Formats) {
    const AdaptiveCase &c = GetParam();
    EXPECT_EQ(
        QRMMemoryInfo::adaptiveMemorySize(c.bytes, c.abbreviation, c.fullName, c.standardLength),
        c.text);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, AdaptiveMemorySize,
    testing::Values(
        AdaptiveCase{"Zero", 0, true, false, false, "0.00 B"},
        AdaptiveCase{"BelowThreshold", 999, true, false, false, "999.00 B"},
        AdaptiveCase{"DecimalThresholdBinaryDivisor", 1000, true, false, false, "0.98 KB"},
        AdaptiveCase{"Exactly999KB", 1022976, true, false, false, "999.00 KB"},
        AdaptiveCase{"JustOver999KB", 1023000, true, false, false, "0.98 MB"},
        AdaptiveCase{"Gigabytes", 1342177280, true, false, false, "1.25 GB"},
        AdaptiveCase{"FullNameIsSingular", 2ull << 30, false, true, false, "2.00 gigabyte"},
        AdaptiveCase{"AbbreviationWins", 2ull << 30, true, true, false, "2.00 GB"},
        AdaptiveCase{"NumberAlone", 2ull << 30, false, false, false, "2.00"},
        AdaptiveCase{"PaddedTwoSpacesPerMissingDigit", 5, false, false, true, "    5.00"},
        AdaptiveCase{"FiveDigitsGetTwoSpaces", 52 << 20, true, false, true, "  52.00 MB"},
        AdaptiveCase{"SixDigitsNotPadded", 512 << 20, true, false, true, "512.00 MB"},
        AdaptiveCase{"ExactHalfRoundsToEven", 512128, true, false, false, "500.12 KB"},
        AdaptiveCase{"Largest64BitSize", UINT64_MAX, true, true, true, "  16.00 EB"}),
    tarnwell::test::caseName);

struct FormatSizeCase {
    const char *name;
    uint64_t bytes;
    std::optional<std::string> text;
};

class FormatSize : public testing::TestWithParam<FormatSizeCase> {};

TEST_P(FormatSize, Formats) {
    EXPECT_EQ(QRMInfo::formatSize(GetParam().bytes), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, FormatSize,
    testing::Values(FormatSizeCase{"ZeroIsNothing", 0, std::nullopt},
                    FormatSizeCase{"LargestInBytes", 1023, "1023.00 B"},
                    FormatSizeCase{"OneKilobyte", 1024, "1.00 KB"},
                    FormatSizeCase{"NoDecimalThreshold", 1000 << 10, "1000.00 KB"},
                    FormatSizeCase{"OneMegabyte", 1 << 20, "1.00 MB"},
                    FormatSizeCase{"JustBelowAGigabyte", (1 << 30) - 1, "1024.00 MB"},
                    FormatSizeCase{"GigabytesAreTheLargestUnit", 3ull << 40, "3072.00 GB"}),
    tarnwell::test::caseName);

}  // namespace
}  // namespace tarnwell
