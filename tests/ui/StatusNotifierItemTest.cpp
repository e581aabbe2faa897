#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QFileInfo>
#include <QGuiApplication>
#include <QMenu>
#include <QPainter>
#include <QtEndian>

#include "BusTestSupport.h"
#include "QtPrinters.h"
#include "TestStatusNotifierWatcher.h"
#include "app/QRMMenu.h"
#include "ui/StatusNotifierItem.h"
#include "ui/StatusNotifierItemView.h"

namespace tarnwell {
namespace {

using test::callAndWait;
using test::demarshalled;
using test::TestStatusNotifierWatcher;

const QString kItemInterface = QStringLiteral("org.kde.StatusNotifierItem");

// Records the item's signals as a host receives them.
class ItemSignalRecorder : public QObject {
    Q_OBJECT
public:
    QStringList received;
    std::pair<QString, QString> lastLabel;

public slots:
    void onNewIcon() { record(QStringLiteral("NewIcon")); }
    void onNewLabel(const QString &label, const QString &guide) {
        lastLabel = {label, guide};
        record(QStringLiteral("XAyatanaNewLabel"));
    }

signals:
    void signalled();

private:
    void record(const QString &name) {
        received.append(name);
        emit signalled();
    }
};

QImage filledImage(QColor color, QSize size = {22, 22}) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

// The colour of a pixmap's pixel as sent on the bus: A, R, G, B, most
// significant byte first.
QColor pixelOf(const DBusImage &image, int x, int y) {
    const auto *bytes = reinterpret_cast<const uchar *>(image.pixels.constData());
    const quint32 argb = qFromBigEndian<quint32>(bytes + 4 * (y * image.width + x));
    return QColor::fromRgba(argb);
}

class StatusNotifierItemTest : public ::testing::Test {
protected:
    void SetUp() override { registerDBusTypes(); }
    void TearDown() override { QDBusConnection::disconnectFromBus(QStringLiteral("host")); }

    void waitForRegistration(TestStatusNotifierWatcher &watcher, int count) {
        QSignalSpy registered(&watcher, &TestStatusNotifierWatcher::itemRegistered);
        while (watcher.registeredItems().size() < count) {
            ASSERT_TRUE(registered.wait(10000)) << "the item did not register";
        }
    }

    QVariant itemProperty(const QString &name) {
        return test::propertyOf(host, view->item()->serviceName(),
                                QStringLiteral("/StatusNotifierItem"), kItemInterface, name);
    }

    void subscribe(ItemSignalRecorder &recorder) {
        const QString service = view->item()->serviceName();
        const QString path = QStringLiteral("/StatusNotifierItem");
        host.connect(service, path, kItemInterface, QStringLiteral("NewIcon"), &recorder,
                     SLOT(onNewIcon()));
        host.connect(service, path, kItemInterface, QStringLiteral("XAyatanaNewLabel"), &recorder,
                     SLOT(onNewLabel(QString, QString)));
    }

    void waitFor(ItemSignalRecorder &recorder, const QString &name) {
        QSignalSpy signalled(&recorder, &ItemSignalRecorder::signalled);
        while (!recorder.received.contains(name)) {
            ASSERT_TRUE(signalled.wait(10000)) << name.toStdString() << " never arrived";
        }
    }

    QDBusConnection host = test::peerConnection(QStringLiteral("host"));
    std::unique_ptr<StatusNotifierItemView> view;
};

TEST_F(StatusNotifierItemTest, RegistersAndPublishesLabelIconAndMenu) {
    TestStatusNotifierWatcher watcher(QStringLiteral("watcher"));
    QRMMenu menu;
    menu.addItem(QStringLiteral("Clean"));
    menu.addSeparator();
    menu.addItem(QStringLiteral("Free: 1.00 GB"));
    view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus());
    view->setTitle(QStringLiteral("Free: 42.17 %"));
    view->setImage(filledImage(Qt::red), false);
    view->setMenu(&menu);
    waitForRegistration(watcher, 1);

    const QString service = watcher.registeredItems().at(0);
    EXPECT_EQ(
        service,
        QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid()));
    EXPECT_EQ(watcher.senders().at(0), QDBusConnection::sessionBus().baseService());
    EXPECT_EQ(host.interface()->serviceOwner(service).value(),
              QDBusConnection::sessionBus().baseService());

