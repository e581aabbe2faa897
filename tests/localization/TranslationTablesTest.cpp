#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTranslator>
#include <QXmlStreamReader>

namespace tarnwell::test {
namespace {

// Every text the program shows, by key. A key used in code but missing here
// or in a table is a text that would appear untranslated.
const char *const kKeys[] = {
    // status menu
    "CleanMemoryNow",
    "SwapInfo",
    "AdditionalInfo",
    "Statistics",
    "Preferences",
    "CheckForUpdates",
    "SupportPage",
    "LearnMorePage",
    "ProductPage",
    "PrivacyPage",
    "WelcomeToTarnwell",
    "Quit",
    "Free",
    "Inactive",
    "Active",
    "Wire",
    "Compressed",
    "Used",
    "Total",
    "Pages",
    "CurrentSize",
    "PageSize",
    "Encrypted",
    "YES",
    "NO",
    "UserMemorySize",
    "PhysicalMemorySize",
    "LastTimeCleaned",
    "MaxCleaned",
    "TotallyCleaned",
    // cleaning and its notification
    "Cleaning",
    "Cleaned",
    "NothingtoClean",
    // preferences window and General tab
    "General",
    "ApplicationsAndUtilitiesMonitoring",
    "AutoMemoryCleaning",
    "Updates",
    "Basic",
    "Additional",
    "Advanced",
    "Visuals",
    "Notifications",
    "startApplicationWhenComputerStarts",
    "showDockIcon",
    "statusBarTextWithInfo",
    "showNotificationsAfterCleaning",
    "Language",
    "updateEvery",
    "updateEveryInfo",
    "statusBarText",
    "statusBarIcon",
    "Automatic",
    "English",
    "Russian",
    "Ukrainian",
    "None",
    "Percentage",
    "FreeSize",
    "StaticIcon2DBlack",
    "StaticIcon3DGrayscale",
    "PieChartIconBlack",
    "PieChartIconColor",
    "sec",
    "min",
    // Apps tab
    "CleaningMemoryWhen",
    "CleaningMemoryWhenInfo",
    "ChooseApplication",
    "buttonDidLaunch",
    "buttonDidTerminate",
    "buttonDidHide",
    "buttonDidUnhide",
    "buttonDidActivate",
    "buttonDidDeactivate",
    "showRunningApplicationsAndUtilities",
    "showApplicationsFromApplicationsFolder",
    "showUtilitiesFromApplicationsFolder",
    "Searching",
    "ApplicationsAndUtilities",
    // Cleaning tab
    "autoCleanByFreeSize",
    "autoCleanByInactiveSize",
    "autoCleanEveryTime",
    "autoCleanByFreeSizeInfo",
    "autoCleanByInactiveSizeInfo",
    // Updates tab
    "ApplicationUpdates",
    "VersionAndBuildNumbers",
    "AutomaticUpdateCheckBox",
    "AutomaticDowloadUpdateCheckBox",
    "Hourly",
    "Daily",
    "Weekly",
    "Monthly",
    "UpdatesFeedStable",
    "UpdatesFeedBeta",
    "UpdatesFeedAlpha",
    "Version",
    "Build",
    // welcome window
    "startDiscoverThePreferences",
    // the web site's path segment
    "language",
    // console output of tarnwell stats and tarnwell clean
    "StatsKeyHeading",
    "StatsValueHeading",
    "StatsSizeHeading",
    "CleanFreeBefore",
    "CleanFreeAfter",
    "CleanFreed",
    "CleanNothingFreed",
    "CleanDeclined",
    "CleanRefusedAlreadyCleaning",
    "CleanRefusedNoUsableStatistics",
    "CleanRefusedNoRoomAboveReserve",
    "CleanRefusedCouldNotStart",
};

const char *const kLanguages[] = {"en", "ru", "uk"};

QTranslator &table(const QString &code) {
    static std::map<QString, std::unique_ptr<QTranslator>> tables;
    auto &loaded = tables[code];
    if (!loaded) {
        loaded = std::make_unique<QTranslator>();
        EXPECT_TRUE(loaded->load("tarnwell_" + code, ":/translations")) << code.toStdString();
    }
    return *loaded;
}

class KeyTest : public ::testing::TestWithParam<std::tuple<const char *, const char *>> {};

TEST_P(KeyTest, IsTranslated) {
    const auto [code, key] = GetParam();
    const QString text = table(code).translate("Tarnwell", key);
    ASSERT_FALSE(text.isEmpty()) << key << " missing from the " << code << " table";
    if (QString(code) != "en") {
        // A Russian or Ukrainian text that is the English one was never translated.
        EXPECT_NE(text, table("en").translate("Tarnwell", key)) << key;
    }
}

INSTANTIATE_TEST_SUITE_P(AllTables, KeyTest,
                         ::testing::Combine(::testing::ValuesIn(kLanguages),
                                            ::testing::ValuesIn(kKeys)),
                         [](const auto &info) {
                             return std::string(std::get<0>(info.param)) + "_" +
                                    std::get<1>(info.param);
                         });

TEST(TranslationTablesTest, LanguageKeyIsTheSitePathSegment) {
    for (const char *code : kLanguages) {
        EXPECT_EQ(table(code).translate("Tarnwell", "language"), code);
    }
}

// lrelease silently drops unfinished entries, so check the sources: the same
// keys in every table, each with a finished translation.
QStringList sourceKeys(const QString &code, QStringList *unfinished) {
    // Cleaned first: tests/data need not exist for "..".
    QFile file(QDir::cleanPath(
        QStringLiteral(TARNWELL_TEST_DATA_DIR "/../../resources/translations/tarnwell_%1.ts")
            .arg(code)));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << file.fileName().toStdString();
    QXmlStreamReader xml(&file);
    QStringList keys;
    while (xml.readNextStartElement() || !xml.atEnd()) {
        if (xml.isStartElement() && xml.name() == u"source") {
            keys.append(xml.readElementText());
        } else if (xml.isStartElement() && xml.name() == u"translation" &&
                   xml.attributes().hasAttribute("type")) {
            unfinished->append(keys.last());
        }
        if (xml.hasError()) {
            ADD_FAILURE() << xml.errorString().toStdString();
            break;
        }
        xml.readNext();
    }
    return keys;
}

TEST(TranslationTablesTest, SourcesHoldTheSameFinishedKeys) {
    QStringList unfinished;
    const QStringList english = sourceKeys("en", &unfinished);
    EXPECT_EQ(english.size(), QSet<QString>(english.begin(), english.end()).size())
        << "duplicate key";
    for (const char *code : {"ru", "uk"}) {
        EXPECT_EQ(sourceKeys(code, &unfinished), english) << code;
    }
    EXPECT_TRUE(unfinished.isEmpty()) << unfinished.join(", ").toStdString();
}

}  // namespace
}  // namespace tarnwell::test
