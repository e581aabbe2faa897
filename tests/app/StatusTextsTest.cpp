// The status item, its icon and the menu's texts, in English and through the
// real string tables.
#include <QTemporaryDir>
#include <cmath>
#include <optional>

#include <gtest/gtest.h>

#include "AppFakes.h"
#include "BuildInfo.h"
#include "CaseName.h"
#include "Pixels.h"
#include "app/CleaningStatistics.h"
#include "app/StatusIcons.h"
#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell::testing {
namespace {

using namespace StatusIcons;

// Byte lines come from the page counts (22 GiB free); the stored byte figures
// (here wrapped past 4 GiB, as the record keeps them) are never shown. 97 of
// 800 pages free is an exact binary tie, which "%.2f" rounds to even. No
// compressed pages and no inactive per cent: missing figures read as zero.
QRMStatisticsRecord fullRecord() {
    const auto u32 = QRMNumber::fromUInt32;
    const auto u64 = QRMNumber::fromUInt64;
    const std::pair<std::string_view, QRMNumber> entries[] = {
        {keys::freeCount, u32(5767168)},
        {keys::freeBytes, u32(2 * 1024 * kMiB)},
        {keys::inactiveCount, u32(131072)},
        {keys::activeCount, u32(262144)},
        {keys::wireCount, u32(65536)},
        {keys::usedCount, u32(327680)},
        {keys::totalCount, u32(6094848)},
        {keys::freePercents, QRMNumber::fromFloat(12.125f)},
        {keys::usedPercents, QRMNumber::fromFloat(31.25f)},
        {keys::xsuTotal, u64(2048 * kMiB)},
        {keys::xsuAvail, u64(2000 * kMiB)},
        {keys::xsuUsed, u64(48 * kMiB)},
        {keys::xsuPageSize, u32(4096)},
        {keys::xsuEncripted, u32(1)},
        {keys::pageSize, u32(4096)},
        {keys::userMemory, u64(3900 * kMiB)},
        {keys::hardwareMemorySize, u64(4096 * kMiB)}};
    QRMStatisticsRecord record;
    for (const auto &[key, value] : entries) {
        record[std::string(key)] = value;
    }
    return record;
}

// The menu's titles, "|" between them, a submenu's in brackets after its item;
// separators left out.
QString shape(const QRMMenu &menu) {
    QStringList out;
    for (const QRMMenuItem *item : menu.items()) {
        if (!item->isSeparator()) {
            const QRMMenu *sub = item->submenu();
            out << item->title() + (sub ? "[" + shape(*sub) + "]" : QString());
        }
    }
    return out.join('|');
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
    // Sizes right-aligned to a common width, per cents with two decimals. The
    // swap item reads a key the record never holds, so it always says NO.
    EXPECT_EQ(shape(*delegate->statusMenu().menu()),
              "CleanMemoryNow|  22.00 GB Free|512.00 MB Inactive|    1.00 GB Active|"
              "256.00 MB Wire|    0.00 B Compressed|    1.25 GB Used|  23.25 GB Total|"
              "Free: 12.12 %|Inactive: 0.00 %|Active: 0.00 %|Wire: 0.00 %|Compressed: 0.00 %|"
              "Used: 31.25 %|Total: 0.00 %|Free: 5767168 Pages|Inactive: 131072 Pages|"
              "Active: 262144 Pages|Wire: 65536 Pages|Compressed: 0 Pages|Used: 327680 Pages|"
              "Total: 6094848 Pages|SwapInfo[    2.00 GB CurrentSize|    1.95 GB Free|"
              "  48.00 MB Used|PageSize: 4.00 KB|Encrypted: NO]|AdditionalInfo[PageSize: 4.00 KB|"
              "UserMemorySize: 3.81 GB|PhysicalMemorySize: 4.00 GB]|"
              "Statistics[LastTimeCleaned: 1.12 KB|MaxCleaned: 5.00 GB|TotallyCleaned: 1.46 GB]|"
              "Preferences|CheckForUpdates|SupportPage|LearnMorePage|ProductPage|PrivacyPage|"
              "WelcomeToTarnwell|Quit");
}

// None ignores the label, an unknown type shows only the label; the per cent
// is a tie, the size past 4 GiB.
TEST(StatusItemTitle, FollowsTheTextSettings) {
    const std::tuple<int64_t, bool, const char *> rows[] = {
        {0, true, ""},          {1, false, "12.12 %"},       {1, true, "Free: 12.12 %"},
        {2, false, "22.00 GB"}, {2, true, "Free: 22.00 GB"}, {7, true, "Free: "}};
    for (const auto &[textType, withInfo, expected] : rows) {
        ControllerRig rig;
        rig.settings.textType = textType;
        rig.settings.textWithInfo = withInfo;
        rig.engine.nextSample = fullRecord();
        rig.start();
        EXPECT_EQ(rig.statusItem.titles.back(), QString::fromUtf8(expected)) << textType;
    }
}

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

// Per icon type: a template image or not, its side in pixels, and whether
// anything is drawn. None and unknown types keep a blank space; with no free
// memory in the record the black pie chart is a solid disc.
TEST(StatusItemImage, FollowsTheIconSetting) {
    const std::tuple<int64_t, bool, int, bool> rows[] = {
        {0, false, 32, false}, {1, true, 36, true},  {2, false, 36, true},
        {3, true, 44, true},   {4, false, 44, true}, {9, false, 32, false}};
    for (const auto &[iconType, isTemplate, pixels, drawn] : rows) {
        ControllerRig rig;
        rig.settings.iconType = iconType;
        rig.start();
        const QImage &image = rig.statusItem.image;
        EXPECT_EQ(rig.statusItem.isTemplate, isTemplate) << iconType;
        EXPECT_EQ(image.devicePixelRatio(), 2.0) << iconType;
        EXPECT_EQ(image.size(), QSize(pixels, pixels)) << iconType;
        EXPECT_EQ(test::pixelsWhere(image, [](const QColor &p) { return p.alpha() == 255; }) > 0,
                  drawn)
            << iconType;
    }
}

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

// The pixel at the given angle (degrees, counter-clockwise from the right)
// and distance (points) from the centre of a kPieChartSize image.
QColor pixelAt(const QImage &image, double degrees, double distance) {
    const double radians = degrees * M_PI / 180.0;
    const double centre = kPieChartSize / 2.0;
    const double x = (centre + distance * std::cos(radians)) * kDevicePixelRatio;
    const double y = (centre - distance * std::sin(radians)) * kDevicePixelRatio;
    return image.pixelColor(int(x), int(y));
}

struct PieCase {
    const char *name;
    std::optional<double> freePercents;  // the black chart; otherwise the colour one
    std::array<double, kSegmentCount> percents;
    // Inside the circle at 15, 45, ... 345 degrees: '.' nothing, 'k' black, a
    // digit that segment's colour, '?' too near a wedge edge to tell.
    const char *inside;
};

class PieChart : public ::testing::TestWithParam<PieCase> {};

// Probed 5 points from the centre, and at 10 outside the radius of 8.
TEST_P(PieChart, WedgesRunCounterClockwise) {
    const PieCase &c = GetParam();
    const QImage image =
        c.freePercents ? pieChartIconBlack(*c.freePercents) : pieChartIconColor(c.percents);
    for (int sector = 0; sector < 12; ++sector) {
        const double degrees = 15 + 30 * sector;
        const char expected = c.inside[sector];
        SCOPED_TRACE(::testing::Message() << degrees << " degrees");
        const QColor inside = pixelAt(image, degrees, 5);
        if (expected == '.') {
            EXPECT_EQ(inside.alpha(), 0);
        } else if (expected != '?') {
            EXPECT_EQ(inside.alpha(), 255);
            EXPECT_EQ(inside.rgb(),
                      (expected == 'k' ? QColor(Qt::black) : segmentColor(expected - '0')).rgb());
        }
        EXPECT_EQ(pixelAt(image, degrees, 10).alpha(), 0);
        // The black chart always outlines the whole circle.
        if (c.freePercents) {
            EXPECT_GT(pixelAt(image, degrees, kPieChartRadius).alpha(), 200);
        }
    }
}

// The black chart leaves free memory open from 0 degrees; the colour chart
// starts at 90 with free, then inactive, active, wired and compressed, and
// leaves used memory clear. Beyond 100 % wedges paint over the first ones.
INSTANTIATE_TEST_SUITE_P(
    Charts, PieChart,
    ::testing::Values(PieCase{"BlackNothingFree", 0, {}, "kkkkkkkkkkkk"},
                      PieCase{"BlackQuarterFree", 25, {}, "...kkkkkkkkk"},
                      PieCase{"BlackAllFree", 100, {}, "............"},
                      PieCase{"BlackOverFull", 150, {}, "............"},
                      PieCase{"ColourEveryWedge",
                              std::nullopt,
                              {25, 25, 50.0 / 3, 50.0 / 3, 25.0 / 3},
                              "34.000111223"},
                      PieCase{"ColourNothingFree", std::nullopt, {0, 50, 0, 0, 0}, "...111111..."},
                      PieCase{"ColourOverFull", std::nullopt, {60, 60, 0, 0, 0}, "11111?000011"},
                      PieCase{"ColourFullTurn", std::nullopt, {100, 0, 0, 0, 0}, "000000000000"}),
    test::caseName);

TEST(Legend, ColouredCircle) {
    const QImage image = legendImage(segmentColor(1));
    EXPECT_EQ(image.size(), QSize(32, 32));
    // Centre (8, 8) points, radius 5, outlined in black.
    EXPECT_EQ(image.pixelColor(16, 10).rgb(), segmentColor(1).rgb());
    EXPECT_EQ(image.pixelColor(10, 22).rgb(), segmentColor(1).rgb());
    EXPECT_EQ(image.pixelColor(16, 5).rgb(), QColor(Qt::black).rgb());
    EXPECT_EQ(image.pixelColor(1, 1).alpha(), 0);
    EXPECT_EQ(blankImage().pixelColor(16, 16).alpha(), 0);
}

// 1152 B is a tie, rounded to even; a unit past the last one is bytes.
TEST(RunningTotal, FormatsInItsUnit) {
    const std::pair<RunningTotal, const char *> rows[] = {
        {{999, 0}, "999.00 B"},       {{1152, 0}, "1.12 KB"}, {{1000, 0}, "0.98 KB"},
        {{5, 3}, "5.00 GB"},          {{5, 9}, "5.00 B"},     {{2000, 8}, "1.95 B"},
        {{UINT64_MAX, 0}, "16.00 EB"}};
    for (const auto &[total, expected] : rows) {
        EXPECT_EQ(totallyCleanedString(total), QString::fromLatin1(expected)) << expected;
    }
}

// Rounded down into the total's unit; on overflow the unit grows.
TEST(RunningTotal, AddsInItsUnitAndScalesOnOverflow) {
    const std::tuple<RunningTotal, uint64_t, RunningTotal> rows[] = {
        {{10, 0}, 5, {15, 0}},
        {{3, 1}, 2048, {5, 1}},
        {{3, 2}, 2 * kMiB - 1, {4, 2}},
        {{UINT64_MAX - 1, 0}, 4096, {(UINT64_MAX >> 10) + 4, 1}},
        {{UINT64_MAX - 4096, 0}, 4096, {UINT64_MAX, 0}},
        {{UINT64_MAX, 1}, 1024, {UINT64_MAX >> 10, 2}}};
    for (const auto &[before, freed, after] : rows) {
        EXPECT_EQ(addFreedBytes(before, freed), after) << before.count << " + " << freed;
    }
}

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
    QStringList opened;
    for (const QUrl &url : rig.urlOpener.opened) {
        opened << url.toString();
    }
    EXPECT_EQ(opened, QStringList({"https://tarnwell.app/support/en/?" + tail + "support",
                                   "https://tarnwell.app/en/?" + tail + "https://tarnwell.app",
                                   "https://tarnwell.app/en/tweetmaxcleaned/?s=1.12KB&" + tail +
                                       "tweetlasttimecleaned"}));
}

