#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include "BusTestSupport.h"
#include "QtPrinters.h"

#include "platform/linux/QRMLoginItems.h"
#include "platform/linux/QRMUserNotificationsManager.h"

namespace tarnwell {
namespace {

// An autostart folder of the test's own and two stand-in executables.
class LoginItemsTest : public ::testing::Test {
protected:
    void SetUp() override {
        app = makeExecutable(QStringLiteral("bin/tarnwell"));
        other = makeExecutable(QStringLiteral("bin/other"));
    }

    // A file below home, its folders made first.
    QString write(const QString &relative, const QByteArray &contents = {}) {
        const QString path = home.filePath(relative);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(contents);
        return path;
    }
    QString makeExecutable(const QString &relative) {
        const QString path = write(relative);
        QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        return path;
    }
    void writeEntry(const QString &name, const QByteArray &contents) {
        write(QStringLiteral("autostart/") + name, contents);
    }

    QString folder() const { return home.filePath(QStringLiteral("autostart")); }
    QStringList entries() const {
        return QDir(folder()).entryList({QStringLiteral("*.desktop")}, QDir::Files, QDir::Name);
    }

    QTemporaryDir home;
    QString app;
    QString other;
    QRMLoginItems items{home.filePath(QStringLiteral("autostart"))};
};

// Installed, the login item runs what the menu entry runs; from a build
// folder, or when another tarnwell comes first in PATH, the file itself.
TEST_F(LoginItemsTest, InstalledProgramIsTheOneTheMenuEntryStarts) {
    const QByteArray path = qgetenv("PATH");
    EXPECT_EQ(QRMLoginItems::programFor(app), app) << "no desktop entry beside the prefix";

    write("share/applications/app.tarnwell.Tarnwell.desktop",
          "[Desktop Entry]\nType=Application\nName=Tarnwell\nExec=tarnwell\n");
    qputenv("PATH", QFile::encodeName(home.filePath(QStringLiteral("bin"))) + ':' + path);
    EXPECT_EQ(QRMLoginItems::programFor(app), QStringLiteral("tarnwell"));
    ASSERT_TRUE(items.addApplicationToLoginItems(QRMLoginItems::programFor(app)));
    EXPECT_TRUE(items.findApplicationAtLoginItems(app));

    const QString shadow = makeExecutable(QStringLiteral("first/tarnwell"));
    qputenv("PATH", QFile::encodeName(QFileInfo(shadow).path()) + ':' +
                        QFile::encodeName(home.filePath(QStringLiteral("bin"))) + ':' + path);
    EXPECT_EQ(QRMLoginItems::programFor(app), app);
    qputenv("PATH", path);
}

TEST_F(LoginItemsTest, AddTwiceGivesTwoEntriesAndOneRemoveTakesThemAll) {
    EXPECT_FALSE(items.findApplicationAtLoginItems(app));
    ASSERT_TRUE(items.addApplicationToLoginItems(app));
    ASSERT_TRUE(items.addApplicationToLoginItems(app));
    ASSERT_TRUE(items.addApplicationToLoginItems(other));
    EXPECT_EQ(entries(),
              QStringList({"tarnwell-2.desktop", "tarnwell-3.desktop", "tarnwell.desktop"}));
    EXPECT_TRUE(items.findApplicationAtLoginItems(app));

    items.removeApplicationFromLoginItems(app);
    EXPECT_FALSE(items.findApplicationAtLoginItems(app));
    EXPECT_TRUE(items.findApplicationAtLoginItems(other));
    // An entry whose program was deleted belongs to nobody: neither found nor removed.
    ASSERT_TRUE(QFile::remove(other));
    EXPECT_FALSE(items.findApplicationAtLoginItems(other));
    items.removeApplicationFromLoginItems(other);
    EXPECT_EQ(entries(), QStringList({"tarnwell-3.desktop"}));
}

// Entries written by others count by the file they start. Hostile ones are
// skipped without blocking: a FIFO would block a plain open, a link leads out
// of the folder, one is past the size cap, one does not parse.
TEST_F(LoginItemsTest, MatchesOthersEntriesByTheFileTheyStartAndSkipsHostileOnes) {
    ASSERT_TRUE(QFile::link(app, home.filePath(QStringLiteral("bin/link"))));
    writeEntry("link.desktop",
               "[Desktop Entry]\nExec=" + home.filePath("bin/link").toUtf8() + " --minimized\n");
    writeEntry("quoted.desktop", "[Desktop Entry]\nExec=\"" + app.toUtf8() + "\" %U\n");
    // Switched off by a desktop's own tool: not a login item any more.
    writeEntry("hidden.desktop", "[Desktop Entry]\nExec=" + app.toUtf8() + "\nHidden=true\n");
    ASSERT_EQ(::mkfifo(QFile::encodeName(folder() + "/fifo.desktop").constData(), 0600), 0);
    const QString outside =
        write("outside.desktop", "[Desktop Entry]\nExec=" + app.toUtf8() + "\n");
    ASSERT_TRUE(QFile::link(outside, folder() + "/outside.desktop"));
    writeEntry("huge.desktop",
               "[Desktop Entry]\nExec=" + app.toUtf8() + "\n" + QByteArray(100 * 1024, '#'));
    writeEntry("unterminated.desktop", "[Desktop Entry]\nExec=\"" + app.toUtf8() + "\n");

    EXPECT_TRUE(items.findApplicationAtLoginItems(app));
    items.removeApplicationFromLoginItems(app);
    EXPECT_EQ(entries(), QStringList({"hidden.desktop", "huge.desktop", "outside.desktop",
                                      "unterminated.desktop"}));
    EXPECT_TRUE(QFileInfo::exists(outside));
}

TEST_F(LoginItemsTest, UnwritableFolderFailsAndSaysSoOnce) {
    // A file where the folder should be: nothing can be created under it.
    QFile blocker(folder());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(items.addApplicationToLoginItems(app));
    EXPECT_FALSE(items.addApplicationToLoginItems(app));
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_THAT(said, ::testing::HasSubstr("cannot add a login item"));
    EXPECT_EQ(said.find("cannot add"), said.rfind("cannot add"));
    EXPECT_FALSE(items.findApplicationAtLoginItems(app));
}

// Quoted and escaped as the Desktop Entry Specification spells it; written
// into an entry, the value must also lead back to the same file.
TEST_F(LoginItemsTest, ExecValueIsQuotedAndEscapedAndReadsBack) {
    const std::pair<const char *, const char *> rows[] = {
        {"/usr/bin/tarnwell", "/usr/bin/tarnwell"},
        {"/opt/my apps/tarnwell", "\"/opt/my apps/tarnwell\""},
        {"/opt/100%/tarnwell", "/opt/100%%/tarnwell"},
        {"/opt/a\"b/tarnwell", "\"/opt/a\\\\\"b/tarnwell\""},
        {"/opt/$x/tarnwell", "\"/opt/\\\\$x/tarnwell\""},
        {"/opt/a\\b/tarnwell", "\"/opt/a\\\\\\\\b/tarnwell\""}};
    for (const auto &[file, exec] : rows) {
        EXPECT_EQ(QRMLoginItems::execValue(QString::fromUtf8(file)), QString::fromUtf8(exec));
        const QString path = write(QString::fromUtf8(file).mid(1));
        ASSERT_TRUE(items.addApplicationToLoginItems(path)) << file;
        EXPECT_TRUE(items.findApplicationAtLoginItems(path)) << file;
    }
}

using test::ReceivedNotification;
using test::TestNotificationServer;

void notify(const QString &informativeText, const QString &soundName = {}) {
    QRMUserNotificationsManager::sharedUserNotificationsManager().showNotificationWithTitle(
        QStringLiteral("Tarnwell"), informativeText, soundName);
}

// Sent while nobody owns the service's name, a notification costs the caller
// nothing (the failure is only logged) and does not reach a server that
// starts later. A sound is a hint; the body may be empty or not ASCII.
TEST(UserNotifications, ReachTheNotificationService) {
    notify(QStringLiteral("lost"));
    TestNotificationServer server;
    QSignalSpy notified(&server, &TestNotificationServer::notified);
    const QVariantMap soundHint{{"sound-name", "message-new-instant"}};
    const std::tuple<QString, QString, QVariantMap> rows[] = {
        {"1.25 GB Cleaned", "", {}},
        {"", "message-new-instant", soundHint},
        {"1.25 ГБ Очищено", "", {}}};
    for (const auto &[body, sound, hints] : rows) {
        notify(body, sound);
        ASSERT_TRUE(notified.wait(10000));
        const ReceivedNotification &n = server.received.last();
        EXPECT_EQ(std::tuple(n.appName, n.replacesId, n.summary, n.expireTimeout),
                  std::tuple(QString("Tarnwell"), 0u, QString("Tarnwell"), -1));
        EXPECT_EQ(std::pair(n.body, n.hints), std::pair(body, hints));
    }
    EXPECT_EQ(server.received.size(), 3);
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
