// The tray's side of the panel: the status item as hosts see it on the bus,
// the two presenters of its menu model (the dbusmenu exporter panels read,
// and the QMenu mirror the tray icon pops up, each with its own escaping), the
// host that chooses between the item and the legacy tray icon as panels come,
// go and come back, and what the panel shows: dark or light from each source
// the desktop offers (files and X properties the tests write themselves), the
// bundled icons, template masks in the panel's colour, and the title drawn
// where the host shows no label, sharp at both pixel densities.
#include <gtest/gtest.h>
#include <xcb/xcb.h>
#include <QBitmap>
#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <QPalette>
#include <QScreen>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtEndian>
#include <optional>

#include "BusTestSupport.h"
#include "Pixels.h"
#include "QtPrinters.h"
#include "StatusBarIcons.h"
#include "app/QRMMenu.h"
#include "support/VirtualDesktop.h"
#include "ui/DBusMenuExporter.h"
#include "ui/LegacyTrayPresence.h"
#include "ui/MenuMirror.h"
#include "ui/PanelAppearance.h"
#include "ui/StatusItemHost.h"
#include "ui/StatusNotifierItem.h"
#include "ui/StatusNotifierItemView.h"
#include "ui/TemplateImage.h"
#include "ui/TitledIcon.h"
#include "ui/X11ManagerSelection.h"
#include "ui/XSettings.h"

namespace tarnwell {
namespace {

using namespace std::chrono_literals;
using Kind = StatusItemHost::Kind;
using test::demarshalled, test::filled, test::pixelsNear, test::pixelsWhere;
using test::TestStatusNotifierWatcher;

const QString kItemPath = "/StatusNotifierItem";
const QString kItemInterface = "org.kde.StatusNotifierItem";

// The colour at the centre of a pixmap as sent on the bus: A, R, G, B, most
// significant byte first.
QColor centreOf(const DBusImage &image) {
    const auto *bytes = reinterpret_cast<const uchar *>(image.pixels.constData());
    const int offset = 4 * (image.height / 2 * image.width + image.width / 2);
    return QColor::fromRgba(qFromBigEndian<quint32>(bytes + offset));
}

// A connection of its own, with its own unique name, as a panel has.
class BusHostTest : public ::testing::Test {
protected:
    void SetUp() override { registerDBusTypes(); }
    void TearDown() override { QDBusConnection::disconnectFromBus("host"); }

    QDBusConnection host = QDBusConnection::connectToBus(QDBusConnection::SessionBus, "host");
    test::BusSignalRecorder recorder;
};

class StatusNotifierItemTest : public BusHostTest {
protected:
    void startItem(const QImage &image, bool isTemplate = false) {
        watcher.emplace("watcher");
        view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus(), appearance);
        view->setImage(image, isTemplate);
        waitForRegistration(*watcher);
        recorder.listen(host, view->item()->serviceName(), kItemPath, kItemInterface,
                        {"NewIcon", "XAyatanaNewLabel"});
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

    QTemporaryDir noDesktopFiles;
    // Nothing but the palette speaks: the tests set it.
    PanelAppearance appearance{{noDesktopFiles.path(), {}, {}, {}}, {}, nullptr};
    std::optional<TestStatusNotifierWatcher> watcher;
    std::unique_ptr<StatusNotifierItemView> view;
};

TEST_F(StatusNotifierItemTest, RegistersWithEveryWatcherPublishesAndOpensItsMenu) {
    startItem(filled(Qt::red, {30, 10}));
    QRMMenu menu;
    menu.addItem("Clean");
    view->setMenu(&menu);
    view->setTitle("Free: 42.17 %");
    view->setToolTip("Free memory: 8.00 GB (42.17 %)");

    const QString service = watcher->registeredItems.at(0);
    EXPECT_EQ(
        service,
        QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid()));
    EXPECT_EQ(watcher->senders.at(0), QDBusConnection::sessionBus().baseService());
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

    // lxqt-panel's left click: the same menu opens where the user clicked.
    QSignalSpy modelShown(&menu, &QRMMenu::aboutToShow);
    EXPECT_EQ(
        test::callAndWait(host, service, kItemPath, kItemInterface, "Activate", {40, 10}).type(),
        QDBusMessage::ReplyMessage);
    EXPECT_TRUE(modelShown.count() == 1 || modelShown.wait(10000))
        << "the menu did not open, or did not let the model refresh first";

