// The two presenters of the menu model: the dbusmenu exporter that panels
// read over the bus, and the QMenu mirror the tray icon and activations pop
// up. Both show the same model, each with its own escaping.
#include <QDBusMessage>
#include <QImage>
#include <QMenu>
#include <QScreen>
#include <QSignalSpy>

#include "BusTestSupport.h"
#include "MenuShape.h"
#include "Pixels.h"
#include "QtPrinters.h"
#include "app/QRMMenu.h"
#include "ui/DBusMenuExporter.h"
#include "ui/MenuMirror.h"

namespace tarnwell {
namespace {

using test::demarshalled;

const QString kPath = QStringLiteral("/MenuBar");
const QString kInterface = QStringLiteral("com.canonical.dbusmenu");

QString shapeOf(const QList<DBusMenuLayoutItem> &items) {
    return test::menuShape(items, [](const DBusMenuLayoutItem &item) {
        const QVariantMap &p = item.properties;
        return test::ShownEntry{
            p.value(QStringLiteral("label"), QStringLiteral("?")).toString(),
            p.value(QStringLiteral("type")) == QStringLiteral("separator"),
            p.value(QStringLiteral("visible"), true).toBool(),
            p.value(QStringLiteral("enabled"), true).toBool(),
            p.contains(QStringLiteral("icon-data")),
            p.value(QStringLiteral("children-display")) == QStringLiteral("submenu"),
            shapeOf(item.children)};
    });
}

QString shapeOf(const QMenu *menu) {
    return test::menuShape(menu->actions(), [](const QAction *action) {
        // Qt disables every hidden action; only a shown one tells.
        return test::ShownEntry{action->text(),
                                action->isSeparator(),
                                action->isVisible(),
                                !action->isVisible() || action->isEnabled(),
                                !action->icon().isNull(),
                                false,
                                action->menu() ? shapeOf(action->menu()) : QString()};
    });
}

class MenuModel : public ::testing::Test {
protected:
    void SetUp() override {
        clean = model.addItem(QStringLiteral("Clean_now"));
        model.addSeparator();
        free = model.addItem(QStringLiteral("Free & easy"));
        free->setImage(test::filled(Qt::green, {16, 16}));
        wired = model.addItem(QStringLiteral("Wired"));
        wired->setEnabled(false);
        swap = model.addItem(QStringLiteral("Swap"));
        swap->setSubmenu(new QRMMenu);
        swapUsed = swap->submenu()->addItem(QStringLiteral("Used"));
        swap->submenu()->addItem(QStringLiteral("Total"));
        model.addItem(QStringLiteral("Hidden"))->setVisible(false);
    }

    QRMMenu model;
    QRMMenuItem *clean, *free, *wired, *swap, *swapUsed;
};

class DBusMenuExporterTest : public MenuModel {
protected:
    void SetUp() override {
        MenuModel::SetUp();
        registerDBusTypes();
        exporter = std::make_unique<DBusMenuExporter>(QDBusConnection::sessionBus(), kPath);
        exporter->setMenu(&model);
        recorder.listen(
            host, service, kPath, kInterface,
            {QStringLiteral("LayoutUpdated"), QStringLiteral("ItemsPropertiesUpdated")});
        // The first announcement of a freshly exported menu.
        recorder.waitFor(QStringLiteral("LayoutUpdated"));
        recorder.received.clear();
    }

    void TearDown() override { QDBusConnection::disconnectFromBus(QStringLiteral("host")); }

    QDBusMessage call(const QString &method, const QVariantList &arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(service, kPath, kInterface, method);
        message.setArguments(arguments);
        return test::callAndWait(host, message);
    }

    std::pair<uint, DBusMenuLayoutItem> getLayout(int parent, int depth,
                                                  const QStringList &names = {}) {
        const QDBusMessage reply = call(QStringLiteral("GetLayout"), {parent, depth, names});
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
        if (reply.arguments().size() != 2) {
            return {};
        }
        return {reply.arguments().at(0).toUInt(),
                demarshalled<DBusMenuLayoutItem>(reply.arguments().at(1))};
    }

    int idOf(const QString &label) {
        const int id = test::menuItemId(getLayout(0, -1).second, label);
        EXPECT_NE(id, 0) << label.toStdString() << " is not in the menu";
        return id;
    }

    std::unique_ptr<DBusMenuExporter> exporter;
    // A connection of its own, with its own unique name, as a panel has.
    QDBusConnection host =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("host"));
    QString service = QDBusConnection::sessionBus().baseService();
    test::BusSignalRecorder recorder;
};

const QVariant kClick = QVariant::fromValue(QDBusVariant(0));

TEST_F(DBusMenuExporterTest, ReadsAnswerTheAskedPartOrAnError) {
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
        {"GetLayout", {999, -1, QStringList()}},
        {"GetProperty", {999, QStringLiteral("label")}},
        {"GetProperty", {0, QStringLiteral("label")}},  // the root has no label
        {"Event", {999, QStringLiteral("clicked"), kClick, 0u}},
        {"AboutToShow", {999}},
    };
    for (const auto &[method, arguments] : calls) {
        EXPECT_EQ(call(QString::fromUtf8(method), arguments).type(), QDBusMessage::ErrorMessage)
            << method;
    }
}

