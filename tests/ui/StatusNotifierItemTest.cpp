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
#include "ui/PanelAppearance.h"
#include "ui/StatusNotifierItem.h"
#include "ui/StatusNotifierItemView.h"

namespace tarnwell {
namespace {

using test::demarshalled;
using test::TestStatusNotifierWatcher;

const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kItemInterface = QStringLiteral("org.kde.StatusNotifierItem");

QImage filledImage(QColor color) {
    QImage image(22, 22, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

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

    QVariant itemProperty(const QString &name) {
        return test::propertyOf(host, view->item()->serviceName(), kItemPath, kItemInterface, name);
    }

    QString iconFile() {
        return itemProperty(QStringLiteral("IconThemePath")).toString() + QLatin1Char('/') +
               itemProperty(QStringLiteral("IconName")).toString() + QStringLiteral(".png");
    }

    QColor centreOfLargestPixmap() {
        const auto pixmaps =
            demarshalled<DBusImageList>(itemProperty(QStringLiteral("IconPixmap")));
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
    QImage wide(30, 10, QImage::Format_ARGB32);
    wide.fill(Qt::red);
    startItem(wide);
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
    EXPECT_EQ(itemProperty(QStringLiteral("XAyatanaLabel")).toString(),
              QStringLiteral("Free: 42.17 %"));
    EXPECT_EQ(itemProperty(QStringLiteral("XAyatanaLabelGuide")).toString(),
              QStringLiteral("Free: 00.00 %"));
    const auto toolTip = demarshalled<DBusToolTip>(itemProperty(QStringLiteral("ToolTip")));
    EXPECT_EQ(toolTip.description, QStringLiteral("Free memory: 8.00 GB (42.17 %)"));

    // Hosts that load icons by name find a PNG file in a private folder; a
    // picture that is not square is letterboxed.
    const QImage file(iconFile());
    EXPECT_EQ(file.pixelColor(file.width() / 2, file.height() / 2), QColor(Qt::red));
    EXPECT_EQ(file.pixelColor(file.width() / 2, 2).alpha(), 0);
    EXPECT_EQ(QFileInfo(itemProperty(QStringLiteral("IconThemePath")).toString()).permissions() &
                  (QFile::ReadOther | QFile::ReadGroup),
              0);
    // Pixmaps for small and large panels, the largest no more than 64 px.
    const auto pixmaps = demarshalled<DBusImageList>(itemProperty(QStringLiteral("IconPixmap")));
    ASSERT_GE(pixmaps.size(), 2);
    EXPECT_LE(pixmaps.first().width, 22);
    EXPECT_LE(pixmaps.last().width, 64);
    for (const DBusImage &pixmap : pixmaps) {
        ASSERT_EQ(pixmap.width, pixmap.height);
        ASSERT_EQ(pixmap.pixels.size(), pixmap.width * pixmap.height * 4);
        EXPECT_EQ(centreOf(pixmap), QColor(Qt::red));
    }

    QDBusMessage getLayout = QDBusMessage::createMethodCall(
        service, itemProperty(QStringLiteral("Menu")).value<QDBusObjectPath>().path(),
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
    startItem(filledImage(Qt::red));
    const QString firstFile = iconFile();

    // The same picture again costs the hosts nothing: the label change sent
    // after it arrives with no icon change before it.
    view->setImage(filledImage(Qt::red), false);
    view->setTitle(QStringLiteral("1.25 GB"));
    recorder.waitFor(QStringLiteral("XAyatanaNewLabel"));
    EXPECT_EQ(recorder.names(), QStringList{QStringLiteral("XAyatanaNewLabel")});
    EXPECT_EQ(recorder.received.last().arguments(),
              (QVariantList{QStringLiteral("1.25 GB"), QStringLiteral("0.00 GB")}));

    view->setImage(filledImage(Qt::blue), false);
    recorder.waitFor(QStringLiteral("NewIcon"));
    EXPECT_NE(iconFile(), firstFile);
    EXPECT_TRUE(QFileInfo::exists(iconFile()));
    EXPECT_FALSE(QFileInfo::exists(firstFile));

    // lxqt-panel and KDE show no label: the figure goes into the icon
    // instead, and is not repeated as a label.
    recorder.received.clear();
    view->setTitleDrawn(true);
    recorder.waitFor(QStringLiteral("NewIcon"));
    EXPECT_EQ(itemProperty(QStringLiteral("XAyatanaLabel")).toString(), QString());
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

}  // namespace
}  // namespace tarnwell