    // The panel restarts: its new watcher, started after the item, hears
    // from it again.
    watcher.emplace("second");
    waitForRegistration(*watcher);
    EXPECT_EQ(watcher->registeredItems, QStringList{service});
}

TEST_F(StatusNotifierItemTest, ChangesReachTheHosts) {
    startItem(filled(Qt::red));
    const QString firstFile = iconFile();

    // The same picture again costs the hosts nothing: the label change sent
    // after it arrives with no icon change before it.
    view->setImage(filled(Qt::red), false);
    view->setTitle("1.25 GB");
    recorder.waitFor("XAyatanaNewLabel");
    EXPECT_EQ(recorder.received.size(), 1) << "an icon change came before the label";
    EXPECT_EQ(recorder.received.last().arguments(), (QVariantList{"1.25 GB", "0.00 GB"}));

    view->setImage(filled(Qt::blue), false);
    recorder.waitFor("NewIcon");
    EXPECT_TRUE(QFileInfo::exists(iconFile()));
    EXPECT_FALSE(QFileInfo::exists(firstFile));

    // lxqt-panel and KDE show no label: the figure goes into the icon
    // instead, and is not repeated as a label.
    recorder.received.clear();
    view->setTitleDrawn(true);
    recorder.waitFor("NewIcon");
    EXPECT_EQ(itemProperty("XAyatanaLabel").toString(), QString());
    const QImage file = QImage(iconFile()).convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(pixelsNear(file, Qt::blue), 0) << "the picture is still there";
    EXPECT_GT(pixelsNear(file, Qt::black), 50) << "no text in the panel's colour";
}

TEST_F(StatusNotifierItemTest, TemplateImagesFollowThePaletteOfTheDesktop) {
    QGuiApplication::setPalette(QPalette(Qt::white));  // light
    QImage mask = filled(Qt::transparent);
    QPainter(&mask).fillRect(6, 6, 10, 10, Qt::red);
    startItem(mask, true);
    EXPECT_EQ(centreOfLargestPixmap(), QColor(Qt::black));

    QPalette dark(QColor(30, 30, 30));
    dark.setColor(QPalette::WindowText, Qt::white);
    QGuiApplication::setPalette(dark);
    recorder.waitFor("NewIcon");
    EXPECT_EQ(centreOfLargestPixmap(), QColor(Qt::white));
    QGuiApplication::setPalette(QPalette());
}

struct FakeTray : LegacyTrayPresence {
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
    static inline int alive = 0, mostAlive = 0;
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
    QString watcherProcess = "xfce4-panel";
};

// Without a watcher the item waits on the bus for one, unless a legacy tray
// is there to take the tray icon.
TEST_F(StatusItemHostTest, TheTrayIconOnlyWhereNoWatcherRunsTheTitleDrawnWhereNoLabelShows) {
    {
        auto host = start();
        EXPECT_EQ(host->kind(), Kind::NotifierItem);
        tray.set(true);
        EXPECT_EQ(host->kind(), Kind::TrayIcon);
        tray.set(false);
        EXPECT_EQ(host->kind(), Kind::NotifierItem);
    }
    TestStatusNotifierWatcher watcher("panel");
    tray.present = true;  // xfce4-panel's tray owns both
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
        EXPECT_EQ(host->kind(), Kind::NotifierItem);
        QSignalSpy identified(host.get(), &StatusItemHost::hostIdentified);
        ASSERT_TRUE(identified.wait(5000));
        host->setTitle("42.00 %");
        EXPECT_EQ(itemOf(*host).drawn, c.drawn);
    }
}

// Tarnwell started at login before the panel: it used to settle on the tray
// icon, or on nothing, for good.
TEST_F(StatusItemHostTest, StartedBeforeThePanelFollowsItsWatcher) {
    tray.present = true;
    auto host = start();
    QRMMenu menu;
    const QImage image = filled(Qt::red);
    host->setMenu(&menu);
    host->setTitle("2.38 GB");
    host->setToolTip("Free memory: 2.38 GB (12.12 %)");
    host->setImage(image, true);
    EXPECT_TRUE(itemOf(*host).drawn) << "a legacy tray shows no label either";

    auto watcher = std::make_unique<TestStatusNotifierWatcher>("panel");
    waitForKind(*host, Kind::NotifierItem);
    // The new item shows everything the controller set before it came.
    const FakeItem &item = itemOf(*host);
    EXPECT_EQ(item.title, "2.38 GB");
    EXPECT_EQ(item.toolTip, "Free memory: 2.38 GB (12.12 %)");
    EXPECT_EQ(item.image, image);
    EXPECT_TRUE(item.isTemplate);
    EXPECT_EQ(item.menu, &menu);

    // A panel restart within the grace period keeps the item.
    host->setWatcherGracePeriod(10s);
    QSignalSpy changed(host.get(), &StatusItemHost::kindChanged);
    watcher.reset();
    QSignalSpy identified(host.get(), &StatusItemHost::hostIdentified);
    watcher = std::make_unique<TestStatusNotifierWatcher>("panel2");
    ASSERT_TRUE(identified.wait(5000));
    EXPECT_TRUE(changed.isEmpty());

    // The watcher leaves and stays away: the tray icon returns.
    host->setWatcherGracePeriod(50ms);
    watcher.reset();
    waitForKind(*host, Kind::TrayIcon);
    EXPECT_EQ(FakeItem::mostAlive, 1) << "two icons at once";
}

