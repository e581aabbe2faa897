#include <gtest/gtest.h>

#include <QDir>
#include <QSettings>
#include <QTemporaryDir>
#include <thread>

#include "preferences/QRMPreferencesManager.h"
#include "preferences/Updater.h"

#include "CaseName.h"

namespace tarnwell::test {
namespace {

const QUrl kStableFeed{"https://site.test/download/appcast.xml"};
constexpr uint64_t kGiB = uint64_t(1) << 30;

// A store over a settings file of its own in a temporary folder.
class PreferencesTest : public ::testing::Test {
protected:
    QString settingsPath() const { return dir_.filePath("Tarnwell.conf"); }
    std::unique_ptr<QRMPreferencesManager> makeStore(const QString &path) {
        return std::make_unique<QRMPreferencesManager>(
            path, [this] { return installedMemory_; }, kStableFeed);
    }
    QRMPreferencesManager &store() {
        if (!store_) {
            store_ = makeStore(settingsPath());
        }
        return *store_;
    }
    // A store that starts again from the file, as after a restart. QSettings
    // shares parsed files within a process, so the text is copied first.
    std::unique_ptr<QRMPreferencesManager> restartedStore() {
        const QString copy = dir_.filePath(QStringLiteral("restart-%1.conf").arg(++restarts_));
        QFile::copy(settingsPath(), copy);
        return makeStore(copy);
    }
    void writeFile(const QByteArray &text) {
        QFile file(settingsPath());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }

