#include <gtest/gtest.h>

#include "AppFakes.h"
#include "BuildInfo.h"
#include "app/CleaningStatistics.h"

#include "CaseName.h"

namespace tarnwell::testing {
namespace {

QRMStatisticsRecord fullRecord() {
    QRMStatisticsRecord r;
    auto u32 = [&](std::string_view key, uint32_t v) {
        r[std::string(key)] = QRMNumber::fromUInt32(v);
    };
    auto u64 = [&](std::string_view key, uint64_t v) {
        r[std::string(key)] = QRMNumber::fromUInt64(v);
    };
    auto f = [&](std::string_view key, float v) { r[std::string(key)] = QRMNumber::fromFloat(v); };
    // Byte lines come from the page counts; the stored byte figures (here
    // wrapped past 4 GiB, as the record keeps them) are never shown.
    u32(keys::freeCount, 5767168);  // 22 GiB
    u32(keys::freeBytes, 2 * 1024 * kMiB);
    u32(keys::inactiveCount, 131072);
    u32(keys::activeCount, 262144);
    u32(keys::wireCount, 65536);
    u32(keys::compressorPageCount, 0);
    u32(keys::usedCount, 327680);
    u32(keys::totalCount, 6094848);
    // 97 of 800 pages: an exact binary tie, which "%.2f" rounds to even.
    f(keys::freePercents, 12.125f);
    f(keys::usedPercents, 31.25f);
    u64(keys::xsuTotal, 2048 * kMiB);
    u64(keys::xsuAvail, 2000 * kMiB);
    u64(keys::xsuUsed, 48 * kMiB);
    u32(keys::xsuPageSize, 4096);
    u32(keys::xsuEncripted, 1);
    u32(keys::pageSize, 4096);
    u64(keys::userMemory, 3900 * kMiB);
    u64(keys::hardwareMemorySize, 4096 * kMiB);
    return r;
}

std::vector<QString> titles(const QRMMenu &menu) {
    std::vector<QString> out;
    for (const QRMMenuItem *item : menu.items()) {
        if (!item->isSeparator()) {
            out.push_back(item->title());
        }
    }
    return out;
}

TEST(StatusMenuTitles, EveryFigureInItsPlace) {
    ControllerRig rig;
    rig.localized = [](const QString &key) { return key; };
    rig.engine.nextSample = fullRecord();
    rig.settings.last = 1152;  // 1.125 KB, a tie
    rig.settings.max = 5 * 1024 * kMiB;
    rig.settings.total = 1500;
    rig.settings.digit = 2;
    auto delegate = rig.start();
    QRMStatusMenu &menu = delegate->statusMenu();

    // Sizes right-aligned to a common width, per cents with two decimals.
    std::vector<QString> head = titles(*menu.menu());
    head.resize(8);
    EXPECT_EQ(head,
              (std::vector<QString>{"CleanMemoryNow", "  22.00 GB Free", "512.00 MB Inactive",
                                    "    1.00 GB Active", "256.00 MB Wire", "    0.00 B Compressed",
                                    "    1.25 GB Used", "  23.25 GB Total"}));
    EXPECT_EQ(menu.percentItems[0]->title(), "Free: 12.12 %");
    EXPECT_EQ(menu.percentItems[5]->title(), "Used: 31.25 %");
    EXPECT_EQ(menu.pagesItems[0]->title(), "Free: 5767168 Pages");
    EXPECT_EQ(menu.pagesItems[6]->title(), "Total: 6094848 Pages");
    ASSERT_NE(menu.swapInfoMenuItem->submenu(), nullptr);
    // The swap item reads a key the record never holds, so it always says NO.
    EXPECT_EQ(titles(*menu.swapInfoMenuItem->submenu()),
              (std::vector<QString>{"    2.00 GB CurrentSize", "    1.95 GB Free",
                                    "  48.00 MB Used", "PageSize: 4.00 KB", "Encrypted: NO"}));
    EXPECT_EQ(titles(*menu.additionalInfoMenuItem->submenu()),
              (std::vector<QString>{"PageSize: 4.00 KB", "UserMemorySize: 3.81 GB",
                                    "PhysicalMemorySize: 4.00 GB"}));
    EXPECT_EQ(titles(*menu.statiaticsMenuItem->submenu()),
              (std::vector<QString>{"LastTimeCleaned: 1.12 KB", "MaxCleaned: 5.00 GB",
                                    "TotallyCleaned: 1.46 GB"}));
}

TEST(StatusMenuTitles, MissingValuesReadAsZero) {
    ControllerRig rig;
    rig.localized = [](const QString &key) { return key; };
    auto delegate = rig.start();
    const QRMStatusMenu &menu = delegate->statusMenu();
    EXPECT_EQ(menu.bytesItems[0]->title(), "    0.00 B Free");
    EXPECT_EQ(menu.percentItems[0]->title(), "Free: 0.00 %");
    EXPECT_EQ(menu.pagesItems[0]->title(), "Free: 0 Pages");
    EXPECT_EQ(rig.statusItem.titles.back(), "0.00 B");
}

struct TitleCase {
    const char *name;
    int64_t textType;
    bool withInfo;
    const char *expected;
};

class StatusItemTitle : public ::testing::TestWithParam<TitleCase> {};

TEST_P(StatusItemTitle, FollowsTheTextSettings) {
    const TitleCase &c = GetParam();
    ControllerRig rig;
    rig.settings.textType = c.textType;
    rig.settings.textWithInfo = c.withInfo;
    rig.engine.nextSample = fullRecord();
    rig.start();
    EXPECT_EQ(rig.statusItem.titles.back(), QString::fromUtf8(c.expected));
}

INSTANTIATE_TEST_SUITE_P(TextTypes, StatusItemTitle,
                         ::testing::Values(TitleCase{"NoneIgnoresLabel", 0, true, ""},
                                           TitleCase{"PercentTie", 1, false, "12.12 %"},
                                           TitleCase{"PercentWithLabel", 1, true, "Free: 12.12 %"},
                                           TitleCase{"SizePast4GiB", 2, false, "22.00 GB"},
                                           TitleCase{"SizeWithLabel", 2, true, "Free: 22.00 GB"},
                                           TitleCase{"UnknownShowsLabelOnly", 7, true, "Free: "}),
                         test::caseName);

// Not a made-up zero: the reason, naming the file and the key, whatever the
// text setting (hosts show the title as the tool tip; the console prints it).
TEST(StatusItemTitle, UnreadableMemoryShowsTheReason) {
    for (const int64_t textType : {0, 2}) {
        ControllerRig rig;
        rig.settings.textType = textType;
        rig.engine.problem = "/proc/meminfo: missing MemFree";
        rig.start();
        EXPECT_EQ(rig.statusItem.titles.back(), "MemoryUnreadable: /proc/meminfo: missing MemFree");
    }
}

bool hasOpaquePixel(const QImage &image) {
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixelColor(x, y).alpha() == 255) {
                return true;
            }
        }
    }
    return false;
}