// One entry of a menu shape, a short string: "~" before a hidden entry, "!"
// before a disabled one, "---" for a separator, "*" after one with an icon,
// ">" after one announced as a submenu, its children in parentheses.
QString shown(bool visible, bool enabled, bool separator, const QString &label, bool icon,
              bool announced, const QString &children) {
    return QString(visible ? "" : "~") + (enabled ? "" : "!") + (separator ? "---" : label) +
           (icon ? "*" : "") + (announced ? ">" : "") +
           (children.isEmpty() ? QString() : '(' + children + ')');
}

const QString kPath = "/MenuBar";
const QString kInterface = "com.canonical.dbusmenu";

QString shapeOf(const QList<DBusMenuLayoutItem> &items) {
    QStringList parts;
    for (const DBusMenuLayoutItem &item : items) {
        const QVariantMap &p = item.properties;
        parts << shown(p.value("visible", true).toBool(), p.value("enabled", true).toBool(),
                       p.value("type") == "separator", p.value("label", "?").toString(),
                       p.contains("icon-data"), p.value("children-display") == "submenu",
                       shapeOf(item.children));
    }
    return parts.join(", ");
}

QString shapeOf(const QMenu *menu) {
    QStringList parts;
    for (const QAction *a : menu->actions()) {
        // Qt disables every hidden action; only a shown one tells.
        parts << shown(a->isVisible(), !a->isVisible() || a->isEnabled(), a->isSeparator(),
                       a->text(), !a->icon().isNull(), false,
                       a->menu() ? shapeOf(a->menu()) : QString());
    }
    return parts.join(", ");
}

struct MenuModel {
    MenuModel() {
        clean = model.addItem("Clean_now");
        model.addSeparator();
        free = model.addItem("Free & easy");
        free->setImage(test::filled(Qt::green, {16, 16}));
        wired = model.addItem("Wired");
        wired->setEnabled(false);
        swap = model.addItem("Swap");
        swap->setSubmenu(new QRMMenu);
        swapUsed = swap->submenu()->addItem("Used");
        swap->submenu()->addItem("Total");
        model.addItem("Hidden")->setVisible(false);
    }

    QRMMenu model;
    QRMMenuItem *clean, *free, *wired, *swap, *swapUsed;
};

class DBusMenuExporterTest : public BusHostTest, public MenuModel {
protected:
    void SetUp() override {
        BusHostTest::SetUp();
        exporter = std::make_unique<DBusMenuExporter>(QDBusConnection::sessionBus(), kPath);
        exporter->setMenu(&model);
        recorder.listen(host, service, kPath, kInterface,
                        {"LayoutUpdated", "ItemsPropertiesUpdated"});
        // The first announcement of a freshly exported menu.
        recorder.waitFor("LayoutUpdated");
        recorder.received.clear();
    }

    QDBusMessage call(const QString &method, const QVariantList &arguments) {
        return test::callAndWait(host, service, kPath, kInterface, method, arguments);
    }

    std::pair<uint, DBusMenuLayoutItem> getLayout(int parent, int depth,
                                                  const QStringList &names = {}) {
        const QDBusMessage reply = call("GetLayout", {parent, depth, names});
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
        return {reply.arguments().value(0).toUInt(),
                demarshalled<DBusMenuLayoutItem>(reply.arguments().value(1))};
    }

    int idOf(const QString &label) {
        const int id = test::menuItemId(getLayout(0, -1).second, label);
        EXPECT_NE(id, 0) << label.toStdString() << " is not in the menu";
        return id;
    }

    std::unique_ptr<DBusMenuExporter> exporter;
    QString service = QDBusConnection::sessionBus().baseService();
};

const QVariant kClick = QVariant::fromValue(QDBusVariant(0));

