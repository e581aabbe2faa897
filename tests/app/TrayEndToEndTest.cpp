// The tray application end to end on a private session bus (the test runs
// under its own dbus-run-session): this test is the panel's
// StatusNotifierWatcher and the desktop's notification service. It reads the
// item's label and menu, clicks the clean command through dbusmenu and sees
// the notification arrive. The program reads a small captured /proc whose
// free memory the test raises before the click, so the cleaning frees a
// known amount without touching more than a few MiB of real memory.
#include <filesystem>

#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QRegularExpression>
#include <QSaveFile>
#include <QSettings>
#include <QSignalSpy>

#include "BuildInfo.h"
#include "ThrowAwayRun.h"

namespace tarnwell::testing {
namespace {

class TestWatcher : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isHostRegistered)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
public:
    int protocolVersion() const { return 0; }
    bool isHostRegistered() const { return true; }
    QStringList items() const { return items_; }

    // The bus name that registered the item.
    QString sender;

public slots:
    void RegisterStatusNotifierItem(const QString &itemService) {
        sender = message().service();
        items_ << itemService;
        emit StatusNotifierItemRegistered(itemService);
    }
    void RegisterStatusNotifierHost(const QString &) {}

signals:
    void StatusNotifierItemRegistered(const QString &service);
    void StatusNotifierHostRegistered();

private:
    QStringList items_;
};

class TestNotifications : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public slots:
    uint Notify(const QString &, uint, const QString &, const QString &summary, const QString &body,
                const QStringList &, const QVariantMap &hints, int) {
        emit notified(summary, body, hints.value("sound-name").toString());
        return 1;
    }

signals:
    void notified(const QString &summary, const QString &body, const QString &soundName);
};

class LabelListener : public QObject {
    Q_OBJECT
public slots:
    void onNewLabel(const QString &label, const QString &) { emit changed(label); }
signals:
    void changed(const QString &label);
};

struct LayoutItem {
    int id = 0;
    QVariantMap properties;
    QList<LayoutItem> children;
};

LayoutItem readLayoutItem(const QDBusArgument &argument) {
    LayoutItem item;
    argument.beginStructure();
    argument >> item.id >> item.properties;
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant child;
        argument >> child;
        item.children << readLayoutItem(child.variant().value<QDBusArgument>());
    }
    argument.endArray();
    argument.endStructure();
    return item;
}

const LayoutItem *findByLabel(const LayoutItem &root, const QString &label) {
    for (const LayoutItem &child : root.children) {
        if (child.properties.value("label").toString().remove('_') == label) {
            return &child;
        }
        if (const LayoutItem *found = findByLabel(child, label)) {
            return found;
        }
    }
    return nullptr;
}

