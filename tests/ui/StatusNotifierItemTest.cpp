// The status item as hosts see it on the bus, and the host that chooses
// between it and the legacy tray icon as panels come, go and come back.
#include <QCoreApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPainter>
#include <QPalette>
#include <QTemporaryDir>
#include <QtEndian>
#include <optional>

#include "BusTestSupport.h"
#include "Pixels.h"
#include "QtPrinters.h"
#include "TestStatusNotifierWatcher.h"
#include "app/QRMMenu.h"
#include "ui/LegacyTrayPresence.h"
#include "ui/PanelAppearance.h"
#include "ui/StatusItemHost.h"
#include "ui/StatusNotifierItem.h"
#include "ui/StatusNotifierItemView.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using Kind = StatusItemHost::Kind;
using test::demarshalled;
using test::filled;
using test::TestStatusNotifierWatcher;

const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kItemInterface = QStringLiteral("org.kde.StatusNotifierItem");

// The colour at the centre of a pixmap as sent on the bus: A, R, G, B, most
// significant byte first.
QColor centreOf(const DBusImage &image) {
    const auto *bytes = reinterpret_cast<const uchar *>(image.pixels.constData());
    const int offset = 4 * (image.height / 2 * image.width + image.width / 2);
    return QColor::fromRgba(qFromBigEndian<quint32>(bytes + offset));
}

class StatusNotifierItemTest : public ::testing::Test {
protected:
    void SetUp() override { registerDBusTypes(); }
    void TearDown() override { QDBusConnection::disconnectFromBus(QStringLiteral("host")); }

    void startItem(const QImage &image = {}, bool isTemplate = false) {
        watcher.emplace(QStringLiteral("watcher"));
        view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus(), appearance);
        if (!image.isNull()) {
            view->setImage(image, isTemplate);
        }
        waitForRegistration(*watcher);
        recorder.listen(host, view->item()->serviceName(), kItemPath, kItemInterface,
                        {QStringLiteral("NewIcon"), QStringLiteral("XAyatanaNewLabel")});
    }

    static void waitForRegistration(TestStatusNotifierWatcher &watcher) {
        QSignalSpy registered(&watcher, &TestStatusNotifierWatcher::itemRegistered);
        ASSERT_TRUE(!watcher.registeredItems.isEmpty() || registered.wait(10000))
            << "the item did not register";
    }

    QVariant itemProperty(const char *name) {
        return test::propertyOf(host, view->item()->serviceName(), kItemPath, kItemInterface,
                                QString::fromLatin1(name));
    }

    QString iconFile() {
        return itemProperty("IconThemePath").toString() + '/' +
               itemProperty("IconName").toString() + ".png";
    }

    QColor centreOfLargestPixmap() {
        const auto pixmaps = demarshalled<DBusImageList>(itemProperty("IconPixmap"));
        return pixmaps.isEmpty() ? QColor() : centreOf(pixmaps.last());
    }

    // A connection of its own, with its own unique name, as a panel has.
    QDBusConnection host =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("host"));
    QTemporaryDir noDesktopFiles;
    // Nothing but the palette speaks: the tests set it.
    PanelAppearance appearance{{noDesktopFiles.path(), {}, {}, {}}, {}, nullptr};
    test::BusSignalRecorder recorder;
    std::optional<TestStatusNotifierWatcher> watcher;
    std::unique_ptr<StatusNotifierItemView> view;
};