TEST_F(DBusMenuExporterTest, ReadsAnswerTheAskedPartAndClicksReachTheModel) {
    const struct {
        const char *parentLabel;  // nullptr for the root
        int depth;
        QStringList propertyNames;
        const char *shape;
    } cases[] = {
        {nullptr, -1, {}, "Clean__now, ---, Free & easy*, !Wired, Swap>(Used, Total), ~Hidden"},
        {nullptr, 0, {}, ""},
        {nullptr, 1, {}, "Clean__now, ---, Free & easy*, !Wired, Swap>, ~Hidden"},
        {"Swap", -1, {}, "Used, Total"},
        {nullptr, -1, {"label"}, "Clean__now, ?, Free & easy, Wired, Swap(Used, Total), Hidden"},
        {nullptr, 1, {"no-such"}, "?, ?, ?, ?, ?, ?"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.shape);
        const int parent = c.parentLabel ? idOf(QString::fromUtf8(c.parentLabel)) : 0;
        const DBusMenuLayoutItem layout = getLayout(parent, c.depth, c.propertyNames).second;
        EXPECT_EQ(layout.id, parent);
        EXPECT_EQ(shapeOf(layout.children).toStdString(), c.shape);
    }

    // Unknown ids answer an error, not an empty value.
    const std::pair<const char *, QVariantList> calls[] = {
        {"GetLayout", {999, -1, QStringList()}}, {"GetProperty", {999, "label"}},
        {"GetProperty", {0, "label"}},  // the root has no label
        {"Event", {999, "clicked", kClick, 0u}}, {"AboutToShow", {999}},
    };
    for (const auto &[method, arguments] : calls) {
        EXPECT_EQ(call(QString::fromUtf8(method), arguments).type(), QDBusMessage::ErrorMessage)
            << method;
    }

    // Clicks and openings reach the model.
    QSignalSpy cleanTriggered(clean, &QRMMenuItem::triggered);
    QSignalSpy usedTriggered(swapUsed, &QRMMenuItem::triggered);
    const QDBusMessage single = call("Event", {idOf("Clean__now"), "clicked", kClick, 0u});
    EXPECT_EQ(single.type(), QDBusMessage::ReplyMessage) << single.errorMessage().toStdString();

    // A group with an unknown id still triggers the known ones and names the rest.
    const DBusMenuEventList events{{idOf("Used"), "clicked", QDBusVariant(0), 0},
                                   {999, "clicked", QDBusVariant(0), 0}};
    const QDBusMessage group = call("EventGroup", {QVariant::fromValue(events)});
    ASSERT_EQ(group.type(), QDBusMessage::ReplyMessage) << group.errorMessage().toStdString();
    EXPECT_EQ(demarshalled<QList<int>>(group.arguments().at(0)), QList<int>{999});
    EXPECT_TRUE(cleanTriggered.count() == 1 || cleanTriggered.wait(10000));
    EXPECT_TRUE(usedTriggered.count() == 1 || usedTriggered.wait(10000));

    // Opening a submenu lets the model refresh before the host reads it.
    QSignalSpy swapShown(swap->submenu(), &QRMMenu::aboutToShow);
    QObject::connect(swap->submenu(), &QRMMenu::aboutToShow, swap->submenu(),
                     [this] { swap->submenu()->addItem("Late"); });
    const int swapId = idOf("Swap");
    const QDBusMessage shown =
        call("AboutToShowGroup", {QVariant::fromValue(QList<int>{swapId, 999})});
    ASSERT_EQ(shown.type(), QDBusMessage::ReplyMessage) << shown.errorMessage().toStdString();
    EXPECT_EQ(demarshalled<QList<int>>(shown.arguments().at(0)), QList<int>{swapId})
        << "the refresh changed the submenu";
    EXPECT_EQ(demarshalled<QList<int>>(shown.arguments().at(1)), QList<int>{999});
    EXPECT_EQ(swapShown.count(), 1);
}