    QTemporaryDir dir_;
    std::optional<uint64_t> installedMemory_ = 8 * kGiB;
    std::unique_ptr<QRMPreferencesManager> store_;
    int restarts_ = 0;
};

// Defaults and write-back rules as the settings table of the design gives
// them, typed here: a wrong default or a misspelt key fails.
struct DefaultCase {
    const char *name;  // the key, exactly as stored
    QVariant value;    // the default; invalid for "nothing"
    bool writtenBack;
};

const DefaultCase kDefaults[] = {
    {"FeedURL", kStableFeed, true},
    {"bundleBuild", {}, false},
    {"isWelcomeShown", false, false},
    {"showDockIcon", false, false},
    {"refreshRate", qint64(5), true},
    {"udShowNotificationsAfterCleaning", true, true},
    {"autoCleanEveryTime", qint64(10), true},
    {"autoCleanByFreeSize", qint64(81), true},  // 1 % of 8 GiB in MB
    // 5 × floor(8192 / 100) = 405, not floor(5 × 8192 / 100) = 409.
    {"autoCleanByInactiveSize", qint64(405), true},
    {"autoCleanEveryTimeChecked", false, false},
    {"autoCleanByFreeSizeChecked", false, false},
    {"autoCleanByInactiveSizeChecked", false, false},
    {"showRunningApplicationsAndUtilities", false, false},
    {"showApplicationsFromApplicationsFolder", true, true},
    {"showUtilitiesFromApplicationsFolder", false, false},
    {"statusBarIcon", qint64(3), true},
    {"statusBarText", qint64(2), true},
    {"statusBarTextWithInfo", false, true},
    {"lastTimeCleaned", quint64(0), true},
    {"maxCleaned", quint64(0), true},
    {"totallyCleaned", quint64(0), true},
    {"totallyCleanedDigit", qint64(0), true},
    {"applicationsAndUtilitiesToMonitoring", {}, false},
    {"selectedLanguage", qint64(0), false},
    {"AppleLanguages", {}, false},
    {"collectUsageEvents", true, true},
    {"statusBarTextPlacement", qint64(0), false},
    {"statusBarAppearance", qint64(0), false},
    // The update framework's own names and defaults: no checks, once a day.
    {"SUEnableAutomaticChecks", false, false},
    {"SUScheduledCheckInterval", qint64(86400), false},
    {"SUAutomaticallyUpdate", false, false},
    {"SULastCheckTime", qint64(0), false},
    {"SUSkippedVersion", {}, false},
};

class FreshStoreTest : public PreferencesTest, public ::testing::WithParamInterface<DefaultCase> {};

TEST_P(FreshStoreTest, ReadingGivesTheDefaultAndStoresItOnlyWhereWrittenBack) {
    const SettingDefinition *definition = findSetting(GetParam().name);
    ASSERT_NE(definition, nullptr);
    EXPECT_EQ(store().value(definition->id), GetParam().value);
    QSettings file(settingsPath(), QSettings::IniFormat);
    EXPECT_EQ(file.contains(GetParam().name), GetParam().writtenBack);
}

INSTANTIATE_TEST_SUITE_P(EverySetting, FreshStoreTest, ::testing::ValuesIn(kDefaults),
                         tarnwell::test::caseName);

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
    const auto restarted = restartedStore();
    EXPECT_EQ(restarted->autoCleanByFreeSize(), GetParam().free);
    EXPECT_EQ(restarted->autoCleanByInactiveSize(), GetParam().inactive);
}

INSTANTIATE_TEST_SUITE_P(
    Machines, ThresholdDefaultTest,
    ::testing::Values(ThresholdCase{"NoStatisticsYet", std::nullopt, 0, 0},
                      ThresholdCase{"JustUnderOnePercentStep", 104'857'599, 0, 0},
                      // (2^64 - 1) / 104857600 rounded down, and five times that
                      ThresholdCase{"Largest", UINT64_MAX, 175'921'860'444, 879'609'302'220}),
    tarnwell::test::caseName);

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

QVariantMap record(const QString &name, const QString &id) {
    return {{"name", name}, {"ID", id}, {"DidLaunch", true}, {"DidHide", false}};
}

INSTANTIATE_TEST_SUITE_P(
    Types, RoundTripTest,
    ::testing::Values(
        RoundTrip{"BooleanFalseOverWriteBackDefault", Setting::CollectUsageEvents, false},
        RoundTrip{"LargestUnsigned", Setting::TotallyCleaned, quint64(UINT64_MAX)},
        RoundTrip{"BuildWithComma", Setting::BundleBuild, QString("1,2")},
        RoundTrip{"FeedWithQuery", Setting::FeedURL,
                  QUrl("http://127.0.0.1:8080/download/beta/appcast.xml?a=1&b=two words")},
        RoundTrip{"OneLanguage", Setting::AppleLanguages, QStringList{"ukr"}},
        RoundTrip{"TwoLanguages", Setting::AppleLanguages, QStringList{"ru", "en"}},
        RoundTrip{"NoLanguages", Setting::AppleLanguages, QStringList{}},
        RoundTrip{"NoRecords", Setting::ApplicationsAndUtilitiesToMonitoring, QVariantList{}},
        RoundTrip{"OneRecord", Setting::ApplicationsAndUtilitiesToMonitoring,
                  QVariantList{record("Firefox", "firefox.desktop")}},
        RoundTrip{"RecordsWithCommasAndCyrillic", Setting::ApplicationsAndUtilitiesToMonitoring,
                  QVariantList{record("Files, the manager", "org.gnome.Nautilus.desktop"),
                               record("Тетрадь", "notes.desktop")}}),
    tarnwell::test::caseName);

TEST_F(PreferencesTest, SetterRefusesAValueOfTheWrongTypeAndKeepsTheOldOne) {
    store().setRefreshRate(7);
    EXPECT_FALSE(store().setValue(Setting::RefreshRate, QString("soon")));
    EXPECT_FALSE(store().setValue(Setting::LastTimeCleaned, qint64(-5)));
    EXPECT_FALSE(store().setValue(Setting::ApplicationsAndUtilitiesToMonitoring,
                                  QVariantList{QVariantMap{{"name", "no ID"}}}));
    EXPECT_EQ(restartedStore()->refreshRate(), 7);
}

// A hand-edited file: whatever cannot be read as the key's type counts as
// absent, so the default applies (and write-back rows replace the garbage). An
// interval a timer cannot run (0 spins, too long wraps its int of
// milliseconds) is held to the nearest bound.
struct CorruptValue {
    const char *name;
    QByteArray line;
    Setting setting;
    QVariant expected;
};

class CorruptFileTest : public PreferencesTest,
                        public ::testing::WithParamInterface<CorruptValue> {};

TEST_P(CorruptFileTest, ValueInUseIsTheDefaultOrTheNearestBound) {
    writeFile("[General]\n" + GetParam().line + "\n");
    EXPECT_EQ(store().value(GetParam().setting), GetParam().expected);
    if (settingDefinition(GetParam().setting).rule == DefaultRule::WriteBack) {
        EXPECT_TRUE(restartedStore()->hasStoredValue(GetParam().setting)) << "default written";
    }
}

INSTANTIATE_TEST_SUITE_P(
    HandEdited, CorruptFileTest,
    ::testing::Values(
        CorruptValue{"WordForNumber", "refreshRate=soon", Setting::RefreshRate, qint64(5)},
        CorruptValue{"ListForBoolean", "showDockIcon=true, false", Setting::ShowDockIcon, false},
        CorruptValue{"RelativeFeed", "FeedURL=download/appcast.xml", Setting::FeedURL,
                     QVariant(kStableFeed)},
        CorruptValue{"ListForBuild", "bundleBuild=1, 2", Setting::BundleBuild, QVariant()},
        CorruptValue{"BrokenVariant", "applicationsAndUtilitiesToMonitoring=@Variant(\\0\\0\\x7f",
                     Setting::ApplicationsAndUtilitiesToMonitoring, QVariant()},
        CorruptValue{"HandWrittenLanguage", "AppleLanguages=ru", Setting::AppleLanguages,
                     QStringList{"ru"}},
        CorruptValue{"RefreshZero", "refreshRate=0", Setting::RefreshRate, qint64(1)},
        CorruptValue{"RefreshNegative", "refreshRate=-5", Setting::RefreshRate, qint64(1)},
        CorruptValue{"RefreshPastLongest", "refreshRate=2147484", Setting::RefreshRate,
                     qint64(2147483)},
        CorruptValue{"RefreshWrapsToZero", "refreshRate=536870912", Setting::RefreshRate,
                     qint64(2147483)},
        CorruptValue{"CleaningZero", "autoCleanEveryTime=0", Setting::AutoCleanEveryTime,
                     qint64(1)},
        CorruptValue{"CleaningSpinning", "autoCleanEveryTime=134217728",
                     Setting::AutoCleanEveryTime, qint64(35791)}),
    tarnwell::test::caseName);

TEST_F(PreferencesTest, ChangesWrittenByAnotherProcessAreReadAtOnce) {
    store().setRefreshRate(5);
    writeFile("[General]\nrefreshRate=12\nshowDockIcon=true\n");
    EXPECT_EQ(store().refreshRate(), 12);
    EXPECT_TRUE(store().showDockIcon());
}

TEST_F(PreferencesTest, UnwritableFileIsReportedOnceAndValuesLiveOnInMemory) {
    // A folder where the file should be: cannot be read nor written, even as root.
    ASSERT_TRUE(QDir(dir_.path()).mkdir("Tarnwell.conf"));
    static int warnings = 0;
    const QtMessageHandler previous =
        qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &) {
            warnings += type == QtWarningMsg;
        });
    EXPECT_EQ(store().refreshRate(), 5);
    store().setRefreshRate(2);
    store().setShowDockIcon(true);
    qInstallMessageHandler(previous);
    EXPECT_EQ(warnings, 1);
    EXPECT_EQ(store().refreshRate(), 2);
    EXPECT_TRUE(store().showDockIcon());
}