// The captured meminfo with the figures the test sets, replaced in one step
// so the program never reads half a file.
void writeMeminfo(const QString &proc, uint64_t memFreeKiB) {
    QFile capture(TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap/proc/meminfo");
    ASSERT_TRUE(capture.open(QIODevice::ReadOnly));
    QString text = QString::fromLatin1(capture.readAll());
    const std::pair<const char *, uint64_t> figures[] = {{"MemTotal", 1024 * 1024},
                                                         {"MemFree", memFreeKiB},
                                                         {"MemAvailable", 400 * 1024},
                                                         {"Inactive", 4096}};
    for (const auto &[key, kib] : figures) {
        text.replace(QRegularExpression(QStringLiteral("^%1:\\s+\\d+ kB$").arg(key),
                                        QRegularExpression::MultilineOption),
                     QStringLiteral("%1: %2 kB").arg(key).arg(kib));
    }
    QSaveFile meminfo(proc + "/meminfo");
    ASSERT_TRUE(meminfo.open(QIODevice::WriteOnly));
    meminfo.write(text.toLatin1());
    ASSERT_TRUE(meminfo.commit());
}

class TrayEndToEnd : public ::testing::Test {
protected:
    void SetUp() override {
        if (qEnvironmentVariableIsEmpty("DBUS_SESSION_BUS_ADDRESS")) {
            GTEST_SKIP() << "needs its own session bus (run under dbus-run-session)";
        }
        const QString root = run.home.filePath("memory");
        std::filesystem::copy(TARNWELL_TEST_DATA_DIR "/memory/debian12-6.18-noswap",
                              root.toStdString(), std::filesystem::copy_options::recursive);
        proc = root + "/proc";
        writeMeminfo(proc, 4096);

        // No periodic sample may replace the "before" figure during the test.
        QSettings settings(run.settingsFile(), QSettings::IniFormat);
        settings.setValue("refreshRate", 3600);
        settings.setValue("statusBarText", 2);
        // This test, as the watcher, is no host known to show the label.
        settings.setValue("statusBarTextPlacement", 1);
        // Welcomed already: this test is about the tray, not the web view.
        settings.setValue("isWelcomeShown", true);
        settings.setValue("bundleBuild", kBuildNumber);
        settings.sync();

        QDBusConnection bus = QDBusConnection::sessionBus();
        ASSERT_TRUE(bus.connect(QString(), "/StatusNotifierItem", "org.kde.StatusNotifierItem",
                                "XAyatanaNewLabel", &labelListener,
                                SLOT(onNewLabel(QString, QString))));
        ASSERT_TRUE(bus.registerObject("/StatusNotifierWatcher", &watcher,
                                       QDBusConnection::ExportAllContents));
        ASSERT_TRUE(bus.registerService("org.kde.StatusNotifierWatcher"));
        ASSERT_TRUE(bus.registerObject("/org/freedesktop/Notifications", &notifications,
                                       QDBusConnection::ExportAllContents));
        ASSERT_TRUE(bus.registerService("org.freedesktop.Notifications"));

        const QString runtime = run.home.filePath("runtime");
        QDir().mkpath(runtime);
        QFile::setPermissions(
            runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        run.env.insert("XDG_RUNTIME_DIR", runtime);
        run.env.insert("LC_ALL", "C.UTF-8");
        run.env.remove("LANGUAGE");
        run.env.insert("DISPLAY", ":9999");  // a desktop session, drawn offscreen
        run.env.insert("QT_QPA_PLATFORM", "offscreen");
        run.env.insert("TARNWELL_MEMORY_ROOT", root);
        run.process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    }

    // Waits until the item's label reads as expected; the item announces
    // every change with XAyatanaNewLabel.
    bool waitForLabel(const QString &expected) {
        for (;;) {
            if (itemProperty("XAyatanaLabel").toString() == expected) {
                return true;
            }
            if (!labelChanges.wait(30000)) {
                return false;
            }
        }
    }

    QVariant itemProperty(const QString &name) {
        QDBusMessage call = QDBusMessage::createMethodCall(
            watcher.sender, "/StatusNotifierItem", "org.freedesktop.DBus.Properties", "Get");
        call << QStringLiteral("org.kde.StatusNotifierItem") << name;
        const QDBusMessage reply = QDBusConnection::sessionBus().call(call);
        if (reply.type() != QDBusMessage::ReplyMessage) {
            ADD_FAILURE() << reply.errorMessage().toStdString();
            return {};
        }
        return reply.arguments().value(0).value<QDBusVariant>().variant();
    }

    ThrowAwayRun run;
    QString proc;
    LabelListener labelListener;
    QSignalSpy labelChanges{&labelListener, &LabelListener::changed};
    TestWatcher watcher;
    TestNotifications notifications;
};

TEST_F(TrayEndToEnd, CleanFromTheMenuNotifies) {
    QSignalSpy registered(&watcher, &TestWatcher::StatusNotifierItemRegistered);
    run.start();
    ASSERT_TRUE(registered.wait(30000));

    ASSERT_TRUE(waitForLabel("4.00 MB"));
    const QString menuPath = itemProperty("Menu").value<QDBusObjectPath>().path();
    ASSERT_FALSE(menuPath.isEmpty());

    QDBusMessage layoutCall = QDBusMessage::createMethodCall(watcher.sender, menuPath,
                                                             "com.canonical.dbusmenu", "GetLayout");
    layoutCall << 0 << -1 << QStringList();
    const QDBusMessage layout = QDBusConnection::sessionBus().call(layoutCall);
    ASSERT_EQ(layout.type(), QDBusMessage::ReplyMessage) << layout.errorMessage().toStdString();
    const LayoutItem root = readLayoutItem(layout.arguments().value(1).value<QDBusArgument>());
    const LayoutItem *clean = findByLabel(root, "Clean Memory Now");
    ASSERT_NE(clean, nullptr);
    EXPECT_NE(findByLabel(root, "    4.00 MB Free"), nullptr);
    EXPECT_NE(findByLabel(root, "Quit"), nullptr);

    // 96 MiB more free memory after the cleaning than before it.
    writeMeminfo(proc, 100 * 1024);
    QSignalSpy notified(&notifications, &TestNotifications::notified);
    QDBusMessage event =
        QDBusMessage::createMethodCall(watcher.sender, menuPath, "com.canonical.dbusmenu", "Event");
    event << clean->id << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant(QString()))
          << 0u;
    QDBusConnection::sessionBus().call(event, QDBus::NoBlock);
    ASSERT_TRUE(notified.wait(30000));
    EXPECT_EQ(notified[0][0].toString(), "Tarnwell");
    EXPECT_EQ(notified[0][1].toString(), "96.00 MB cleaned");
    EXPECT_EQ(notified[0][2].toString(), "message-new-instant");

    run.stopWith(SIGTERM);

    // The statistics were stored where the next run finds them.
    QSettings stored(run.settingsFile(), QSettings::IniFormat);
    EXPECT_EQ(stored.value("lastTimeCleaned").toULongLong(), 96ull << 20);
}

TEST_F(TrayEndToEnd, ASecondStartHandsOverToTheFirstAndExits) {
    QSignalSpy registered(&watcher, &TestWatcher::StatusNotifierItemRegistered);
    run.start();
    ASSERT_TRUE(registered.wait(30000));

    ThrowAwayRun second;
    second.env = run.env;
    second.start();
    ASSERT_TRUE(second.process.waitForFinished(30000));
    EXPECT_EQ(second.process.exitCode(), 0);
    EXPECT_EQ(second.process.readAllStandardOutput(),
              "Tarnwell is already running; its preferences are open\n");
    EXPECT_EQ(watcher.items().size(), 1) << "a second item reached the panel";

    // The terminal mode is no second status item and may run beside it.
    ThrowAwayRun console;
    console.env = run.env;
    console.start({"--console"});
    ASSERT_TRUE(console.process.waitForReadyRead(30000));
    console.stopWith(SIGINT);

    run.stopWith(SIGTERM);
}

}  // namespace
}  // namespace tarnwell::testing

#include "TrayEndToEndTest.moc"
