#include <gtest/gtest.h>

#include "AppFakes.h"
#include "CaseName.h"

namespace tarnwell::testing {
namespace {

QVariantMap monitored(const QString &id, QVariantMap flags) {
    flags.insert("name", "Some Application");
    flags.insert("ID", id);
    return flags;
}

struct Match {
    const char *name;
    QList<QVariantMap> records;
    ApplicationEvent event;
    QString applicationId;
    int expectedCleanings;
};

class MatchingRuleTest : public ::testing::TestWithParam<Match> {};

TEST_P(MatchingRuleTest, CleansForTheFirstRecordWithTheFlagOn) {
    ControllerRig rig;
    rig.settings.monitored = GetParam().records;
    const auto delegate = rig.start();
    delegate->applicationDidFinishLaunching();
    if (rig.applicationEvents.handler) {
        rig.applicationEvents.handler(GetParam().event, GetParam().applicationId);
    }
    EXPECT_EQ(rig.engine.cleaningRequests, GetParam().expectedCleanings);
}

using enum ApplicationEvent;
const QVariantMap kLaunchOn{{"DidLaunch", true}};

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, MatchingRuleTest, ::testing::Values(
    Match{"FlagOn", {monitored("a.desktop", kLaunchOn)}, DidLaunch, "a.desktop", 1},
    Match{"EachEventReadsItsOwnFlag",
          {monitored("a.desktop", {{"DidLaunch", false}, {"DidDeactivate", true}})},
          DidDeactivate, "a.desktop", 1},
    Match{"OtherFlagOn", {monitored("a.desktop", {{"DidHide", true}})}, DidUnhide, "a.desktop", 0},
    Match{"MissingFlagCountsAsOff", {monitored("a.desktop", {{"DidHide", true}})}, DidTerminate,
          "a.desktop", 0},
    Match{"TextTrueIsNoFlag", {monitored("a.desktop", {{"DidActivate", "true"}})}, DidActivate,
          "a.desktop", 0},
    Match{"IdsAreCaseSensitive", {monitored("A.desktop", kLaunchOn)}, DidLaunch, "a.desktop", 0},
    Match{"LaterRecordOfTheSameIdStillCounts",
          {monitored("a.desktop", {{"DidLaunch", false}}), monitored("b.desktop", {}),
           monitored("a.desktop", kLaunchOn)},
          DidLaunch, "a.desktop", 1},
    Match{"NoIdNeverCleans", {monitored("", kLaunchOn)}, DidLaunch, "", 0},
    Match{"EmptyList", {}, DidLaunch, "a.desktop", 0}),
    test::caseName);
// clang-format on

TEST(ApplicationEventsTest, WatchesOnlyWhileAFlagIsOnAndTakesNewListsAtOnce) {
    ControllerRig rig;
    rig.settings.monitored = {monitored("a.desktop", {{"DidLaunch", false}})};
    const auto delegate = rig.start();
    delegate->applicationDidFinishLaunching();
    EXPECT_EQ(rig.applicationEvents.starts, 0);

    rig.settings.monitored = {monitored("a.desktop", {{"DidActivate", true}}),
                              monitored("b.desktop", {{"DidDeactivate", true}})};
    delegate->loadPreferences();
    ASSERT_TRUE(rig.applicationEvents.handler);
    // One switch from b to a: the second request meets the first cleaning.
    rig.applicationEvents.handler(ApplicationEvent::DidDeactivate, "b.desktop");
    rig.applicationEvents.handler(ApplicationEvent::DidActivate, "a.desktop");
    EXPECT_EQ(rig.engine.cleaningRequests, 1);

    rig.settings.monitored = {};
    delegate->loadPreferences();
    EXPECT_FALSE(rig.applicationEvents.handler);
}

}  // namespace
}  // namespace tarnwell::testing