struct IconCase {
    const char *name;
    int64_t iconType;
    bool isTemplate;
    int pixels;
    bool drawn;
};

class StatusItemImage : public ::testing::TestWithParam<IconCase> {};

// With no free memory in the record the black pie chart is a solid disc.
TEST_P(StatusItemImage, FollowsTheIconSetting) {
    const IconCase &c = GetParam();
    ControllerRig rig;
    rig.settings.iconType = c.iconType;
    rig.start();
    const QImage &image = rig.statusItem.image;
    EXPECT_EQ(rig.statusItem.isTemplate, c.isTemplate);
    EXPECT_EQ(image.devicePixelRatio(), 2.0);
    EXPECT_EQ(image.size(), QSize(c.pixels, c.pixels));
    EXPECT_EQ(hasOpaquePixel(image), c.drawn);
}

INSTANTIATE_TEST_SUITE_P(IconTypes, StatusItemImage,
                         ::testing::Values(IconCase{"NoneKeepsABlankSpace", 0, false, 32, false},
                                           IconCase{"Static2D", 1, true, 36, true},
                                           IconCase{"Static3D", 2, false, 36, true},
                                           IconCase{"PieChartBlack", 3, true, 44, true},
                                           IconCase{"PieChartColor", 4, false, 44, true},
                                           IconCase{"UnknownIsBlank", 9, false, 32, false}),
                         test::caseName);