// Switched from the preferences window, which the open menu hears at once,
// then as `tarnwell settings AppleLanguages ru` does it, from another process,
// which this one hears of at its next refresh: every title follows, not only
// the figures (the commands and submenu titles once stayed in the old language
// until a restart).
TEST(Languages, EveryTitleAndAddressFollowASwitch) {
    QTemporaryDir dir;
    QRMPreferencesManager preferences{dir.filePath("settings.ini"),
                                      [] { return std::optional<uint64_t>(); },
                                      QUrl("https://example.invalid/feed.xml")};
    QRMLocalization localization{preferences, QStringLiteral(":/translations"),
                                 [] { return QStringList{"en-US"}; }};
    ControllerRig rig;
    rig.localized = [&](const QString &key) { return localization.localized(key); };
    rig.settings.textWithInfo = true;
    rig.settings.textType = 1;
    auto delegate = rig.start();
    QRMStatusMenu &menu = delegate->statusMenu();
    QRMLanguageNotifier notifier;
    QObject::connect(&notifier, &QRMLanguageNotifier::languageDidChanged, delegate.get(),
                     &QRMAppDelegate::languageDidChanged, Qt::DirectConnection);
    changeLanguage(preferences, notifier, 3);
    EXPECT_EQ(menu.statiaticsMenuItem->title(), "Статистика");
    EXPECT_EQ(menu.cleanMemoryNow->title(), "Очистити пам’ять");
    EXPECT_EQ(rig.statusItem.titles.back(), "Вільно: 0.00 %");

    preferences.setAppleLanguages(QStringList{"ru-RU"});
    delegate->refreshMemoryInfo();
    // Two decimals and a point whatever the language.
    EXPECT_EQ(shape(*menu.menu()),
              "Очистить память|    0.00 B Свободно|    0.00 B Неактивно|    0.00 B Активно|"
              "    0.00 B Зарезервировано|    0.00 B Сжато|    0.00 B Использовано|"
              "    0.00 B Всего|Свободно: 0.00 %|Неактивно: 0.00 %|Активно: 0.00 %|"
              "Зарезервировано: 0.00 %|Сжато: 0.00 %|Использовано: 0.00 %|Всего: 0.00 %|"
              "Свободно: 0 стр.|Неактивно: 0 стр.|Активно: 0 стр.|Зарезервировано: 0 стр.|"
              "Сжато: 0 стр.|Использовано: 0 стр.|Всего: 0 стр.|Файл подкачки[    0.00 B Размер|"
              "    0.00 B Свободно|    0.00 B Использовано|Размер страницы: 0.00 B|"
              "Зашифровано: Нет]|Дополнительная информация[Размер страницы: 0.00 B|"
              "Память пользователя: 0.00 B|Установленная память: 0.00 B]|"
              "Статистика[Последняя очистка: 0.00 B|Наибольшая очистка: 0.00 B|"
              "Всего очищено: 0.00 B]|Настройки|Проверить обновления…|Поддержка|Подробнее|"
              "Сайт Tarnwell|Политика конфиденциальности|Добро пожаловать в Tarnwell|Выйти");
    EXPECT_EQ(rig.statusItem.titles.back(), "Свободно: 0.00 %");
    EXPECT_EQ(rig.statusItem.toolTip, "Свободная память: 0.00 B (0.00 %)");

    delegate->cleanMemoryNow();
    EXPECT_EQ(menu.cleanMemoryNow->title(), "Очистка...");

    menu.privacyPage->trigger();
    ASSERT_EQ(rig.urlOpener.opened.size(), 1u);
    EXPECT_EQ(rig.urlOpener.opened[0].path(), "/privacy/ru/");
}

}  // namespace
}  // namespace tarnwell::testing