TEST_F(StatusNotifierItemTest, RegistersPublishesAndOpensItsMenu) {
    startItem(filled(Qt::red, {30, 10}));
    QRMMenu menu;
    menu.addItem(QStringLiteral("Clean"));
    view->setMenu(&menu);
    view->setTitle(QStringLiteral("Free: 42.17 %"));
    view->setToolTip(QStringLiteral("Free memory: 8.00 GB (42.17 %)"));

    const QString service = watcher->registeredItems.at(0);
    EXPECT_EQ(
        service,
        QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid()));
    EXPECT_EQ(watcher->senders.at(0), QDBusConnection::sessionBus().baseService());
    EXPECT_EQ(itemProperty("XAyatanaLabel").toString(), "Free: 42.17 %");
    EXPECT_EQ(itemProperty("XAyatanaLabelGuide").toString(), "Free: 00.00 %");
    EXPECT_EQ(demarshalled<DBusToolTip>(itemProperty("ToolTip")).description,
              "Free memory: 8.00 GB (42.17 %)");

    // Hosts that load icons by name find a PNG file in a private folder; a
    // picture that is not square is letterboxed.
    const QImage file(iconFile());
    EXPECT_EQ(file.pixelColor(file.width() / 2, file.height() / 2), QColor(Qt::red));
    EXPECT_EQ(file.pixelColor(file.width() / 2, 2).alpha(), 0);
    EXPECT_EQ(QFileInfo(itemProperty("IconThemePath").toString()).permissions() &
                  (QFile::ReadOther | QFile::ReadGroup),
              0);
    // Pixmaps for small and large panels, the largest no more than 64 px.
    const auto pixmaps = demarshalled<DBusImageList>(itemProperty("IconPixmap"));
    ASSERT_GE(pixmaps.size(), 2);
    EXPECT_LE(pixmaps.first().width, 22);
    EXPECT_LE(pixmaps.last().width, 64);
    for (const DBusImage &pixmap : pixmaps) {
        ASSERT_EQ(pixmap.width, pixmap.height);
        ASSERT_EQ(pixmap.pixels.size(), pixmap.width * pixmap.height * 4);
        EXPECT_EQ(centreOf(pixmap), QColor(Qt::red));
    }

    QDBusMessage getLayout = QDBusMessage::createMethodCall(
        service, itemProperty("Menu").value<QDBusObjectPath>().path(),
        QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("GetLayout"));
    getLayout << 0 << -1 << QStringList{QStringLiteral("label")};
    const QDBusMessage reply = test::callAndWait(host, getLayout);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_NE(test::menuItemId(demarshalled<DBusMenuLayoutItem>(reply.arguments().at(1)),
                               QStringLiteral("Clean")),
              0);

    // lxqt-panel's left click: the same menu opens where the user clicked.
    QSignalSpy modelShown(&menu, &QRMMenu::aboutToShow);
    QDBusMessage activate = QDBusMessage::createMethodCall(service, kItemPath, kItemInterface,
                                                           QStringLiteral("Activate"));
    activate << 40 << 10;
    EXPECT_EQ(test::callAndWait(host, activate).type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(modelShown.count() == 1 || modelShown.wait(10000))
        << "the menu did not open, or did not let the model refresh first";
}

TEST_F(StatusNotifierItemTest, ChangesReachTheHosts) {
    startItem(filled(Qt::red));
    const QString firstFile = iconFile();

    // The same picture again costs the hosts nothing: the label change sent
    // after it arrives with no icon change before it.
    view->setImage(filled(Qt::red), false);
    view->setTitle(QStringLiteral("1.25 GB"));
    recorder.waitFor(QStringLiteral("XAyatanaNewLabel"));
    EXPECT_EQ(recorder.names(), QStringList{QStringLiteral("XAyatanaNewLabel")});
    EXPECT_EQ(recorder.received.last().arguments(),
              (QVariantList{QStringLiteral("1.25 GB"), QStringLiteral("0.00 GB")}));

    view->setImage(filled(Qt::blue), false);
    recorder.waitFor(QStringLiteral("NewIcon"));
    EXPECT_NE(iconFile(), firstFile);
    EXPECT_TRUE(QFileInfo::exists(iconFile()));
    EXPECT_FALSE(QFileInfo::exists(firstFile));

    // lxqt-panel and KDE show no label: the figure goes into the icon
    // instead, and is not repeated as a label.
    recorder.received.clear();
    view->setTitleDrawn(true);
    recorder.waitFor(QStringLiteral("NewIcon"));
    EXPECT_EQ(itemProperty("XAyatanaLabel").toString(), QString());
    const QImage file = QImage(iconFile()).convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(test::pixelsNear(file, Qt::blue), 0) << "the picture is still there";
    EXPECT_GT(test::pixelsNear(file, Qt::black), 50) << "no text in the panel's colour";
}

TEST_F(StatusNotifierItemTest, TemplateImagesFollowThePaletteOfTheDesktop) {
    QGuiApplication::setPalette(QPalette(Qt::white));  // light
    QImage mask(22, 22, QImage::Format_ARGB32);
    mask.fill(Qt::transparent);
    QPainter(&mask).fillRect(6, 6, 10, 10, Qt::red);
    startItem(mask, true);
    EXPECT_EQ(centreOfLargestPixmap(), QColor(Qt::black));

    QPalette dark(QColor(30, 30, 30));
    dark.setColor(QPalette::WindowText, Qt::white);
    QGuiApplication::setPalette(dark);
    recorder.waitFor(QStringLiteral("NewIcon"));
    EXPECT_EQ(centreOfLargestPixmap(), QColor(Qt::white));
    QGuiApplication::setPalette(QPalette());
}

TEST_F(StatusNotifierItemTest, RegistersWithEveryNewWatcher) {
    view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus(), appearance);
    {
        // A watcher that starts after the item.
        TestStatusNotifierWatcher first(QStringLiteral("first"));
        waitForRegistration(first);
    }
    // The panel restarts: its new watcher hears from the item again.
    TestStatusNotifierWatcher second(QStringLiteral("second"));
    waitForRegistration(second);
    EXPECT_EQ(second.registeredItems, QStringList{view->item()->serviceName()});
}

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
    void setImage(const QImage &i, bool t) override { image = i, isTemplate = t; }
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
    const QImage image = filled(Qt::red);
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