TEST_F(DBusMenuExporterTest, ChangesOfOneTurnArriveAsOneDiffOrOneLayoutUpdate) {
    const uint revision = getLayout(0, 0).first;
    const int cleanId = idOf("Clean__now");
    const int freeId = idOf("Free & easy");
    const int wiredId = idOf("Wired");

    clean->setTitle("Cleaning...");
    clean->setTitle("Clean_again");
    free->setImage({});
    wired->setEnabled(true);
    recorder.waitFor("ItemsPropertiesUpdated");
    ASSERT_EQ(recorder.received.size(), 1) << "one diff per turn";
    const QVariantList arguments = recorder.received[0].arguments();
    const auto updated = demarshalled<DBusMenuItemList>(arguments.at(0));
    const auto removed = demarshalled<DBusMenuItemKeysList>(arguments.at(1));
    ASSERT_EQ(updated.size(), 1);
    EXPECT_EQ(updated[0].id, cleanId);
    EXPECT_EQ(updated[0].properties, (QVariantMap{{"label", "Clean__again"}}));
    QMap<int, QStringList> removedById;
    for (const DBusMenuItemKeys &keys : removed) {
        removedById.insert(keys.id, keys.names);
    }
    EXPECT_EQ(removedById,
              (QMap<int, QStringList>{{freeId, {"icon-data"}}, {wiredId, {"enabled"}}}));
    EXPECT_EQ(getLayout(0, 0).first, revision) << "a retitle is no layout change";

    // A structure change announces its parent with a new revision.
    recorder.received.clear();
    const int swapId = idOf("Swap");
    swap->submenu()->addItem("Free swap");
    recorder.waitFor("LayoutUpdated");
    ASSERT_EQ(recorder.received.size(), 1) << "one announcement per turn";
    EXPECT_GT(recorder.received[0].arguments().at(0).toUInt(), revision);
    EXPECT_EQ(recorder.received[0].arguments().at(1).toInt(), swapId);
    EXPECT_EQ(shapeOf(getLayout(swapId, -1).second.children), "Used, Total, Free swap");

    // A rebuilt menu is one announcement of the root, with fresh ids.
    const int oldMaximum = idOf("Free swap");
    recorder.received.clear();
    model.removeAllItems();
    model.addItem("Clean_now");
    recorder.waitFor("LayoutUpdated");
    ASSERT_EQ(recorder.received.size(), 1) << "one announcement per turn";
    EXPECT_EQ(recorder.received[0].arguments().at(1).toInt(), 0);
    const DBusMenuLayoutItem root = getLayout(0, -1).second;
    ASSERT_EQ(root.children.size(), 1);
    EXPECT_GT(root.children[0].id, oldMaximum);
    EXPECT_EQ(call("GetProperty", {oldMaximum, "label"}).type(), QDBusMessage::ErrorMessage);
}

class MenuMirrorTest : public ::testing::Test, public MenuModel {
protected:
    void SetUp() override { mirror.setMenu(&model); }

    MenuMirror mirror;
};

TEST_F(MenuMirrorTest, ItemChangesUpdateTheSameActionsAndStructureChangesRebuild) {
    EXPECT_EQ(shapeOf(mirror.menu()),
              "Clean_now, ---, Free && easy*, !Wired, Swap(Used, Total), ~Hidden");
    const QList<QAction *> before = mirror.menu()->actions();
    QSignalSpy triggered(swapUsed, &QRMMenuItem::triggered);
    before.at(4)->menu()->actions().at(0)->trigger();
    EXPECT_TRUE(triggered.wait(10000)) << "picking an action did not trigger its item";

    clean->setTitle("Cleaning...");
    clean->setEnabled(false);
    free->setImage({});
    swapUsed->setVisible(false);
    EXPECT_EQ(shapeOf(mirror.menu()),
              "!Cleaning..., ---, Free && easy, !Wired, Swap(~Used, Total), ~Hidden");
    EXPECT_EQ(mirror.menu()->actions(), before);

    // Structure changes rebuild their menu; a new submenu on the next turn.
    swap->submenu()->addItem("Free swap");
    auto *more = new QRMMenu;
    more->addItem("Page size");
    clean->setSubmenu(more);
    QCoreApplication::processEvents();
    EXPECT_EQ(shapeOf(mirror.menu()),
              "!Cleaning...(Page size), ---, Free && easy, !Wired, Swap(~Used, Total, Free swap), "
              "~Hidden");
    model.removeAllItems();
    model.addItem("Quit");
    EXPECT_EQ(shapeOf(mirror.menu()), "Quit");
}

// A QMenu taller than the screen used to open a second column holding "Quit"
// alone.
TEST_F(MenuMirrorTest, OpensAfterItsModelRefreshesAndScrollsInOneColumn) {
    for (int i = 0; i < 80; ++i) {
        model.addItem(QStringLiteral("Figure %1").arg(i));
    }
    model.addItem("Quit");
    QObject::connect(&model, &QRMMenu::aboutToShow, clean,
                     [this] { clean->setTitle("Clean now"); });
    QMenu *menu = mirror.menu();
    menu->ensurePolished();
    const QList<QAction *> actions = menu->actions();
    ASSERT_EQ(actions.last()->text(), "Quit");
    EXPECT_EQ(menu->actionGeometry(actions.last()).left(),
              menu->actionGeometry(actions.first()).left());
    menu->popup(QPoint(0, 0));
    EXPECT_EQ(actions.first()->text(), "Clean now");
    EXPECT_LE(menu->height(), menu->screen()->availableGeometry().height());
    menu->hide();

    // Moved to another model, the mirror no longer follows the old one.
    QRMMenu other;
    other.addItem("Other");
    mirror.setMenu(&other);
    QSignalSpy oldShown(&model, &QRMMenu::aboutToShow);
    model.addItem("Late");
    mirror.menu()->popup({0, 0});
    EXPECT_EQ(shapeOf(mirror.menu()), "Other");
    EXPECT_EQ(oldShown.count(), 0);
    mirror.menu()->hide();
}

