#include "memory/QRMMemoryInfo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <sstream>

#include "FakeMemorySource.h"
#include "memory/QRMRecordKeys.h"

namespace tarnwell {
namespace {

using test::FakeMemorySource;
using Type = QRMNumber::Type;

class StatisticsRecord : public testing::Test {
protected:
    StatisticsRecord() {
        state->physicalMemory = 8ull << 30;
        state->hardwareMemorySize = 8ull << 30;
        state->hardwarePhysicalMemory = (8ull << 30) - (64 << 20);
        state->userMemory = 7ull << 30;
        state->vmStatistics = test::smallMachine();
        state->swapUsage = SwapUsage{1 << 30, 3 << 28, 1 << 28, 4096, true};
    }

    std::unique_ptr<QRMMemoryInfo> makeInfo() {
        return std::make_unique<QRMMemoryInfo>(std::make_unique<FakeMemorySource>(state));
    }

    std::shared_ptr<FakeMemorySource::State> state = std::make_shared<FakeMemorySource::State>();
};

// Every key of a full record with its number type: a misspelt, missing or
// retyped key fails. Some names are misspelt on purpose ("zerroFill",
// "purgable", "Encripted"); availableBytes is Linux's own.
TEST_F(StatisticsRecord, HoldsEveryKeyInItsType) {
    const std::pair<Type, const char *> table[] = {
        {Type::Int32, "pageSize"},
        {Type::UInt32,
         "freeCount freeBytes activeCount activeBytes inactiveCount inactiveBytes wireCount "
         "wireBytes purgableCount purgeableBytes speculativeCount speculativeBytes throttledCount "
         "throttledBytes externalPageCount externalPageBytes internalPageCount internalPageBytes "
         "compressorPageCount compressorPageBytes usedCount totalCount xsuPageSize xsuEncripted"},
        {Type::UInt64,
         "physicalMemory hardwareMemorySize hardwarePhysicalMemory userMemory zerroFillCount "
         "zerroFillBytes reactivations pageins pageouts faults COWFaults lookups hits purges "
         "availableBytes swapins swapouts decompressions compressions "
         "totalUncompressedPagesInCompressor "
         "totalUncompressedPagesInCompressorBytes usedBytes totalBytes xsuTotal xsuAvail xsuUsed"},
        {Type::Float,
         "freePercents inactivePercents activePercents wirePercents usedPercents totalPercents "
         "compressorPagePercents"}};
    std::map<std::string, Type> expected;
    for (const auto &[type, names] : table) {
        std::istringstream words(names);
        for (std::string name; words >> name;) {
            expected[name] = type;
        }
    }
    std::map<std::string, Type> actual;
    for (const auto &[key, number] : makeInfo()->info()) {
        actual[std::string(key)] = number.type();
    }
    EXPECT_EQ(actual, expected);
}

TEST_F(StatisticsRecord, FiguresOfASmallMachine) {
    state->vmStatistics->compressorPageCount = 256;
    const auto record = makeInfo()->info();
    const auto at = [&](std::string_view key) { return record.find(key)->second; };
    EXPECT_EQ(at(keys::freeBytes), QRMNumber::fromUInt32(16 << 20));
    EXPECT_EQ(at(keys::inactiveBytes), QRMNumber::fromUInt32(8 << 20));
    // used = active + inactive + wired + compressor = 1024 + 2048 + 512 + 256
    EXPECT_EQ(at(keys::usedCount), QRMNumber::fromUInt32(3840));
    EXPECT_EQ(at(keys::totalCount), QRMNumber::fromUInt32(3840 + 4096));
    EXPECT_EQ(at(keys::usedBytes), QRMNumber::fromUInt64(3840ull * 4096));
    EXPECT_EQ(at(keys::freePercents), QRMNumber::fromFloat(51.6129036f));  // 4096 × 100 ÷ 7936
    EXPECT_EQ(at(keys::totalPercents), QRMNumber::fromFloat(100.0f));
    EXPECT_EQ(at(keys::xsuUsed), QRMNumber::fromUInt64(1 << 28));
    EXPECT_EQ(at(keys::xsuEncripted), QRMNumber::fromUInt32(1));
    EXPECT_EQ(at(keys::hardwarePhysicalMemory), QRMNumber::fromUInt64((8ull << 30) - (64 << 20)));
}

// Single precision throughout; a double step in between gives 94.6236725.
// The expected figure is C's float arithmetic, printed with "%.9g".
TEST_F(StatisticsRecord, PercentagesInSinglePrecision) {
    state->vmStatistics->freeCount = 5767169;
    state->vmStatistics->activeCount = 325119;  // a total of 6094848 pages
    const auto record = makeInfo()->info();
    EXPECT_EQ(record.find(keys::freePercents)->second, QRMNumber::fromFloat(94.6236801f));
}

TEST_F(StatisticsRecord, ByteValuesOfPageClassesWrapAt4GiBWhileTotalsStayExact) {
    // 5 GiB free and 6 GiB inactive in 4 KiB pages.
    state->vmStatistics->freeCount = 1310720;
    state->vmStatistics->inactiveCount = 1572864;
    const auto record = makeInfo()->info();
    const auto at = [&](std::string_view key) { return record.find(key)->second.toUInt64(); };
    EXPECT_EQ(at(keys::freeBytes), 1ull << 30);
    EXPECT_EQ(at(keys::inactiveBytes), 2ull << 30);
    EXPECT_EQ(at(keys::usedBytes), (1572864ull + 1024 + 512) * 4096);
    EXPECT_EQ(at(keys::totalBytes), (1310720ull + 1572864 + 1024 + 512) * 4096);
}

// Each group of figures keeps its previous values when its own sample fails,
// while the other groups are refreshed.
TEST_F(StatisticsRecord, FailedSampleKeepsThePreviousFiguresOfItsGroupOnly) {
    auto info = makeInfo();
    const auto before = info->info();
    state->vmStatistics.reset();
    state->userMemory = 5ull << 30;
    state->swapUsage->usedBytes = 1 << 29;
    info->refresh();
    auto after = info->info();
    EXPECT_EQ(after.find(keys::freeBytes)->second, before.find(keys::freeBytes)->second);
    EXPECT_EQ(after.find(keys::usedPercents)->second, before.find(keys::usedPercents)->second);
    EXPECT_EQ(after.find(keys::userMemory)->second, QRMNumber::fromUInt64(5ull << 30));
    EXPECT_EQ(after.find(keys::xsuUsed)->second, QRMNumber::fromUInt64(1 << 29));

    state->swapUsage.reset();
    state->vmStatistics = test::smallMachine();
    state->vmStatistics->freeCount = 1;
    info->refresh();
    after = info->info();
    EXPECT_EQ(after.find(keys::xsuUsed)->second, QRMNumber::fromUInt64(1 << 29));
    EXPECT_EQ(after.find(keys::freeCount)->second, QRMNumber::fromUInt32(1));
}

TEST_F(StatisticsRecord, NothingButHardwareZerosWhenNoSampleEverSucceeded) {
    state->hardwareMemorySize.reset();
    state->userMemory.reset();
    state->vmStatistics.reset();
    state->swapUsage.reset();
    const auto record = makeInfo()->info();
    EXPECT_EQ(record.find(keys::hardwareMemorySize)->second, QRMNumber::fromInt32(0));
    EXPECT_EQ(record.find(keys::userMemory)->second, QRMNumber::fromInt32(0));
    EXPECT_FALSE(record.contains(keys::freeBytes));
    EXPECT_FALSE(record.contains(keys::xsuTotal));
}

TEST_F(StatisticsRecord, FixedKeysAreNeverSampledAgain) {
    auto info = makeInfo();
    state->hardwarePhysicalMemory = 1;
    info->refresh();
    EXPECT_EQ(info->info().find(keys::hardwarePhysicalMemory)->second,
              QRMNumber::fromUInt64((8ull << 30) - (64 << 20)));
}

TEST(QRMNumberConversion, FollowsTheStoredType) {
    EXPECT_EQ(QRMNumber::fromInt32(-1).toUInt64(), UINT64_MAX);
    EXPECT_EQ(QRMNumber::fromUInt32(UINT32_MAX).toInt64(), int64_t{UINT32_MAX});
    EXPECT_EQ(QRMNumber::fromFloat(99.9f).toUInt64(), 99u);
    EXPECT_EQ(QRMNumber::fromFloat(NAN).toUInt64(), 0u);
    EXPECT_NE(QRMNumber::fromUInt32(5), QRMNumber::fromUInt64(5));
}

}  // namespace
}  // namespace tarnwell
