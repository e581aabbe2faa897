#include <gtest/gtest.h>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>

#include "CaseName.h"
#include "QtPrinters.h"
#include "TestNotificationServer.h"

#include "platform/linux/QRMUserNotificationsManager.h"

namespace tarnwell {
namespace {

using test::ReceivedNotification;
using test::TestNotificationServer;

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

// Sent while nobody owns the service's name, a notification costs the caller
// nothing (the failure is only logged) and does not reach a server that
// starts later.
TEST_P(UserNotifications, ReachTheNotificationService) {
    notify(QStringLiteral("lost"));
    TestNotificationServer server;
    QSignalSpy notified(&server, &TestNotificationServer::notified);
    notify(QString::fromUtf8(GetParam().informativeText), QString::fromUtf8(GetParam().soundName));
    ASSERT_TRUE(notified.wait(10000));

    ASSERT_EQ(server.received.size(), 1);
    const ReceivedNotification &n = server.received.first();
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