TEST_F(DBusMenuExporterTest, ClicksAndOpeningsReachTheModel) {
    QSignalSpy cleanTriggered(clean, &QRMMenuItem::triggered);
    QSignalSpy usedTriggered(swapUsed, &QRMMenuItem::triggered);
    const QDBusMessage single =
        call(QStringLiteral("Event"),
             {idOf(QStringLiteral("Clean__now")), QStringLiteral("clicked"), kClick, 0u});
    EXPECT_EQ(single.type(), QDBusMessage::ReplyMessage) << single.errorMessage().toStdString();

    // A group with an unknown id still triggers the known ones and names the rest.
    const DBusMenuEventList events{
        {idOf(QStringLiteral("Used")), QStringLiteral("clicked"), QDBusVariant(0), 0},
        {999, QStringLiteral("clicked"), QDBusVariant(0), 0}};
    const QDBusMessage group = call(QStringLiteral("EventGroup"), {QVariant::fromValue(events)});
    ASSERT_EQ(group.type(), QDBusMessage::ReplyMessage) << group.errorMessage().toStdString();
    EXPECT_EQ(demarshalled<QList<int>>(group.arguments().at(0)), QList<int>{999});
    EXPECT_TRUE(cleanTriggered.count() == 1 || cleanTriggered.wait(10000));
    EXPECT_TRUE(usedTriggered.count() == 1 || usedTriggered.wait(10000));

    // Opening a submenu lets the model refresh before the host reads it.
    QSignalSpy swapShown(swap->submenu(), &QRMMenu::aboutToShow);
    QObject::connect(swap->submenu(), &QRMMenu::aboutToShow, swap->submenu(),
                     [this] { swap->submenu()->addItem(QStringLiteral("Late")); });
    const int swapId = idOf(QStringLiteral("Swap"));
    const QDBusMessage shown =
        call(QStringLiteral("AboutToShowGroup"), {QVariant::fromValue(QList<int>{swapId, 999})});
    ASSERT_EQ(shown.type(), QDBusMessage::ReplyMessage) << shown.errorMessage().toStdString();
    EXPECT_EQ(demarshalled<QList<int>>(shown.arguments().at(0)), QList<int>{swapId})
        << "the refresh changed the submenu";
    EXPECT_EQ(demarshalled<QList<int>>(shown.arguments().at(1)), QList<int>{999});
    EXPECT_EQ(swapShown.count(), 1);
}

TEST_F(DBusMenuExporterTest, ChangesOfOneTurnArriveAsOneDiffOrOneLayoutUpdate) {
    const uint revision = getLayout(0, 0).first;
    const int cleanId = idOf(QStringLiteral("Clean__now"));
    const int freeId = idOf(QStringLiteral("Free & easy"));
    const int wiredId = idOf(QStringLiteral("Wired"));

    clean->setTitle(QStringLiteral("Cleaning..."));
    clean->setTitle(QStringLiteral("Clean_again"));
    free->setImage({});
    wired->setEnabled(true);
    recorder.waitFor(QStringLiteral("ItemsPropertiesUpdated"));
    ASSERT_EQ(recorder.names(), QStringList{QStringLiteral("ItemsPropertiesUpdated")});
    const QVariantList arguments = recorder.received[0].arguments();
    const auto updated = demarshalled<DBusMenuItemList>(arguments.at(0));
    const auto removed = demarshalled<DBusMenuItemKeysList>(arguments.at(1));
    ASSERT_EQ(updated.size(), 1);
    EXPECT_EQ(updated[0].id, cleanId);
    EXPECT_EQ(updated[0].properties,
              (QVariantMap{{QStringLiteral("label"), QStringLiteral("Clean__again")}}));
    QMap<int, QStringList> removedById;
    for (const DBusMenuItemKeys &keys : removed) {
        removedById.insert(keys.id, keys.names);
    }
    EXPECT_EQ(removedById, (QMap<int, QStringList>{{freeId, {QStringLiteral("icon-data")}},
                                                   {wiredId, {QStringLiteral("enabled")}}}));
    EXPECT_EQ(getLayout(0, 0).first, revision) << "a retitle is no layout change";

    // A structure change announces its parent with a new revision.
    recorder.received.clear();
    const int swapId = idOf(QStringLiteral("Swap"));
    swap->submenu()->addItem(QStringLiteral("Free swap"));
    recorder.waitFor(QStringLiteral("LayoutUpdated"));
    ASSERT_EQ(recorder.names(), QStringList{QStringLiteral("LayoutUpdated")});
    EXPECT_GT(recorder.received[0].arguments().at(0).toUInt(), revision);
    EXPECT_EQ(recorder.received[0].arguments().at(1).toInt(), swapId);
    EXPECT_EQ(shapeOf(getLayout(swapId, -1).second.children),
              QStringLiteral("Used, Total, Free swap"));

    // A rebuilt menu is one announcement of the root, with fresh ids.
    const int oldMaximum = idOf(QStringLiteral("Free swap"));
    recorder.received.clear();
    model.removeAllItems();
    model.addItem(QStringLiteral("Clean_now"));
    recorder.waitFor(QStringLiteral("LayoutUpdated"));
    ASSERT_EQ(recorder.received.size(), 1) << "one announcement per turn";
    EXPECT_EQ(recorder.received[0].arguments().at(1).toInt(), 0);
    const DBusMenuLayoutItem root = getLayout(0, -1).second;
    ASSERT_EQ(root.children.size(), 1);
    EXPECT_GT(root.children[0].id, oldMaximum);
    EXPECT_EQ(call(QStringLiteral("GetProperty"), {oldMaximum, QStringLiteral("label")}).type(),
              QDBusMessage::ErrorMessage);
}

