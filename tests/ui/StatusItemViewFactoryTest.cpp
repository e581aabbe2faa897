#include <gtest/gtest.h>

#include "TestStatusNotifierWatcher.h"
#include "ui/StatusItemViewFactory.h"
#include "ui/StatusNotifierItemView.h"
#include "ui/TrayIconStatusItemView.h"

namespace tarnwell {
namespace {

TEST(StatusItemViewFactory, ChoosesTheStatusNotifierItemWhenAWatcherRuns) {
    test::TestStatusNotifierWatcher watcher(QStringLiteral("watcher"));
    const std::unique_ptr<StatusItemView> view = createStatusItemView();
    EXPECT_NE(dynamic_cast<StatusNotifierItemView *>(view.get()), nullptr);
}

TEST(StatusItemViewFactory, FallsBackToTheTrayIconWithoutAWatcher) {
    const std::unique_ptr<StatusItemView> view = createStatusItemView();
    auto *tray = dynamic_cast<TrayIconStatusItemView *>(view.get());
    ASSERT_NE(tray, nullptr);
    // A legacy tray shows no text beside the icon: the title is the tool tip.
    view->setTitle(QStringLiteral("Free: 12.00 %"));
    EXPECT_EQ(tray->trayIcon().toolTip(), QStringLiteral("Free: 12.00 %"));
}

}  // namespace
}  // namespace tarnwell