TEST_F(PreferencesTest, GenericKeysHoldDataUntilRemoved) {
    const QByteArray bytes("\x00\x01 state\n", 9);
    store().setData(bytes, "windowState");
    store().setData(QString("text"), "notData");
    EXPECT_EQ(restartedStore()->dataForKey("windowState"), bytes);
    EXPECT_TRUE(store().dataForKey("notData").isNull());
    store().removeObjectForKey("windowState");
    EXPECT_TRUE(restartedStore()->dataForKey("windowState").isNull());
}

struct RecordingUpdater : Updater {
    void setFeedURL(const QUrl &url) override { calls.append(url.toString()); }
    void checkForUpdateInformation() override { calls.append("check"); }
    QStringList calls;
};

TEST_F(PreferencesTest, FeedChangeReachesTheUpdaterEvenWhenUnchanged) {
    const QString beta("https://site.test/download/beta/appcast.xml");
    RecordingUpdater updater;
    store().setUpdater(&updater);
    store().updatesFeedURL();  // writing back the default is not a change
    store().setUpdatesFeedURL(QUrl(beta));
    store().setUpdatesFeedURL(QUrl(beta));
    store().setUpdater(nullptr);
    EXPECT_EQ(updater.calls, QStringList({beta, "check", beta, "check"}));
}

TEST_F(PreferencesTest, FeedFromARunTimeOverrideIsNeverStored) {
    const QUrl local("http://127.0.0.1:8931/download/appcast.xml");
    QRMPreferencesManager overridden(
        settingsPath(), [] { return std::nullopt; }, local, true);
    EXPECT_EQ(overridden.updatesFeedURL(), local);
    EXPECT_FALSE(restartedStore()->hasStoredValue(Setting::FeedURL));
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