class MenuMirrorTest : public MenuModel {
protected:
    void SetUp() override {
        MenuModel::SetUp();
        mirror.setMenu(&model);
    }

    MenuMirror mirror;
};

TEST_F(MenuMirrorTest, ItemChangesUpdateTheSameActionsAndStructureChangesRebuild) {
    EXPECT_EQ(shapeOf(mirror.menu()),
              QStringLiteral("Clean_now, ---, Free && easy*, !Wired, Swap(Used, Total), ~Hidden"));
    const QList<QAction *> before = mirror.menu()->actions();
    QSignalSpy triggered(swapUsed, &QRMMenuItem::triggered);
    before.at(4)->menu()->actions().at(0)->trigger();
    EXPECT_TRUE(triggered.wait(10000)) << "picking an action did not trigger its item";

    clean->setTitle(QStringLiteral("Cleaning..."));
    clean->setEnabled(false);
    free->setImage({});
    swapUsed->setVisible(false);
    EXPECT_EQ(
        shapeOf(mirror.menu()),
        QStringLiteral("!Cleaning..., ---, Free && easy, !Wired, Swap(~Used, Total), ~Hidden"));
    EXPECT_EQ(mirror.menu()->actions(), before);

    // Structure changes rebuild their menu; a new submenu on the next turn.
    swap->submenu()->addItem(QStringLiteral("Free swap"));
    auto *more = new QRMMenu;
    more->addItem(QStringLiteral("Page size"));
    clean->setSubmenu(more);
    QCoreApplication::processEvents();
    EXPECT_EQ(
        shapeOf(mirror.menu()),
        QStringLiteral("!Cleaning...(Page size), ---, Free && easy, !Wired, Swap(~Used, Total, "
                       "Free swap), ~Hidden"));
    model.removeAllItems();
    model.addItem(QStringLiteral("Quit"));
    EXPECT_EQ(shapeOf(mirror.menu()), QStringLiteral("Quit"));
}

TEST_F(MenuMirrorTest, OpeningAMenuLetsTheModelItFollowsRefreshFirst) {
    QObject::connect(&model, &QRMMenu::aboutToShow, clean,
                     [this] { clean->setTitle(QStringLiteral("Clean now")); });
    mirror.menu()->popup({0, 0});
    EXPECT_EQ(mirror.menu()->actions().at(0)->text(), QStringLiteral("Clean now"));
    mirror.menu()->hide();

    QRMMenu other;
    other.addItem(QStringLiteral("Other"));
    mirror.setMenu(&other);
    QSignalSpy oldShown(&model, &QRMMenu::aboutToShow);
    model.addItem(QStringLiteral("Late"));
    mirror.menu()->popup({0, 0});
    EXPECT_EQ(shapeOf(mirror.menu()), QStringLiteral("Other"));
    EXPECT_EQ(oldShown.count(), 0);
    mirror.menu()->hide();
}

// A QMenu taller than the screen used to open a second column holding "Quit"
// alone.
TEST(MenuMirrorHeight, ALongMenuScrollsInOneColumn) {
    QRMMenu model;
    for (int i = 0; i < 80; ++i) {
        model.addItem(QStringLiteral("Figure %1").arg(i));
    }
    QRMMenuItem *quit = model.addItem(QStringLiteral("Quit"));
    MenuMirror mirror;
    mirror.setMenu(&model);
    QMenu *menu = mirror.menu();
    menu->ensurePolished();
    const QList<QAction *> actions = menu->actions();
    ASSERT_EQ(actions.last()->text(), quit->title());
    EXPECT_EQ(menu->actionGeometry(actions.last()).left(),
              menu->actionGeometry(actions.first()).left());
    menu->popup(QPoint(0, 0));
    EXPECT_LE(menu->height(), menu->screen()->availableGeometry().height());
    menu->hide();
}

}  // namespace
}  // namespace tarnwell