    EXPECT_EQ(itemProperty(QStringLiteral("XAyatanaLabel")).toString(),
              QStringLiteral("Free: 42.17 %"));
    EXPECT_EQ(itemProperty(QStringLiteral("XAyatanaLabelGuide")).toString(),
              QStringLiteral("Free: 00.00 %"));
    EXPECT_EQ(itemProperty(QStringLiteral("Status")).toString(), QStringLiteral("Active"));
    EXPECT_TRUE(itemProperty(QStringLiteral("ItemIsMenu")).toBool());
    const auto toolTip = demarshalled<DBusToolTip>(itemProperty(QStringLiteral("ToolTip")));
    EXPECT_EQ(toolTip.description, QStringLiteral("Free: 42.17 %"));

    // Hosts that load icons by name find a PNG file in the theme path.
    const QString themePath = itemProperty(QStringLiteral("IconThemePath")).toString();
    const QString iconName = itemProperty(QStringLiteral("IconName")).toString();
    const QImage file(themePath + QLatin1Char('/') + iconName + QStringLiteral(".png"));
    ASSERT_FALSE(file.isNull()) << "no icon file " << iconName.toStdString();
    EXPECT_EQ(file.pixelColor(11, 11), QColor(Qt::red));
    EXPECT_EQ(QFileInfo(themePath).permissions() & (QFile::ReadOther | QFile::ReadGroup), 0)
        << "the icon folder is private";

    const auto pixmaps = demarshalled<DBusImageList>(itemProperty(QStringLiteral("IconPixmap")));
    QList<int> widths;
    for (const DBusImage &pixmap : pixmaps) {
        widths.append(pixmap.width);
        ASSERT_EQ(pixmap.pixels.size(), pixmap.width * pixmap.height * 4);
        EXPECT_EQ(pixelOf(pixmap, pixmap.width / 2, pixmap.height / 2), QColor(Qt::red));
    }
    EXPECT_EQ(widths, StatusNotifierItemView::pixmapSizes());

    const QString menuPath = itemProperty(QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    QDBusMessage getLayout = QDBusMessage::createMethodCall(
        service, menuPath, QStringLiteral("com.canonical.dbusmenu"), QStringLiteral("GetLayout"));
    getLayout << 0 << -1 << QStringList{QStringLiteral("label")};
    const QDBusMessage reply = callAndWait(host, getLayout);
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    const auto layout = demarshalled<DBusMenuLayoutItem>(reply.arguments().at(1));
    QStringList labels;
    for (const DBusMenuLayoutItem &child : layout.children) {
        labels.append(child.properties.value(QStringLiteral("label")).toString());
    }
    EXPECT_EQ(labels,
              (QStringList{QStringLiteral("Clean"), QString(), QStringLiteral("Free: 1.00 GB")}));
}

TEST_F(StatusNotifierItemTest, NonSquareImagesAreLetterboxed) {
    QImage wide(30, 10, QImage::Format_ARGB32);
    wide.fill(Qt::blue);
    const QImage square = StatusNotifierItemView::squared(wide);
    EXPECT_EQ(square.size(), QSize(30, 30));
    EXPECT_EQ(square.pixelColor(15, 15), QColor(Qt::blue));
    EXPECT_EQ(square.pixelColor(15, 2).alpha(), 0);
    EXPECT_EQ(square.pixelColor(15, 27).alpha(), 0);
}

TEST_F(StatusNotifierItemTest, LabelChangesAreSignalledWithTheirGuide) {
    TestStatusNotifierWatcher watcher(QStringLiteral("watcher"));
    view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus());
    waitForRegistration(watcher, 1);
    ItemSignalRecorder recorder;
    subscribe(recorder);

    view->setTitle(QStringLiteral("1.25 GB"));
    waitFor(recorder, QStringLiteral("XAyatanaNewLabel"));
    EXPECT_EQ(recorder.lastLabel,
              std::make_pair(QStringLiteral("1.25 GB"), QStringLiteral("0.00 GB")));
    EXPECT_EQ(itemProperty(QStringLiteral("XAyatanaLabel")).toString(), QStringLiteral("1.25 GB"));
}

