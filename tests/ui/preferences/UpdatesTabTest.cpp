#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>

#include "BuildInfo.h"
#include "CaseName.h"
#include "PreferencesRig.h"
#include "preferences/QRMConstants.h"
#include "preferences/Updater.h"
#include "ui/preferences/UpdatesTab.h"

namespace tarnwell::testing {
namespace {

struct RecordingFeedUpdater : Updater {
    void setFeedURL(const QUrl &url) override { calls << url.toString(); }
    void checkForUpdateInformation() override { calls << "check"; }
    QStringList calls;
};

enum Feed { kStable, kBeta, kAlpha, kUnknown };

QString feedURL(Feed feed) {
    const QRMConstants &constants = QRMConstants::sharedConstants();
    switch (feed) {
        case kStable:
            return constants.updatesURL().toString();
        case kBeta:
            return constants.updatesBetaURL().toString();
        case kAlpha:
            return constants.updatesAlphaURL().toString();
        case kUnknown:
            break;
    }
    return QStringLiteral("https://old.site.test/appcast.xml");
}

struct FeedCase {
    const char *name;
    Feed stored;
    int shownIndex;
    int chosenIndex;
    bool switches;  // stores the chosen feed and runs a silent check
};

class FeedPopUp : public ::testing::TestWithParam<FeedCase> {};

TEST_P(FeedPopUp, ShowsTheFeedInUseAndSwitchesOnlyToAnother) {
    const FeedCase &c = GetParam();
    PreferencesRig rig;
    rig.store("FeedURL", feedURL(c.stored));
    RecordingFeedUpdater updater;
    rig.preferences.setUpdater(&updater);
    auto window = rig.open();
    QComboBox *popUp = window->tabUpdates->updatesFeedNSPopUpButton;
    EXPECT_EQ(popUp->currentIndex(), c.shownIndex);

    choose(popUp, c.chosenIndex);
    const QString chosen = feedURL(Feed(c.chosenIndex));
    EXPECT_EQ(rig.preferences.updatesFeedURL().toString(), c.switches ? chosen : feedURL(c.stored));
    EXPECT_EQ(updater.calls, c.switches ? QStringList({chosen, "check"}) : QStringList());
    rig.preferences.setUpdater(nullptr);
}

INSTANTIATE_TEST_SUITE_P(Rows, FeedPopUp,
                         ::testing::Values(FeedCase{"ReselectingStable", kStable, 0, 0, false},
                                           FeedCase{"ReselectingAlpha", kAlpha, 2, 2, false},
                                           FeedCase{"StableToBeta", kStable, 0, 1, true},
                                           FeedCase{"BetaToAlpha", kBeta, 1, 2, true},
                                           FeedCase{"UnknownShowsStableAndChoosingItSwitches",
                                                    kUnknown, 0, 0, true}),
                         caseName);

TEST(UpdatesTab, AutomaticChecksIntervalAndDownloadsFollowTheUpdater) {
    PreferencesRig rig;
    FakeUpdateChecks &updater = rig.updater;
    updater.checks = true;
    updater.interval = updateInterval::kWeekly;
    auto window = rig.open();
    UpdatesTab &tab = *window->tabUpdates;
    EXPECT_TRUE(tab.automaticUpdateCheckBox->isChecked());
    EXPECT_EQ(items(tab.updateCheckInterval),
              QStringList({"Hourly", "Daily", "Weekly", "Monthly"}));
    EXPECT_EQ(tab.updateCheckInterval->currentText(), "Weekly");
    EXPECT_FALSE(tab.automaticDowloadUpdateCheckBox->isChecked());

    choose(tab.updateCheckInterval, 3);
    EXPECT_EQ(updater.interval, 2'629'800);
    tab.automaticDowloadUpdateCheckBox->click();
    EXPECT_TRUE(updater.downloads);
    tab.automaticUpdateCheckBox->click();
    EXPECT_FALSE(updater.checks);
    EXPECT_FALSE(tab.updateCheckInterval->isEnabled());
    EXPECT_FALSE(tab.automaticDowloadUpdateCheckBox->isEnabled());
}

TEST(UpdatesTab, ShowsVersionAndBuild) {
    PreferencesRig rig;
    auto window = rig.open();
    EXPECT_EQ(window->tabUpdates->versionAndBuildNumberInfo->text(),
              QStringLiteral("Version %1 Build %2").arg(kMarketingVersion, kBuildNumber));
}

}  // namespace
}  // namespace tarnwell::testing
