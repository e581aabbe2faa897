#include <QBuffer>
#include <QDBusMessage>
#include <QImage>
#include <QImageReader>

#include "BusTestSupport.h"
#include "QtPrinters.h"
#include "app/QRMMenu.h"
#include "ui/DBusMenuExporter.h"

namespace tarnwell {
namespace {

using test::callAndWait;
using test::demarshalled;

const QString kPath = QStringLiteral("/MenuBar");
const QString kInterface = QStringLiteral("com.canonical.dbusmenu");

// Records the menu's signals as a host receives them.
class MenuSignalRecorder : public QObject {
    Q_OBJECT
public:
    QList<std::pair<uint, int>> layoutUpdates;
    QList<std::pair<DBusMenuItemList, DBusMenuItemKeysList>> propertyUpdates;

public slots:
    void onLayoutUpdated(uint revision, int parent) {
        layoutUpdates.append({revision, parent});
        emit received();
    }
    void onItemsPropertiesUpdated(const DBusMenuItemList &updated,
                                  const DBusMenuItemKeysList &removed) {
        propertyUpdates.append({updated, removed});
        emit received();
    }

signals:
    void received();
};

QImage solidImage(QColor color, int size = 16) {
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

// A menu shape as a short string: labels in order, "---" for a separator,
// "!" before a disabled item, "~" before a hidden one, "*" after one with an
// icon, ">" after one announced as a submenu, its children in parentheses
// when they were sent.
QString shapeOf(const QList<DBusMenuLayoutItem> &items) {
    QStringList parts;
    for (const DBusMenuLayoutItem &item : items) {
        const QVariantMap &p = item.properties;
        QString part;
        if (p.value(QStringLiteral("visible"), true) == false) {
            part += QLatin1Char('~');
        }
        if (p.value(QStringLiteral("enabled"), true) == false) {
            part += QLatin1Char('!');
        }
        if (p.value(QStringLiteral("type")) == QStringLiteral("separator")) {
            part += QStringLiteral("---");
        } else {
            part += p.value(QStringLiteral("label"), QStringLiteral("?")).toString();
        }
        if (p.contains(QStringLiteral("icon-data"))) {
            part += QLatin1Char('*');
        }
        if (p.value(QStringLiteral("children-display")) == QStringLiteral("submenu")) {
            part += QLatin1Char('>');
        }
        if (!item.children.isEmpty()) {
            part += QLatin1Char('(') + shapeOf(item.children) + QLatin1Char(')');
        }
        parts.append(part);
    }
    return parts.join(QStringLiteral(", "));
}

class DBusMenuExporterTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerDBusTypes();
        clean = menu.addItem(QStringLiteral("Clean_now"));
        menu.addSeparator();
        free = menu.addItem(QStringLiteral("Free"));
        free->setImage(solidImage(Qt::green));
        wired = menu.addItem(QStringLiteral("Wired"));
        wired->setEnabled(false);
        swap = menu.addItem(QStringLiteral("Swap"));
        auto *swapMenu = new QRMMenu;
        swapUsed = swapMenu->addItem(QStringLiteral("Used"));
        swapMenu->addItem(QStringLiteral("Total"));
        swap->setSubmenu(swapMenu);
        hidden = menu.addItem(QStringLiteral("Hidden"));
        hidden->setVisible(false);

        exporter = std::make_unique<DBusMenuExporter>(QDBusConnection::sessionBus(), kPath);
        exporter->setMenu(&menu);
        host = test::peerConnection(QStringLiteral("host"));
        service = QDBusConnection::sessionBus().baseService();
        host.connect(service, kPath, kInterface, QStringLiteral("LayoutUpdated"), &recorder,
                     SLOT(onLayoutUpdated(uint, int)));
        host.connect(service, kPath, kInterface, QStringLiteral("ItemsPropertiesUpdated"),
                     &recorder,
                     SLOT(onItemsPropertiesUpdated(DBusMenuItemList, DBusMenuItemKeysList)));
        // The first announcement of a freshly exported menu.
        waitForSignals(1);
        recorder.layoutUpdates.clear();
    }

    void TearDown() override { QDBusConnection::disconnectFromBus(QStringLiteral("host")); }

