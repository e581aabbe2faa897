#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLabel>

#include "BuildInfo.h"
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

// The pop-up's feeds in its order (stable, beta, alpha), then one it does not offer.
QString feedURL(int index) {
    const char *paths[] = {"/download/appcast.xml", "/download/beta/appcast.xml",
                           "/download/alpha/appcast.xml"};
    return index < 3 ? QRMConstants::configuredSiteURL() + QLatin1String(paths[index])
                     : QStringLiteral("https://old.site.test/appcast.xml");
}

// The pop-up shows the feed in use; choosing another stores it and runs a
// silent check, choosing the shown one does nothing.
TEST(UpdatesTab, FeedPopUpSwitchesOnlyToAnotherFeed) {
    const struct {
        int stored, shownIndex, chosenIndex;
        bool switches;
    } rows[] = {{0, 0, 0, false},
                {2, 2, 2, false},
                {0, 0, 1, true},
                {1, 1, 2, true},
                // An unknown feed shows as stable, so choosing stable switches.
                {3, 0, 0, true}};
    for (const auto &c : rows) {
        SCOPED_TRACE(feedURL(c.stored).toStdString() + " to " + std::to_string(c.chosenIndex));
        PreferencesRig rig;
        rig.store("FeedURL", feedURL(c.stored));
        RecordingFeedUpdater updater;
        rig.preferences.setUpdater(&updater);
        auto window = rig.open();
        QComboBox *popUp = window->tabUpdates->updatesFeedNSPopUpButton;
        EXPECT_EQ(popUp->currentIndex(), c.shownIndex);

        choose(popUp, c.chosenIndex);
        const QString chosen = feedURL(c.chosenIndex);
        EXPECT_EQ(rig.preferences.updatesFeedURL().toString(),
                  c.switches ? chosen : feedURL(c.stored));
        EXPECT_EQ(updater.calls, c.switches ? QStringList({chosen, "check"}) : QStringList());
        rig.preferences.setUpdater(nullptr);
    }
}

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
