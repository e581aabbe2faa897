// A tray program is active while its menu is open or one of its windows has the focus;
// each change of that is reported once.
#include "app/ApplicationActivity.h"

#include <gtest/gtest.h>

#include <QString>

#include "CaseName.h"
#include "app/QRMMenu.h"
#include "app/UsageEvents.h"

namespace tarnwell::testing {
namespace {

struct ActivityLog : UsageEvents {
    QString reported;  // "A" became active, "I" resigned, in order
    void firstRun() override {}
    void run() override {}
    void memoryCleaned() override {}
    void contentViewWithName(const QString &, const QString &, const QString &) override {}
    void becameActive() override { reported += u'A'; }
    void resignedActive() override { reported += u'I'; }
};

struct ActivityCase {
    const char *name;
    const char *steps;  // M/m: the menu opens/closes, W/w: a window takes/loses the focus
    const char *reported;
};

class ApplicationActivityTest : public ::testing::TestWithParam<ActivityCase> {};

TEST_P(ApplicationActivityTest, ReportsEachChangeOnce) {
    QRMMenu menu;
    ActivityLog log;
    ApplicationActivity activity(menu, &log);
    for (const char *step = GetParam().steps; *step != '\0'; ++step) {
        if (*step == 'M' || *step == 'm') {
            *step == 'M' ? menu.notifyAboutToShow() : menu.notifyClosed();
        } else {
            activity.windowFocusChanged(*step == 'W');
        }
    }
    EXPECT_EQ(log.reported, QString::fromLatin1(GetParam().reported));
}

INSTANTIATE_TEST_SUITE_P(
    Sequences, ApplicationActivityTest,
    ::testing::Values(ActivityCase{"MenuOpenedAndClosed", "Mm", "AI"},
                      // Submenus ask again before they show.
                      ActivityCase{"MenuShownTwice", "MMm", "AI"},
                      ActivityCase{"WindowFocusedAndLeft", "Ww", "AI"},
                      // The menu's command opens a window, which keeps the focus.
                      ActivityCase{"WindowOpenedFromTheMenu", "MWmw", "AI"},
                      ActivityCase{"MenuOverAFocusedWindow", "WMmw", "AI"},
                      ActivityCase{"TwoVisits", "MmWw", "AIAI"},
                      ActivityCase{"ClosedWithoutOpening", "mw", ""}),
    caseName);

}  // namespace
}  // namespace tarnwell::testing
