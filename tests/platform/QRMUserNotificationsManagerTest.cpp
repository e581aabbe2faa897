#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>

#include "QtPrinters.h"

#include "platform/linux/QRMUserNotificationsManager.h"

namespace tarnwell {
namespace {

struct Notification {
    QString appName;
    uint replacesId = 0;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
    int expireTimeout = 0;
};

// Owns org.freedesktop.Notifications on a connection of its own and keeps
// what arrives.
class TestNotificationServer : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    TestNotificationServer() {
        connection_.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                                   QDBusConnection::ExportAllSlots);
        connection_.registerService(QStringLiteral("org.freedesktop.Notifications"));
    }
    ~TestNotificationServer() override {
        QDBusConnection::disconnectFromBus(QStringLiteral("server"));
    }

    QList<Notification> received;

public slots:
    uint Notify(const QString &appName, uint replacesId, const QString &, const QString &summary,
                const QString &body, const QStringList &actions, const QVariantMap &hints,
                int expireTimeout) {
        received.append({appName, replacesId, summary, body, actions, hints, expireTimeout});
        emit notified();
        return uint(received.size());
    }

    // What the service sends when the user clicks (or closes) notification id.
    void emitSignal(const QString &name, uint id, const QString &actionKey = {}) {
        QDBusMessage message =
            QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/Notifications"),
                                       QStringLiteral("org.freedesktop.Notifications"), name);
        message << id;
        if (name == u"ActionInvoked") {
            message << actionKey;
        }
        connection_.send(message);
    }

signals:
    void notified();

private:
    QDBusConnection connection_ =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("server"));
};

void notify(const QString &informativeText, const QString &soundName = {}) {
    QRMUserNotificationsManager::sharedUserNotificationsManager().showNotificationWithTitle(
        QStringLiteral("Tarnwell"), informativeText, soundName);
}

struct NotificationCase {
    const char *name;
    const char *informativeText;
    const char *soundName;
    QVariantMap expectedHints;
};

class UserNotifications : public ::testing::TestWithParam<NotificationCase> {};

TEST_P(UserNotifications, ReachTheNotificationService) {
    TestNotificationServer server;
    QSignalSpy notified(&server, &TestNotificationServer::notified);
    notify(QString::fromUtf8(GetParam().informativeText), QString::fromUtf8(GetParam().soundName));
    ASSERT_TRUE(notified.wait(10000));

    ASSERT_EQ(server.received.size(), 1);
    const Notification &n = server.received.first();
    EXPECT_EQ(n.appName, QStringLiteral("Tarnwell"));
    EXPECT_EQ(n.replacesId, 0u);
    EXPECT_EQ(n.summary, QStringLiteral("Tarnwell"));
    EXPECT_EQ(n.body, QString::fromUtf8(GetParam().informativeText));
    EXPECT_EQ(n.hints, GetParam().expectedHints);
    EXPECT_EQ(n.expireTimeout, -1);
}

const QVariantMap kSoundHint{{QStringLiteral("sound-name"), QStringLiteral("message-new-instant")}};

INSTANTIATE_TEST_SUITE_P(
    Notify, UserNotifications,
    ::testing::Values(NotificationCase{"WithSound", "1.25 GB Cleaned", "message-new-instant",
                                       kSoundHint},
                      NotificationCase{"Silent", "1.25 GB Cleaned", "", {}},
                      NotificationCase{"NoBody", "", "message-new-instant", kSoundHint},
                      NotificationCase{"NonAsciiBody", "1.25 ГБ Очищено", "", {}}),
    test::caseName);

TEST(UserNotificationsWithoutService, CostTheCallerNothing) {
    // Nobody owns the name: the call returns at once and the failure is
    // only logged. A server that starts later sees nothing stale.
    notify(QStringLiteral("lost"));
    TestNotificationServer server;
    QSignalSpy notified(&server, &TestNotificationServer::notified);
    notify(QStringLiteral("seen"));
    ASSERT_TRUE(notified.wait(10000));
    ASSERT_EQ(server.received.size(), 1);
    EXPECT_EQ(server.received.first().body, QStringLiteral("seen"));
}

TEST(UserNotificationsWithAction, ClickingRunsTheActionOfThatNotificationOnly) {
    TestNotificationServer server;
    QSignalSpy notified(&server, &TestNotificationServer::notified);
    QRMUserNotificationsManager manager(QDBusConnection::sessionBus());
    QStringList activated;
    manager.showNotificationWithAction("Tarnwell 2.0 is available", "", "Show",
                                       [&] { activated << "first"; });
    ASSERT_TRUE(notified.wait(10000));
    manager.showNotificationWithAction("second", "", "Show", [&] { activated << "second"; });
    ASSERT_TRUE(notified.wait(10000));
    EXPECT_EQ(server.received.first().actions, QStringList({"default", "Show"}));

    server.emitSignal("ActionInvoked", 1, "other-action");
    server.emitSignal("NotificationClosed", 2);
    server.emitSignal("ActionInvoked", 2, "default");
    server.emitSignal("ActionInvoked", 1, "default");
    // Signals arrive in order, so the earlier ones have been handled by then.
    ASSERT_TRUE(QTest::qWaitFor([&] { return !activated.isEmpty(); }, 10000));
    EXPECT_EQ(activated, QStringList{"first"});
}

}  // namespace
}  // namespace tarnwell

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

#include "QRMUserNotificationsManagerTest.moc"