TEST(PanelAppearanceDecide, TheSessionsOwnDesktopSpeaksFirst) {
    const struct {
        const char *desktop;
        AppearanceReadings readings;  // LXQt theme, kdeglobals, color-scheme, GTK theme, palette
        bool dark;
    } cases[] = {
        {"", {{}, {}, {}, {}, true}, true},                     // nothing said: the palette
        {"LXQt", {true, {}, {}, {}, false}, true},              // LXQt's theme over the palette
        {"LXQt", {false, {}, true, {}, false}, false},          // and over the color-scheme
        {"KDE", {{}, true, false, false, false}, true},         // kdeglobals on Plasma
        {"XFCE", {{}, {}, true, false, false}, true},           // color-scheme before GTK theme
        {"X-Debian:XFCE", {true, {}, {}, false, true}, false},  // GTK theme before LXQt's files
    };
    for (const auto &c : cases) {
        EXPECT_EQ(PanelAppearance::decide(QString::fromLatin1(c.desktop), c.readings), c.dark)
            << c.desktop << " case " << &c - cases;
    }
}

void write(const QString &path, const QByteArray &text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}

TEST(DesktopFiles, KdeglobalsAndLxqtPanelSheetSayDarkOrLightAndAreReadAgain) {
    const std::pair<const char *, std::optional<bool>> cases[] = {
        {nullptr, std::nullopt},
        {"[Colors:Window]\nBackgroundNormal=49,54,59\n", true},      // Breeze Dark
        {"[Colors:Window]\nBackgroundNormal=239,240,241\n", false},  // Breeze
        {"[General]\nColorScheme=BreezeDark\n", true},
    };
    for (const auto &[text, dark] : cases) {
        QTemporaryDir dir;
        if (text) {
            write(dir.filePath("kdeglobals"), text);
        }
        EXPECT_EQ(PanelAppearance::kdeglobalsIsDark(dir.filePath("kdeglobals")), dark)
            << (text ? text : "no file");
    }

    // Panel sheets as the lxqt-themes package ships them, each where the
    // theme name leads.
    const struct {
        const char *theme;  // null: no lxqt.conf
        const char *sheet;
        std::optional<bool> dark;
    } sheets[] = {
        {nullptr, "LXQtPanel #BackgroundWidget { background: #000000; }", {}},
        {"t", "LXQtPanel #BackgroundWidget {\n    background: rgba(0, 0, 0, 50%);\n}\n", true},
        {"t",
         "LXQtPanel #BackgroundWidget {\n    background-color: qlineargradient(x1:0, y1:0, x2:0, "
         "y2:1, stop:0 #EFEFEF, stop:1 #c0c0c0);\n}\n",
         false},
        {"t", "LXQtPanel #BackgroundWidget {\n    background: palette(window);\n}\n", {}},
        // A theme name that leaves the themes folder is no theme.
        {"../t", "LXQtPanel #BackgroundWidget { background: #000000; }", {}},
    };
    for (const auto &c : sheets) {
        QTemporaryDir dir;
        const QString conf = dir.filePath("config/lxqt/lxqt.conf");
        const QString theme = QString::fromLatin1(c.theme ? c.theme : "t");
        if (c.theme) {
            write(conf, "[General]\ntheme=" + theme.toLatin1() + "\n");
        }
        QDir().mkpath(dir.filePath("data/lxqt/themes"));
        write(QDir::cleanPath(dir.filePath("data/lxqt/themes/" + theme + "/lxqt-panel.qss")),
              c.sheet);
        EXPECT_EQ(PanelAppearance::lxqtThemeIsDark(
                      conf, {dir.filePath("elsewhere"), dir.filePath("data")}),
                  c.dark)
            << theme.toStdString() << ": " << c.sheet;
    }

    // A changed file is read again.
    QTemporaryDir dir;
    const QString conf = dir.filePath("config/lxqt/lxqt.conf");
    write(conf, "[General]\ntheme=light\n");
    write(dir.filePath("data/lxqt/themes/light/lxqt-panel.qss"),
          "LXQtPanel #BackgroundWidget { background: #efefef; }");
    write(dir.filePath("data/lxqt/themes/dark/lxqt-panel.qss"),
          "LXQtPanel #BackgroundWidget { background: #202020; }");
    int forced = 0;
    PanelAppearance appearance(
        {dir.filePath("config"), {dir.filePath("data")}, "LXQt", QString()},
        [&forced] { return forced; }, nullptr);
    EXPECT_FALSE(appearance.isDark());

    QSignalSpy changed(&appearance, &PanelAppearance::changed);
    write(conf, "[General]\ntheme=dark\n");
    ASSERT_TRUE(changed.wait(5000));
    EXPECT_TRUE(appearance.isDark());

    forced = 1;
    EXPECT_FALSE(appearance.isDark()) << "forced light";
}

