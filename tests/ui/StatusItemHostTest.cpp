// Start orders and restarts of the panel: a watcher that comes, goes and comes
// back on the private bus, and a legacy tray that appears and vanishes.
#include <gtest/gtest.h>
#include <QSignalSpy>

#include "QtPrinters.h"
#include "TestStatusNotifierWatcher.h"
#include "app/QRMMenu.h"
#include "ui/LegacyTrayPresence.h"
#include "ui/StatusItemHost.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using Kind = StatusItemHost::Kind;
using test::TestStatusNotifierWatcher;

class FakeTray : public LegacyTrayPresence {
public:
    bool isPresent() const override { return present; }
    void set(bool isPresent) {
        present = isPresent;
        emit changed();
    }
    bool present = false;
};

// Records what the host hands it; counts the items alive, which must never
// exceed one.
struct FakeItem : PanelStatusItem {
    static inline int alive = 0;
    static inline int mostAlive = 0;
    FakeItem() { mostAlive = std::max(mostAlive, ++alive); }
    ~FakeItem() override { --alive; }

    void setTitle(const QString &t) override { title = t; }
    void setToolTip(const QString &t) override { toolTip = t; }
    void setImage(const QImage &i, bool t) override {
        image = i;
        isTemplate = t;
    }
    void setMenu(QRMMenu *m) override { menu = m; }
    void setTitleDrawn(bool d) override { drawn = d; }

    QString title, toolTip;
    QImage image;
    bool isTemplate = false, drawn = false;
    QRMMenu *menu = nullptr;
};

class StatusItemHostTest : public ::testing::Test {
protected:
    void SetUp() override { FakeItem::alive = FakeItem::mostAlive = 0; }

    std::unique_ptr<StatusItemHost> start() {
        auto host = std::make_unique<StatusItemHost>(
            QDBusConnection::sessionBus(), tray,
            StatusItemHost::Items{[] { return std::make_unique<FakeItem>(); },
                                  [] { return std::make_unique<FakeItem>(); }},
            [this] { return placement; });
        host->setWatcherGracePeriod(50ms);
        host->setProcessNameLookup([this](uint) { return watcherProcess; });
        return host;
    }

    static FakeItem &itemOf(StatusItemHost &host) { return *static_cast<FakeItem *>(host.item()); }

    static void waitForKind(StatusItemHost &host, Kind kind) {
        QSignalSpy changed(&host, &StatusItemHost::kindChanged);
        while (host.kind() != kind) {
            ASSERT_TRUE(changed.wait(5000)) << "kind stays " << int(host.kind());
        }
    }

    FakeTray tray;
    int placement = 0;
    QString watcherProcess = QStringLiteral("xfce4-panel");
};

// Without a watcher the item waits on the bus for one, unless a legacy tray
// is there to take the tray icon.
TEST_F(StatusItemHostTest, TheTrayIconOnlyWhereNoWatcherRuns) {
    {
        auto host = start();
        EXPECT_EQ(host->kind(), Kind::NotifierItem);
        tray.set(true);
        EXPECT_EQ(host->kind(), Kind::TrayIcon);
        tray.set(false);
        EXPECT_EQ(host->kind(), Kind::NotifierItem);
    }
    TestStatusNotifierWatcher watcher(QStringLiteral("panel"));
    tray.present = true;  // xfce4-panel's tray owns both
    EXPECT_EQ(start()->kind(), Kind::NotifierItem);
}

// Tarnwell started at login before the panel: it used to settle on the tray
// icon, or on nothing, for good.
TEST_F(StatusItemHostTest, StartedBeforeThePanelFollowsItsWatcher) {
    tray.present = true;
    auto host = start();
    EXPECT_EQ(host->kind(), Kind::TrayIcon);
    QRMMenu menu;
    QImage image(4, 4, QImage::Format_ARGB32);
    image.fill(Qt::red);
    host->setMenu(&menu);
    host->setTitle(QStringLiteral("2.38 GB"));
    host->setToolTip(QStringLiteral("Free memory: 2.38 GB (12.12 %)"));
    host->setImage(image, true);

    auto watcher = std::make_unique<TestStatusNotifierWatcher>(QStringLiteral("panel"));
    waitForKind(*host, Kind::NotifierItem);
    // The new item shows everything the controller set before it came.
    const FakeItem &item = itemOf(*host);
    EXPECT_EQ(item.title, QStringLiteral("2.38 GB"));
    EXPECT_EQ(item.toolTip, QStringLiteral("Free memory: 2.38 GB (12.12 %)"));
    EXPECT_EQ(item.image, image);
    EXPECT_TRUE(item.isTemplate);
    EXPECT_EQ(item.menu, &menu);

    // A panel restart within the grace period keeps the item.
    host->setWatcherGracePeriod(10s);
    QSignalSpy changed(host.get(), &StatusItemHost::kindChanged);
    watcher.reset();
    QSignalSpy identified(host.get(), &StatusItemHost::hostIdentified);
    watcher = std::make_unique<TestStatusNotifierWatcher>(QStringLiteral("panel2"));
    ASSERT_TRUE(identified.wait(5000));
    EXPECT_TRUE(changed.isEmpty());

    // The watcher leaves and stays away: the tray icon returns.
    host->setWatcherGracePeriod(50ms);
    watcher.reset();
    waitForKind(*host, Kind::TrayIcon);
    EXPECT_EQ(FakeItem::mostAlive, 1) << "two icons at once";
}

TEST_F(StatusItemHostTest, TitleDrawnWhereTheHostShowsNoLabel) {
    tray.present = true;
    {
        auto host = start();  // a legacy tray shows no label either
        host->setTitle(QStringLiteral("42.00 %"));
        EXPECT_TRUE(itemOf(*host).drawn);
    }
    TestStatusNotifierWatcher watcher(QStringLiteral("panel"));
    const struct {
        const char *watcherProcess;
        int placement;  // the setting: 0 from the host, 1 label, 2 drawn
        bool drawn;
    } cases[] = {{"ayatana-indicat", 0, false},
                 {"lxqt-panel", 0, true},
                 {"lxqt-panel", 1, false},
                 {"ayatana-indicat", 2, true}};
    for (const auto &c : cases) {
        SCOPED_TRACE(::testing::Message() << c.watcherProcess << " " << c.placement);
        placement = c.placement;
        watcherProcess = QString::fromLatin1(c.watcherProcess);
        auto host = start();
        QSignalSpy identified(host.get(), &StatusItemHost::hostIdentified);
        ASSERT_TRUE(identified.wait(5000));
        host->setTitle(QStringLiteral("42.00 %"));
        EXPECT_EQ(itemOf(*host).drawn, c.drawn);
    }
}

}  // namespace
}  // namespace tarnwell
