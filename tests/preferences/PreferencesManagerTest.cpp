#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <functional>
#include <thread>

#include "PreferencesFixture.h"
#include "preferences/Updater.h"

namespace tarnwell::test {
namespace {

using Getter = std::function<QVariant(QRMPreferencesManager &)>;

struct FreshDefault {
    const char *name;
    Getter read;
    const char *key;
    QVariant expected;
    // What the file holds afterwards; nothing when the key must stay absent.
    std::optional<QString> storedText;
};

void PrintTo(const FreshDefault &row, std::ostream *os) {
    *os << row.name;
}

class FreshStoreTest : public PreferencesTest,
                       public ::testing::WithParamInterface<FreshDefault> {};

TEST_P(FreshStoreTest, ReturnsTheDefaultAndStoresItOnlyForWriteBackRows) {
    const FreshDefault &row = GetParam();
    EXPECT_EQ(row.read(store()), row.expected);
    const auto file = reread();
    if (row.storedText) {
        EXPECT_EQ(file->value(row.key).toString(), *row.storedText);
    } else {
        EXPECT_FALSE(file->contains(row.key));
    }
}

#define GETTER(accessor) [](QRMPreferencesManager &s) { return QVariant::fromValue(s.accessor()); }

INSTANTIATE_TEST_SUITE_P(
    EverySetting, FreshStoreTest,
    ::testing::Values(
        FreshDefault{"FeedURL", GETTER(updatesFeedURL), "FeedURL", QVariant(kStableFeed),
                     kStableFeed.toString()},
        FreshDefault{"bundleBuild", GETTER(bundleBuild), "bundleBuild", QVariant(QString()),
                     std::nullopt},
        FreshDefault{"isWelcomeShown", GETTER(isWelcomeShown), "isWelcomeShown", false,
                     std::nullopt},
        FreshDefault{"showDockIcon", GETTER(showDockIcon), "showDockIcon", false, std::nullopt},
        FreshDefault{"refreshRate", GETTER(refreshRate), "refreshRate", qint64(5), "5"},
        FreshDefault{"showNotificationsAfterCleaning", GETTER(showNotificationsAfterCleaning),
                     "udShowNotificationsAfterCleaning", true, "true"},
        FreshDefault{"autoCleanEveryTime", GETTER(autoCleanEveryTime), "autoCleanEveryTime",
                     qint64(10), "10"},
        FreshDefault{"autoCleanEveryTimeChecked", GETTER(autoCleanEveryTimeChecked),
                     "autoCleanEveryTimeChecked", false, std::nullopt},
        FreshDefault{"autoCleanByFreeSizeChecked", GETTER(autoCleanByFreeSizeChecked),
                     "autoCleanByFreeSizeChecked", false, std::nullopt},
        FreshDefault{"autoCleanByInactiveSizeChecked", GETTER(autoCleanByInactiveSizeChecked),
                     "autoCleanByInactiveSizeChecked", false, std::nullopt},
        FreshDefault{"showRunningApplicationsAndUtilities",
                     GETTER(showRunningApplicationsAndUtilities),
                     "showRunningApplicationsAndUtilities", false, std::nullopt},
        FreshDefault{"showApplicationsFromApplicationsFolder",
                     GETTER(showApplicationsFromApplicationsFolder),
                     "showApplicationsFromApplicationsFolder", true, "true"},
        FreshDefault{"showUtilitiesFromApplicationsFolder",
                     GETTER(showUtilitiesFromApplicationsFolder),
                     "showUtilitiesFromApplicationsFolder", false, std::nullopt},
        FreshDefault{"statusBarIconType", GETTER(statusBarIconType), "statusBarIcon", qint64(3),
                     "3"},
        FreshDefault{"statusBarTextType", GETTER(statusBarTextType), "statusBarText", qint64(2),
                     "2"},
        FreshDefault{"statusBarTextWithInfo", GETTER(statusBarTextWithInfo),
                     "statusBarTextWithInfo", false, "false"},
        FreshDefault{"lastTimeCleaned", GETTER(lastTimeCleaned), "lastTimeCleaned", quint64(0),
                     "0"},
        FreshDefault{"maxCleaned", GETTER(maxCleaned), "maxCleaned", quint64(0), "0"},
        FreshDefault{"totallyCleaned", GETTER(totallyCleaned), "totallyCleaned", quint64(0), "0"},
        FreshDefault{"totallyCleanedDigit", GETTER(totallyCleanedDigit), "totallyCleanedDigit",
                     qint64(0), "0"},
        FreshDefault{"selectedLanguage", GETTER(selectedLanguage), "selectedLanguage", qint64(0),
                     std::nullopt},
        FreshDefault{"collectUsageEvents", GETTER(collectUsageEvents), "collectUsageEvents", true,
                     "true"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(PreferencesTest, ListsThatWereNeverStoredAreNothingNotEmpty) {
    EXPECT_FALSE(store().applicationsAndUtilitiesToMonitoring().has_value());
    EXPECT_FALSE(store().appleLanguages().has_value());
    EXPECT_FALSE(reread()->contains("applicationsAndUtilitiesToMonitoring"));
    EXPECT_FALSE(reread()->contains("AppleLanguages"));
}

struct ThresholdCase {
    const char *name;
    std::optional<uint64_t> installed;
    qint64 free;
    qint64 inactive;
};

class ThresholdDefaultTest : public PreferencesTest,
                             public ::testing::WithParamInterface<ThresholdCase> {};

TEST_P(ThresholdDefaultTest, ComesFromInstalledMemoryAndIsWrittenBack) {
    installedMemory_ = GetParam().installed;
    EXPECT_EQ(store().autoCleanByFreeSize(), GetParam().free);
    EXPECT_EQ(store().autoCleanByInactiveSize(), GetParam().inactive);
    // Once written, the default no longer follows the machine.
    installedMemory_ = 64 * kGiB;
    EXPECT_EQ(store().autoCleanByFreeSize(), GetParam().free);
    const auto file = reread();
    EXPECT_EQ(file->value("autoCleanByFreeSize").toString(), QString::number(GetParam().free));
    EXPECT_EQ(file->value("autoCleanByInactiveSize").toString(),
              QString::number(GetParam().inactive));
}

INSTANTIATE_TEST_SUITE_P(Machines, ThresholdDefaultTest,
                         ::testing::Values(
                             // 5 × floor(8192 / 100) = 405, not floor(5 × 8192 / 100) = 409.
                             ThresholdCase{"EightGiB", 8 * kGiB, 81, 405},
                             ThresholdCase{"SixteenGiB", 16 * kGiB, 163, 815},
                             ThresholdCase{"NoStatisticsYet", std::nullopt, 0, 0},
                             ThresholdCase{"JustUnderOnePercentStep", 104'857'599, 0, 0},
                             ThresholdCase{"Largest", UINT64_MAX, qint64(UINT64_MAX / 104'857'600),
                                           qint64(UINT64_MAX / 104'857'600 * 5)}),
                         [](const auto &info) { return std::string(info.param.name); });

TEST_F(PreferencesTest, FirstRunLastsUntilABuildIsStoredAlsoAcrossRestarts) {
    EXPECT_TRUE(store().isFirstRun());
    EXPECT_TRUE(restartedStore()->isFirstRun());
    store().setBundleBuild("120");
    EXPECT_FALSE(store().isFirstRun());
    const auto restarted = restartedStore();
    EXPECT_FALSE(restarted->isFirstRun());
    EXPECT_EQ(restarted->bundleBuild(), "120");
}

// Every value type survives the trip through the file's text, including the
// shapes QSettings writes lists in (one element alone, an empty list as a marker).
struct RoundTrip {
    const char *name;
    Setting setting;
    QVariant value;
};

class RoundTripTest : public PreferencesTest, public ::testing::WithParamInterface<RoundTrip> {};

TEST_P(RoundTripTest, ValueReadAfterRestartEqualsValueSet) {
    ASSERT_TRUE(store().setValue(GetParam().setting, GetParam().value));
    EXPECT_EQ(restartedStore()->value(GetParam().setting), GetParam().value);
}

QVariantMap record(const QString &name, const QString &id, bool didLaunch) {
    return {{"name", name},           {"ID", id},
            {"DidLaunch", didLaunch}, {"DidTerminate", false},
            {"DidHide", false},       {"DidUnhide", false},
            {"DidActivate", true},    {"DidDeactivate", false}};
}

INSTANTIATE_TEST_SUITE_P(
    Types, RoundTripTest,
    ::testing::Values(
        RoundTrip{"BooleanTrue", Setting::ShowDockIcon, true},
        RoundTrip{"BooleanFalseOverWriteBackDefault", Setting::CollectUsageEvents, false},
        RoundTrip{"NegativeInteger", Setting::StatusBarIconType, qint64(-1)},
        RoundTrip{"LargestUnsigned", Setting::TotallyCleaned, quint64(UINT64_MAX)},
        RoundTrip{"BuildWithComma", Setting::BundleBuild, QString("1,2")},
        RoundTrip{"FeedWithQuery", Setting::FeedURL,
                  QUrl("http://127.0.0.1:8080/download/beta/appcast.xml?a=1&b=two words")},
        RoundTrip{"OneLanguage", Setting::AppleLanguages, QStringList{"ukr"}},
        RoundTrip{"TwoLanguages", Setting::AppleLanguages, QStringList{"ru", "en"}},
        RoundTrip{"NoLanguages", Setting::AppleLanguages, QStringList{}},
        RoundTrip{"NoRecords", Setting::ApplicationsAndUtilitiesToMonitoring, QVariantList{}},
        RoundTrip{"OneRecord", Setting::ApplicationsAndUtilitiesToMonitoring,
                  QVariantList{record("Firefox", "firefox.desktop", true)}},
        RoundTrip{"RecordsWithCommasAndCyrillic", Setting::ApplicationsAndUtilitiesToMonitoring,
                  QVariantList{record("Files, the manager", "org.gnome.Nautilus.desktop", false),
                               record("Тетрадь", "notes.desktop", true)}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(PreferencesTest, SetterRefusesAValueOfTheWrongTypeAndKeepsTheOldOne) {
    store().setRefreshRate(7);
    EXPECT_FALSE(store().setValue(Setting::RefreshRate, QString("soon")));
    EXPECT_FALSE(store().setValue(Setting::LastTimeCleaned, qint64(-5)));
    EXPECT_FALSE(store().setValue(Setting::ApplicationsAndUtilitiesToMonitoring,
                                  QVariantList{QVariantMap{{"name", "no ID"}}}));
    EXPECT_EQ(restartedStore()->refreshRate(), 7);
}

// A hand-edited file: whatever cannot be read as the key's type counts as
// absent, so the default applies (and write-back rows replace the garbage).
struct CorruptValue {
    const char *name;
    QByteArray line;
    Getter read;
    QVariant expected;
};

class CorruptFileTest : public PreferencesTest,
                        public ::testing::WithParamInterface<CorruptValue> {};

TEST_P(CorruptFileTest, UnreadableValueCountsAsAbsent) {
    writeFile("[General]\n" + GetParam().line + "\n");
    EXPECT_EQ(GetParam().read(store()), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    HandEdited, CorruptFileTest,
    ::testing::Values(
        CorruptValue{"WordForNumber", "refreshRate=soon", GETTER(refreshRate), qint64(5)},
        CorruptValue{"Fraction", "statusBarIcon=2.5", GETTER(statusBarIconType), qint64(3)},
        CorruptValue{"Overflow", "autoCleanEveryTime=99999999999999999999",
                     GETTER(autoCleanEveryTime), qint64(10)},
        CorruptValue{"NegativeCounter", "maxCleaned=-1", GETTER(maxCleaned), quint64(0)},
        CorruptValue{"WordForBoolean", "udShowNotificationsAfterCleaning=maybe",
                     GETTER(showNotificationsAfterCleaning), true},
        CorruptValue{"ListForBoolean", "showDockIcon=true, false", GETTER(showDockIcon), false},
        CorruptValue{"NumericBoolean", "showDockIcon=1", GETTER(showDockIcon), true},
        CorruptValue{"RelativeFeed", "FeedURL=download/appcast.xml", GETTER(updatesFeedURL),
                     QVariant(kStableFeed)},
        CorruptValue{"ListForBuild", "bundleBuild=1, 2", GETTER(isFirstRun), true},
        CorruptValue{"TextForRecords", "applicationsAndUtilitiesToMonitoring=firefox",
                     [](QRMPreferencesManager &s) {
                         return QVariant(s.applicationsAndUtilitiesToMonitoring().has_value());
                     },
                     false},
        CorruptValue{"BrokenVariant", "applicationsAndUtilitiesToMonitoring=@Variant(\\0\\0\\x7f",
                     [](QRMPreferencesManager &s) {
                         return QVariant(s.applicationsAndUtilitiesToMonitoring().has_value());
                     },
                     false},
        CorruptValue{"HandWrittenLanguage", "AppleLanguages=ru",
                     [](QRMPreferencesManager &s) { return QVariant(*s.appleLanguages()); },
                     QStringList{"ru"}},
        CorruptValue{"GarbageAround", "refreshRate=9\n\x01\x02\xff\n=\n==x\n[Gen",
                     GETTER(refreshRate), qint64(9)}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(PreferencesTest, GarbageIsReplacedByTheWrittenBackDefault) {
    writeFile("[General]\nrefreshRate=soon\n");
    store().refreshRate();
    EXPECT_EQ(reread()->value("refreshRate").toString(), "5");
}

TEST_F(PreferencesTest, ChangesWrittenByAnotherProcessAreReadAtOnce) {
    store().setRefreshRate(5);
    writeFile("[General]\nrefreshRate=12\nshowDockIcon=true\n");
    EXPECT_EQ(store().refreshRate(), 12);
    EXPECT_TRUE(store().showDockIcon());
}

int gWarnings = 0;
void countWarnings(QtMsgType type, const QMessageLogContext &, const QString &) {
    gWarnings += type == QtWarningMsg;
}

TEST_F(PreferencesTest, UnwritableFileIsReportedOnceAndValuesLiveOnInMemory) {
    // A folder where the file should be: cannot be read nor written, even as root.
    ASSERT_TRUE(QDir(dir_.path()).mkdir("Tarnwell.conf"));
    gWarnings = 0;
    const QtMessageHandler previous = qInstallMessageHandler(countWarnings);
    EXPECT_EQ(store().refreshRate(), 5);
    store().setRefreshRate(2);
    store().setShowDockIcon(true);
    qInstallMessageHandler(previous);
    EXPECT_EQ(gWarnings, 1);
    EXPECT_EQ(store().refreshRate(), 2);
    EXPECT_TRUE(store().showDockIcon());
}

TEST_F(PreferencesTest, SettingNoLanguagesRemovesTheOverride) {
    store().setAppleLanguages(QStringList{"ru"});
    store().setAppleLanguages(std::nullopt);
    EXPECT_FALSE(reread()->contains("AppleLanguages"));
    EXPECT_FALSE(store().appleLanguages().has_value());
}

TEST_F(PreferencesTest, GenericKeysHoldDataUntilRemoved) {
    const QByteArray bytes("\x00\x01 state\n", 9);
    store().setData(bytes, "windowState");
    store().setData(QString("text"), "notData");
    auto restarted = restartedStore();
    EXPECT_EQ(restarted->dataForKey("windowState"), bytes);
    EXPECT_TRUE(restarted->dataForKey("notData").isNull());
    store().removeObjectForKey("windowState");
    EXPECT_TRUE(restartedStore()->dataForKey("windowState").isNull());
}

class MockUpdater : public Updater {
public:
    MOCK_METHOD(void, setFeedURL, (const QUrl &), (override));
    MOCK_METHOD(void, checkForUpdateInformation, (), (override));
};

TEST_F(PreferencesTest, FeedChangeReachesTheUpdaterEvenWhenUnchanged) {
    const QUrl beta("https://site.test/download/beta/appcast.xml");
    ::testing::StrictMock<MockUpdater> updater;
    {
        ::testing::InSequence order;
        for (int i = 0; i < 2; ++i) {
            EXPECT_CALL(updater, setFeedURL(beta));
            EXPECT_CALL(updater, checkForUpdateInformation());
        }
    }
    store().setUpdater(&updater);
    store().setUpdatesFeedURL(beta);
    store().setUpdatesFeedURL(beta);
    // Reading the default feed is not a change.
    store().setUpdater(nullptr);
    EXPECT_EQ(restartedStore()->updatesFeedURL(), beta);
}

TEST_F(PreferencesTest, CountersWrittenFromTwoThreadsAllArrive) {
    QRMPreferencesManager &shared = store();
    std::thread other([&shared] {
        for (int i = 0; i < 200; ++i) {
            shared.setMaxCleaned(quint64(i));
        }
    });
    for (int i = 0; i < 200; ++i) {
        shared.setLastTimeCleaned(quint64(i));
        shared.refreshRate();
    }
    other.join();
    const auto restarted = restartedStore();
    EXPECT_EQ(restarted->lastTimeCleaned(), 199u);
    EXPECT_EQ(restarted->maxCleaned(), 199u);
}

}  // namespace
}  // namespace tarnwell::test