// Settings as a GTK desktop's manager publishes them, worked out by hand from
// the XSETTINGS layout: an integer "Xft/DPI" (96 * 1024), then the string
// "Net/ThemeName". Spaces part the fields.
const QByteArray kLittleEndianUpToTheName = QByteArray::fromHex(
    "00 000000 07000000 02000000 00 00 0700 5866742f445049 00 00000000 00800100"
    "01 00 0d00 4e65742f5468656d654e616d65 000000 00000000");
const QByteArray kGreybird =
    kLittleEndianUpToTheName + QByteArray::fromHex("08000000 4772657962697264");
const QByteArray kGreybirdDark =
    kLittleEndianUpToTheName + QByteArray::fromHex("0d000000 47726579626972642d6461726b 000000");
const QByteArray kGreybirdBigEndian = QByteArray::fromHex(
    "01 000000 00000007 00000002 00 00 0007 5866742f445049 00 00000000 00018000"
    "01 00 000d 4e65742f5468656d654e616d65 000000 00000000 00000008 4772657962697264");

TEST(XSettingsBlob, ThemeNameInEitherByteOrder) {
    EXPECT_EQ(xsettingsString(kGreybirdDark, "Net/ThemeName"), "Greybird-dark");
    EXPECT_EQ(xsettingsString(kGreybirdBigEndian, "Net/ThemeName"), "Greybird");
    EXPECT_EQ(xsettingsString(kGreybird, "Net/IconThemeName"), std::nullopt);
    // Cut anywhere inside the theme's name: nothing, and no read past the end.
    EXPECT_EQ(xsettingsString(kGreybirdDark.left(kGreybirdDark.size() - 6), "Net/ThemeName"),
              std::nullopt);
}

// Plays a tray or a settings manager: owns the selection and announces it.
class SelectionOwner {
public:
    SelectionOwner(const QByteArray &display, const QByteArray &selection)
        : c_(xcb_connect(display.constData(), nullptr)) {
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c_)).data;
        window_ = xcb_generate_id(c_);
        xcb_create_window(c_, XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        const xcb_atom_t atom = intern(selection);
        xcb_set_selection_owner(c_, window_, atom, XCB_CURRENT_TIME);
        const xcb_atom_t manager = intern("MANAGER");
        const xcb_client_message_event_t message{
            XCB_CLIENT_MESSAGE, 32, 0, screen->root, manager, {.data32 = {0, atom, window_}}};
        xcb_send_event(c_, 0, screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&message));
        xcb_flush(c_);
    }
    ~SelectionOwner() { xcb_disconnect(c_); }

    void setProperty(const QByteArray &name, const QByteArray &value) {
        const xcb_atom_t atom = intern(name);
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, window_, atom, atom, 8,
                            uint32_t(value.size()), value.constData());
        xcb_flush(c_);
    }
    void leave() {
        xcb_destroy_window(c_, window_);
        xcb_flush(c_);
    }

private:
    xcb_atom_t intern(const QByteArray &name) {
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
            c_, xcb_intern_atom(c_, 0, uint16_t(name.size()), name.constData()), nullptr);
        const xcb_atom_t atom = reply->atom;
        free(reply);
        return atom;
    }

    xcb_connection_t *c_;
    xcb_window_t window_ = 0;
};