    void waitForSignals(int count) {
        QSignalSpy received(&recorder, &MenuSignalRecorder::received);
        while (received.count() < count) {
            ASSERT_TRUE(received.wait(10000)) << "the menu sent no signal";
        }
    }

    QDBusMessage call(const QString &method, const QVariantList &arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(service, kPath, kInterface, method);
        message.setArguments(arguments);
        return callAndWait(host, message);
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
        std::function<int(const DBusMenuLayoutItem &)> find = [&](const DBusMenuLayoutItem &node) {
            if (node.properties.value(QStringLiteral("label")) == label) {
                return node.id;
            }
            for (const DBusMenuLayoutItem &child : node.children) {
                if (int id = find(child)) {
                    return id;
                }
            }
            return 0;
        };
        const int id = find(getLayout(0, -1).second);
        EXPECT_NE(id, 0) << label.toStdString() << " is not in the menu";
        return id;
    }

    QRMMenu menu;
    QRMMenuItem *clean, *free, *wired, *swap, *swapUsed, *hidden;
    std::unique_ptr<DBusMenuExporter> exporter;
    QDBusConnection host{QString()};
    QString service;
    MenuSignalRecorder recorder;
};

struct LayoutCase {
    const char *name;
    const char *parentLabel;  // nullptr for the root
    int depth;
    QStringList propertyNames;
    const char *shape;
    friend void PrintTo(const LayoutCase &c, std::ostream *out) { *out << c.name; }
};

class LayoutShapes : public DBusMenuExporterTest,
                     public ::testing::WithParamInterface<LayoutCase> {};

TEST_P(LayoutShapes, GetLayoutSendsTheAskedPart) {
    const LayoutCase &c = GetParam();
    const int parent = c.parentLabel ? idOf(QString::fromUtf8(c.parentLabel)) : 0;
    const DBusMenuLayoutItem layout = getLayout(parent, c.depth, c.propertyNames).second;
    EXPECT_EQ(layout.id, parent);
    EXPECT_EQ(shapeOf(layout.children).toStdString(), c.shape);
}

INSTANTIATE_TEST_SUITE_P(
    Menu, LayoutShapes,
    ::testing::Values(
        LayoutCase{"AllLevels",
                   nullptr,
                   -1,
                   {},
                   "Clean__now, ---, Free*, !Wired, Swap>(Used, Total), ~Hidden"},
        LayoutCase{"RootAlone", nullptr, 0, {}, ""},
        LayoutCase{"OneLevel", nullptr, 1, {}, "Clean__now, ---, Free*, !Wired, Swap>, ~Hidden"},
        LayoutCase{"Submenu", "Swap", -1, {}, "Used, Total"},
        LayoutCase{"SubmenuItselfOnly", "Swap", 0, {}, ""},
        LayoutCase{"LeafHasNoChildren", "Used", -1, {}, ""},
        LayoutCase{"LabelsOnly",
                   nullptr,
                   -1,
                   {"label"},
                   "Clean__now, ?, Free, Wired, Swap(Used, Total), Hidden"},
        LayoutCase{"UnknownPropertyFiltersAll", nullptr, 1, {"no-such"}, "?, ?, ?, ?, ?, ?"}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(DBusMenuExporterTest, RootIsASubmenuWithIdZero) {
    const auto [revision, root] = getLayout(0, 0);
    EXPECT_EQ(root.id, 0);
    EXPECT_EQ(root.properties.value(QStringLiteral("children-display")).toString(),
              QStringLiteral("submenu"));
    EXPECT_GT(revision, 0u);
}

TEST_F(DBusMenuExporterTest, IconDataIsThePngOfTheImage) {
    const QDBusMessage reply = call(QStringLiteral("GetProperty"),
                                    {idOf(QStringLiteral("Free")), QStringLiteral("icon-data")});
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    QByteArray png = reply.arguments().at(0).value<QDBusVariant>().variant().toByteArray();
    QBuffer buffer(&png);
    QImageReader reader(&buffer, "PNG");
    const QImage image = reader.read();
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.size(), QSize(16, 16));
    EXPECT_EQ(image.pixelColor(8, 8), QColor(Qt::green));
}

TEST_F(DBusMenuExporterTest, GroupPropertiesSkipUnknownIdsAndFilterNames) {
    const int used = idOf(QStringLiteral("Used"));
    const QDBusMessage reply =
        call(QStringLiteral("GetGroupProperties"),
             {QVariant::fromValue(QList<int>{used, 999}), QStringList{QStringLiteral("label")}});
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    const auto items = demarshalled<DBusMenuItemList>(reply.arguments().at(0));
    ASSERT_EQ(items.size(), 1);
    EXPECT_EQ(items[0].id, used);
    EXPECT_EQ(items[0].properties,
              (QVariantMap{{QStringLiteral("label"), QStringLiteral("Used")}}));
}

TEST_F(DBusMenuExporterTest, VersionAndStatusProperties) {
    const QString service = QDBusConnection::sessionBus().baseService();
    EXPECT_EQ(
        test::propertyOf(host, service, kPath, kInterface, QStringLiteral("Version")).toUInt(), 3u);
    EXPECT_EQ(
        test::propertyOf(host, service, kPath, kInterface, QStringLiteral("Status")).toString(),
        QStringLiteral("normal"));
    EXPECT_EQ(test::propertyOf(host, service, kPath, kInterface, QStringLiteral("TextDirection"))
                  .toString(),
              QStringLiteral("ltr"));
}

struct UnknownIdCase {
    const char *name;
    const char *method;
    QVariantList arguments;
    friend void PrintTo(const UnknownIdCase &c, std::ostream *out) { *out << c.name; }
};

class UnknownIds : public DBusMenuExporterTest,
                   public ::testing::WithParamInterface<UnknownIdCase> {};

TEST_P(UnknownIds, AnswerAnError) {
    const QDBusMessage reply = call(QString::fromUtf8(GetParam().method), GetParam().arguments);
    EXPECT_EQ(reply.type(), QDBusMessage::ErrorMessage);
}

DBusMenuEventList unknownEvents() {
    return {{998, QStringLiteral("clicked"), QDBusVariant(QString()), 0},
            {999, QStringLiteral("clicked"), QDBusVariant(QString()), 0}};
}

INSTANTIATE_TEST_SUITE_P(
    Menu, UnknownIds,
    ::testing::Values(
        UnknownIdCase{"GetLayout", "GetLayout", {999, -1, QStringList()}},
        UnknownIdCase{"GetProperty", "GetProperty", {999, QStringLiteral("label")}},
        UnknownIdCase{"MissingProperty", "GetProperty", {0, QStringLiteral("label")}},
        UnknownIdCase{"Event",
                      "Event",
                      {999, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(0)), 0u}},
        UnknownIdCase{"EventGroup", "EventGroup", {QVariant::fromValue(unknownEvents())}},
        UnknownIdCase{"AboutToShow", "AboutToShow", {999}},
        UnknownIdCase{
            "AboutToShowGroup", "AboutToShowGroup", {QVariant::fromValue(QList<int>{998, 999})}}),
    [](const auto &info) { return std::string(info.param.name); });

TEST_F(DBusMenuExporterTest, ClickTriggersTheItem) {
    QSignalSpy triggered(clean, &QRMMenuItem::triggered);
    const QDBusMessage reply = call(QStringLiteral("Event"),
                                    {idOf(QStringLiteral("Clean__now")), QStringLiteral("clicked"),
                                     QVariant::fromValue(QDBusVariant(0)), 0u});
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_TRUE(triggered.count() == 1 || triggered.wait(10000));
    EXPECT_EQ(triggered.count(), 1);
}

TEST_F(DBusMenuExporterTest, EventGroupTriggersKnownItemsAndNamesTheOthers) {
    QSignalSpy triggered(swapUsed, &QRMMenuItem::triggered);
    const DBusMenuEventList events{
        {idOf(QStringLiteral("Used")), QStringLiteral("clicked"), QDBusVariant(0), 0},
        {999, QStringLiteral("clicked"), QDBusVariant(0), 0}};
    const QDBusMessage reply = call(QStringLiteral("EventGroup"), {QVariant::fromValue(events)});
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(demarshalled<QList<int>>(reply.arguments().at(0)), QList<int>{999});
    EXPECT_TRUE(triggered.count() == 1 || triggered.wait(10000));
}

TEST_F(DBusMenuExporterTest, PropertyChangesOfOneTurnArriveAsOneDiff) {
    const uint revision = getLayout(0, 0).first;
    const int cleanId = idOf(QStringLiteral("Clean__now"));
    const int freeId = idOf(QStringLiteral("Free"));
    const int wiredId = idOf(QStringLiteral("Wired"));

    clean->setTitle(QStringLiteral("Cleaning..."));
    clean->setTitle(QStringLiteral("Clean_again"));
    free->setImage({});
    wired->setEnabled(true);
    waitForSignals(1);

    ASSERT_EQ(recorder.propertyUpdates.size(), 1);
    const auto &[updated, removed] = recorder.propertyUpdates.first();
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
    EXPECT_TRUE(recorder.layoutUpdates.isEmpty());
    EXPECT_EQ(getLayout(0, 0).first, revision) << "a retitle is no layout change";
}

TEST_F(DBusMenuExporterTest, AddedItemsAnnounceTheirParentWithANewRevision) {
    const uint revision = getLayout(0, 0).first;
    const int swapId = idOf(QStringLiteral("Swap"));
    swap->submenu()->addItem(QStringLiteral("Free swap"));
    waitForSignals(1);

    ASSERT_EQ(recorder.layoutUpdates.size(), 1);
    EXPECT_GT(recorder.layoutUpdates[0].first, revision);
    EXPECT_EQ(recorder.layoutUpdates[0].second, swapId);
    EXPECT_EQ(shapeOf(getLayout(swapId, -1).second.children),
              QStringLiteral("Used, Total, Free swap"));
}

TEST_F(DBusMenuExporterTest, RebuiltMenuGetsFreshIds) {
    const int oldMaximum = idOf(QStringLiteral("Hidden"));
    menu.removeAllItems();
    menu.addItem(QStringLiteral("Clean_now"));
    waitForSignals(1);

    EXPECT_EQ(recorder.layoutUpdates.size(), 1) << "one announcement per turn";
    EXPECT_EQ(recorder.layoutUpdates.value(0).second, 0);
    const DBusMenuLayoutItem root = getLayout(0, -1).second;
    ASSERT_EQ(root.children.size(), 1);
    EXPECT_GT(root.children[0].id, oldMaximum);
    EXPECT_EQ(call(QStringLiteral("GetProperty"), {oldMaximum, QStringLiteral("label")}).type(),
              QDBusMessage::ErrorMessage);
}

TEST_F(DBusMenuExporterTest, AboutToShowLetsTheModelRefreshFirst) {
    QSignalSpy rootShown(&menu, &QRMMenu::aboutToShow);
    QSignalSpy swapShown(swap->submenu(), &QRMMenu::aboutToShow);
    QObject::connect(swap->submenu(), &QRMMenu::aboutToShow, swap->submenu(),
                     [this] { swap->submenu()->addItem(QStringLiteral("Late")); });

    const QDBusMessage root = call(QStringLiteral("AboutToShow"), {0});
    ASSERT_EQ(root.type(), QDBusMessage::ReplyMessage);
    EXPECT_FALSE(root.arguments().at(0).toBool());
    EXPECT_EQ(rootShown.count(), 1);

    const int swapId = idOf(QStringLiteral("Swap"));
    const QDBusMessage group =
        call(QStringLiteral("AboutToShowGroup"), {QVariant::fromValue(QList<int>{swapId, 999})});
    ASSERT_EQ(group.type(), QDBusMessage::ReplyMessage) << group.errorMessage().toStdString();
    EXPECT_EQ(demarshalled<QList<int>>(group.arguments().at(0)), QList<int>{swapId});
    EXPECT_EQ(demarshalled<QList<int>>(group.arguments().at(1)), QList<int>{999});
    EXPECT_EQ(swapShown.count(), 1);
}

}  // namespace
}  // namespace tarnwell

#include "DBusMenuExporterTest.moc"
