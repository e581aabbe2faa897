// The tray application on a private session bus, with this test as the
// panel's watcher and the notification service. The program reads a captured
// /proc whose free memory the test raises before the click, so the cleaning
// "frees" a known amount without touching real memory.
#include <filesystem>

#include <QSaveFile>
#include <QSettings>

#include "BuildInfo.h"
#include "BusTestSupport.h"
#include "QtPrinters.h"
#include "ThrowAwayRun.h"

namespace tarnwell::testing {
namespace {

const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kItemInterface = QStringLiteral("org.kde.StatusNotifierItem");

TEST(TrayEndToEnd, CleansFromTheMenuAndStaysTheOnlyItem) {
    ThrowAwayRun run;
    const QString root = run.home.filePath("memory");
    // 1 GiB installed, 4 MiB free: a cleaning touches a few MiB.
    std::filesystem::copy(TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap-1gib",
                          root.toStdString(), std::filesystem::copy_options::recursive);
    {
        // No periodic sample may replace the "before" figure; the label is
        // sent as a label (this watcher is no known host); welcomed already.
        QSettings settings(run.settingsFile(), QSettings::IniFormat);
        settings.setValue("refreshRate", 3600);
        settings.setValue("statusBarText", 2);
        settings.setValue("statusBarTextPlacement", 1);
        settings.setValue("isWelcomeShown", true);
        settings.setValue("bundleBuild", kBuildNumber);
    }
    run.env.insert("LC_ALL", "C.UTF-8");
    run.env.remove("LANGUAGE");
    run.env.insert("DISPLAY", ":9999");  // a desktop session, drawn offscreen
    run.env.insert("QT_QPA_PLATFORM", "offscreen");
    run.env.insert("TARNWELL_MEMORY_ROOT", root);
    run.process.setProcessChannelMode(QProcess::ForwardedErrorChannel);

    registerDBusTypes();
    const QDBusConnection bus = QDBusConnection::sessionBus();
    test::BusSignalRecorder labels;
    labels.listen(bus, QString(), kItemPath, kItemInterface, {QStringLiteral("XAyatanaNewLabel")});
    test::TestStatusNotifierWatcher watcher(QStringLiteral("watcher"));
    test::TestNotificationServer notifications;
    QSignalSpy registered(&watcher, &test::TestStatusNotifierWatcher::itemRegistered);
    run.start();
    ASSERT_TRUE(registered.wait(30000));
    const QString item = watcher.senders.value(0);
    auto itemProperty = [&](const char *name) {
        return test::propertyOf(bus, item, kItemPath, kItemInterface, QString::fromLatin1(name));
    };
    QSignalSpy heard(&labels, &test::BusSignalRecorder::recorded);
    while (itemProperty("XAyatanaLabel").toString() != "4.00 MB") {
        ASSERT_TRUE(heard.wait(30000)) << "the label never showed the free memory";
    }

    const QString menuPath = itemProperty("Menu").value<QDBusObjectPath>().path();
    const QDBusMessage layout = test::callAndWait(bus, item, menuPath, "com.canonical.dbusmenu",
                                                  "GetLayout", {0, -1, QStringList()});
    ASSERT_EQ(layout.type(), QDBusMessage::ReplyMessage) << layout.errorMessage().toStdString();
    const auto menu = test::demarshalled<DBusMenuLayoutItem>(layout.arguments().value(1));
    const int clean = test::menuItemId(menu, "Clean Memory Now");
    ASSERT_NE(clean, 0);
    EXPECT_NE(test::menuItemId(menu, "    4.00 MB Free"), 0);
    EXPECT_NE(test::menuItemId(menu, "Quit"), 0);

    // 96 MiB more free memory after the cleaning than before it, replaced in
    // one step so the program never reads half a file.
    QFile capture(root + "/proc/meminfo");
    ASSERT_TRUE(capture.open(QIODevice::ReadOnly));
    QSaveFile meminfo(capture.fileName());
    ASSERT_TRUE(meminfo.open(QIODevice::WriteOnly));
    meminfo.write(capture.readAll().replace("MemFree:            4096 kB", "MemFree: 102400 kB"));
    ASSERT_TRUE(meminfo.commit());
    QSignalSpy notified(&notifications, &test::TestNotificationServer::notified);
    test::callAndWait(bus, item, menuPath, "com.canonical.dbusmenu", "Event",
                      {clean, "clicked", QVariant::fromValue(QDBusVariant(QString())), 0u});
    ASSERT_TRUE(notified.wait(30000));
    const test::ReceivedNotification &notification = notifications.received.first();
    EXPECT_EQ(notification.summary, "Tarnwell");
    EXPECT_EQ(notification.body, "96.00 MB cleaned");
    EXPECT_EQ(notification.hints.value("sound-name").toString(), "message-new-instant");

    ThrowAwayRun second;
    second.env = run.env;
    second.start();
    ASSERT_TRUE(second.process.waitForFinished(30000));
    EXPECT_EQ(second.process.exitCode(), 0);
    EXPECT_EQ(second.process.readAllStandardOutput(),
              "Tarnwell is already running; its preferences are open\n");
    EXPECT_EQ(watcher.registeredItems.size(), 1) << "a second item reached the panel";

    ThrowAwayRun console;
    console.env = run.env;
    console.start({"--console"});
    ASSERT_TRUE(console.process.waitForReadyRead(30000));
    console.stopWith(SIGINT);

    run.stopWith(SIGTERM);
    QSettings stored(run.settingsFile(), QSettings::IniFormat);
    EXPECT_EQ(stored.value("lastTimeCleaned").toULongLong(), 96ull << 20);
}

}  // namespace
}  // namespace tarnwell::testing