TEST(StatusItemLegends, ColourLegendsStayAfterSwitchingIcons) {
    ControllerRig rig;
    rig.settings.iconType = 3;
    auto delegate = rig.start();
    QRMStatusMenu &menu = delegate->statusMenu();
    EXPECT_TRUE(menu.bytesItems[0]->image().isNull());

    rig.settings.iconType = 4;
    delegate->refreshStatusMenu();
    for (QRMMenuItem *item : menu.bytesItems) {
        EXPECT_FALSE(item->image().isNull());
    }
    rig.settings.iconType = 3;
    delegate->refreshStatusMenu();
    EXPECT_FALSE(menu.bytesItems[0]->image().isNull());
}

struct TotalCase {
    const char *name;
    uint64_t count;
    int64_t digit;
    const char *expected;
};

class TotallyCleanedText : public ::testing::TestWithParam<TotalCase> {};

TEST_P(TotallyCleanedText, Formats) {
    const TotalCase &c = GetParam();
    EXPECT_EQ(totallyCleanedString({c.count, c.digit}), QString::fromLatin1(c.expected));
}

INSTANTIATE_TEST_SUITE_P(Totals, TotallyCleanedText,
                         ::testing::Values(TotalCase{"BelowThreshold", 999, 0, "999.00 B"},
                                           TotalCase{"TieRoundsToEven", 1152, 0, "1.12 KB"},
                                           TotalCase{"AtThreshold", 1000, 0, "0.98 KB"},
                                           TotalCase{"DigitShiftsTheUnit", 5, 3, "5.00 GB"},
                                           TotalCase{"DigitAboveEightIsBytes", 5, 9, "5.00 B"},
                                           TotalCase{"ScaledPastYotta", 2000, 8, "1.95 B"},
                                           TotalCase{"Maximum", UINT64_MAX, 0, "16.00 EB"}),
                         test::caseName);

struct AdditionCase {
    const char *name;
    RunningTotal before;
    uint64_t freed;
    RunningTotal after;
};

class RunningTotalAddition : public ::testing::TestWithParam<AdditionCase> {};

TEST_P(RunningTotalAddition, ScalesAndOverflows) {
    const AdditionCase &c = GetParam();
    EXPECT_EQ(addFreedBytes(c.before, c.freed), c.after);
}

INSTANTIATE_TEST_SUITE_P(
    Additions, RunningTotalAddition,
    ::testing::Values(
        AdditionCase{"Bytes", {10, 0}, 5, {15, 0}},
        AdditionCase{"ScaledToDigitOne", {3, 1}, 2048, {5, 1}},
        AdditionCase{"ScaledToDigitTwoRoundsDown", {3, 2}, 2 * kMiB - 1, {4, 2}},
        AdditionCase{"Overflow", {UINT64_MAX - 1, 0}, 4096, {(UINT64_MAX >> 10) + 4, 1}},
        AdditionCase{"ExactlyFits", {UINT64_MAX - 4096, 0}, 4096, {UINT64_MAX, 0}},
        AdditionCase{"OverflowAtDigitOne", {UINT64_MAX, 1}, 1024, {(UINT64_MAX >> 10), 2}}),
    test::caseName);

// A site page, the product page (whose campaign is the site's address) and a
// share page (the figure without its space, under the last cleaning's campaign
// word even for the maximum).
TEST(WebLinks, CommandsOpenTheirPages) {
    ControllerRig rig;
    rig.settings.max = 1152;  // 1.125 KB, a tie
    auto delegate = rig.start();
    QRMStatusMenu &menu = delegate->statusMenu();
    for (QRMMenuItem *item :
         {menu.customerSupportPage, menu.productPage, menu.maxCleanedMenuItem}) {
        item->trigger();
    }
    const QString tail = QStringLiteral(
                             "utm_source=app&utm_medium=app.tarnwell.Tarnwell&utm_term=%1"
                             "&utm_content=%2&utm_campaign=")
                             .arg(kMarketingVersion, kBuildNumber);
    const std::vector<QString> expected{
        "https://tarnwell.app/support/en/?" + tail + "support",
        "https://tarnwell.app/en/?" + tail + "https://tarnwell.app",
        "https://tarnwell.app/en/tweetmaxcleaned/?s=1.12KB&" + tail + "tweetlasttimecleaned",
    };
    std::vector<QString> opened;
    for (const QUrl &url : rig.urlOpener.opened) {
        opened.push_back(url.toString());
    }
    EXPECT_EQ(opened, expected);
}

}  // namespace
}  // namespace tarnwell::testing