TEST_F(StatusNotifierItemTest, EachNewPictureGetsANewFileAndTheOldOneGoes) {
    TestStatusNotifierWatcher watcher(QStringLiteral("watcher"));
    view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus());
    view->setImage(filledImage(Qt::red), false);
    waitForRegistration(watcher, 1);
    const QString themePath = itemProperty(QStringLiteral("IconThemePath")).toString();
    const QString firstName = itemProperty(QStringLiteral("IconName")).toString();
    ItemSignalRecorder recorder;
    subscribe(recorder);

    // The same picture again costs the hosts nothing: the label change sent
    // after it arrives with no icon change before it.
    view->setImage(filledImage(Qt::red), false);
    view->setTitle(QStringLiteral("marker"));
    waitFor(recorder, QStringLiteral("XAyatanaNewLabel"));
    EXPECT_EQ(recorder.received, QStringList{QStringLiteral("XAyatanaNewLabel")});

    view->setImage(filledImage(Qt::blue), false);
    waitFor(recorder, QStringLiteral("NewIcon"));
    const QString secondName = itemProperty(QStringLiteral("IconName")).toString();
    EXPECT_NE(secondName, firstName);
    EXPECT_TRUE(
        QFileInfo::exists(themePath + QLatin1Char('/') + secondName + QStringLiteral(".png")));
    EXPECT_FALSE(
        QFileInfo::exists(themePath + QLatin1Char('/') + firstName + QStringLiteral(".png")));
}

TEST_F(StatusNotifierItemTest, TemplateImagesFollowThePaletteOfTheDesktop) {
    TestStatusNotifierWatcher watcher(QStringLiteral("watcher"));
    QGuiApplication::setPalette(QPalette(Qt::white));  // light
    view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus());
    QImage mask(22, 22, QImage::Format_ARGB32);
    mask.fill(Qt::transparent);
    QPainter(&mask).fillRect(6, 6, 10, 10, Qt::red);
    view->setImage(mask, true);
    waitForRegistration(watcher, 1);
    ItemSignalRecorder recorder;
    subscribe(recorder);

    auto centreOfLargest = [this] {
        const auto pixmaps =
            demarshalled<DBusImageList>(itemProperty(QStringLiteral("IconPixmap")));
        return pixmaps.isEmpty()
                   ? QColor()
                   : pixelOf(pixmaps.last(), pixmaps.last().width / 2, pixmaps.last().height / 2);
    };
    EXPECT_EQ(centreOfLargest(), QColor(Qt::black));

    QPalette dark(QColor(30, 30, 30));
    dark.setColor(QPalette::WindowText, Qt::white);
    QGuiApplication::setPalette(dark);
    waitFor(recorder, QStringLiteral("NewIcon"));
    EXPECT_EQ(centreOfLargest(), QColor(Qt::white));
    QGuiApplication::setPalette(QPalette());
}

TEST_F(StatusNotifierItemTest, RegistersWithEveryNewWatcher) {
    view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus());
    {
        // A watcher that starts after the item.
        TestStatusNotifierWatcher first(QStringLiteral("first"));
        waitForRegistration(first, 1);
    }
    // The panel restarts: its new watcher hears from the item again.
    TestStatusNotifierWatcher second(QStringLiteral("second"));
    waitForRegistration(second, 1);
    EXPECT_EQ(second.registeredItems(), QStringList{view->item()->serviceName()});
}

TEST_F(StatusNotifierItemTest, ActivationOpensTheMenu) {
    TestStatusNotifierWatcher watcher(QStringLiteral("watcher"));
    QRMMenu menu;
    menu.addItem(QStringLiteral("Clean"));
    QSignalSpy modelShown(&menu, &QRMMenu::aboutToShow);
    view = std::make_unique<StatusNotifierItemView>(QDBusConnection::sessionBus());
    view->setMenu(&menu);
    waitForRegistration(watcher, 1);

    QDBusMessage activate = QDBusMessage::createMethodCall(
        view->item()->serviceName(), QStringLiteral("/StatusNotifierItem"), kItemInterface,
        QStringLiteral("Activate"));
    activate << 40 << 10;
    EXPECT_EQ(callAndWait(host, activate).type(), QDBusMessage::ReplyMessage);
    EXPECT_TRUE(modelShown.count() == 1 || modelShown.wait(10000))
        << "the menu did not open, or did not let the model refresh first";
}

}  // namespace
}  // namespace tarnwell

#include "StatusNotifierItemTest.moc"