// One X server for both managers a desktop may run: Xvfb starts slowly.
TEST(OnXServer, TrayAndSettingsManagersAreFollowed) {
    test::XvfbDisplay x;
    ASSERT_FALSE(x.display().empty()) << "Xvfb did not start";
    const QByteArray display = QByteArray::fromStdString(x.display());

    XcbLegacyTrayPresence tray(display);
    EXPECT_FALSE(tray.isPresent());
    QSignalSpy trayChanged(&tray, &LegacyTrayPresence::changed);
    SelectionOwner trayer(display, "_NET_SYSTEM_TRAY_S0");
    ASSERT_TRUE(trayChanged.wait(15000));
    EXPECT_TRUE(tray.isPresent());
    trayer.leave();
    ASSERT_TRUE(trayChanged.wait(15000));
    EXPECT_FALSE(tray.isPresent());

    SelectionOwner manager(display, "_XSETTINGS_S0");
    manager.setProperty("_XSETTINGS_SETTINGS", kGreybird);
    X11ManagerSelection xsettings("_XSETTINGS_S", "_XSETTINGS_SETTINGS", display);
    QTemporaryDir empty;
    PanelAppearance appearance({empty.path(), {}, "XFCE", QString()}, {}, &xsettings);
    EXPECT_FALSE(appearance.isDark());
    QSignalSpy changed(&appearance, &PanelAppearance::changed);
    manager.setProperty("_XSETTINGS_SETTINGS", kGreybirdDark);
    ASSERT_TRUE(changed.wait(15000));
    EXPECT_TRUE(appearance.isDark());
}

// The template icon is a mask: any colour in it would survive the tint as a
// wrong shade. Its edges land on whole pixels at the panel's own size.
TEST(StatusBarIcons, LoadAndTheTemplateIconIsAMonochromeMask) {
    for (const int size : {16, 22, 44}) {
        SCOPED_TRACE(size);
        EXPECT_FALSE(loadStatusBarIcon(kStatusBarIconStatic3D, {size, size}).isNull());
        const QImage image = loadStatusBarIcon(kStatusBarIconStatic2D, {size, size})
                                 .convertToFormat(QImage::Format_ARGB32);
        ASSERT_FALSE(image.isNull()) << "cannot load the icon (is the SVG image plugin installed?)";
        const auto coloured = [](const QColor &c) { return c.alpha() && (c.rgb() & 0xffffff); };
        EXPECT_EQ(pixelsWhere(image, coloured), 0) << "coloured pixels";
        EXPECT_GT(pixelsWhere(image, [](const QColor &c) { return c.alpha() >= 128; }),
                  size * size / 5)
            << "the glyph is too faint";
    }
}

TEST(TemplateImageTint, PaintsEveryPixelKeepingItsCoverage) {
    QImage mask = filled(Qt::transparent, {3, 1});
    mask.setPixelColor(0, 0, QColor(255, 0, 0, 255));
    mask.setPixelColor(1, 0, QColor(0, 0, 255, 128));
    const QImage tinted =
        TemplateImage::tinted(mask, Qt::white).convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(tinted.pixelColor(0, 0), QColor(Qt::white));
    EXPECT_EQ(tinted.pixelColor(1, 0), QColor(255, 255, 255, 128));
    EXPECT_EQ(tinted.pixelColor(2, 0).alpha(), 0);
}

TEST(DrawnTitle, FillsTheSquareInThePanelColour) {
    const struct {
        qreal ratio;
        QColor text;
    } cases[] = {{1.0, Qt::black}, {2.0, Qt::black}, {1.0, Qt::white}, {2.0, Qt::white}};
    for (const auto &c : cases) {
        SCOPED_TRACE(::testing::Message() << c.text.name().toStdString() << " at " << c.ratio);
        const QImage drawn = TitledIcon::draw("16.55 GB", c.text, 22, c.ratio)
                                 .convertToFormat(QImage::Format_ARGB32);

        const int side = qRound(22 * c.ratio);
        ASSERT_EQ(drawn.size(), QSize(side, side));
        EXPECT_EQ(drawn.devicePixelRatio(), c.ratio);
        // Text in the panel's colour, never in the opposite one.
        const QColor opposite = c.text == QColor(Qt::white) ? QColor(Qt::black) : QColor(Qt::white);
        EXPECT_GT(pixelsNear(drawn, c.text), 20 * c.ratio * c.ratio);
        EXPECT_EQ(pixelsNear(drawn, opposite), 0);
        // As large as the square allows: the text spans most of its width.
        const QRegion ink(QBitmap::fromImage(drawn.createAlphaMask()));
        EXPECT_GT(ink.boundingRect().width(), side * 3 / 4);
        // Drawn at the density, not scaled up from one: a scaled-up picture
        // repeats every pixel in 2x2 blocks, so halving and doubling keeps it.
        EXPECT_TRUE(c.ratio == 1 || drawn.scaled(side / 2, side / 2).scaled(side, side) != drawn);
    }
}

}  // namespace
}  // namespace tarnwell
