#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>

#include "TestHttpServer.h"
#include "preferences/QRMPreferencesManager.h"
#include "updates/PackageInstaller.h"
#include "updates/QRMUpdater.h"
#include "updates/UpdateWindow.h"

namespace tarnwell::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// What the windows were asked to show, one line a call.
struct RecordingUserInterface : UpdaterUserInterface {
    void showUpToDate(const QString &version) override { calls << "up to date " + version; }
    void showUpdateFound(const AppcastItem &item, const QString &notes, bool ready) override {
        calls
            << QStringLiteral("found %1 ready=%2 notes=%3").arg(item.version).arg(ready).arg(notes);
    }
    void notifyUpdateFound(const AppcastItem &item, bool ready) override {
        calls << QStringLiteral("notify %1 ready=%2").arg(item.version).arg(ready);
    }
    void showDownloadProgress(qint64, qint64 total) override { progressTotal = total; }
    void showInstalling() override { calls << "installing"; }
    void offerRestart(const AppcastItem &item) override { calls << "restart " + item.version; }
    void showFailure(UpdateFailure failure, const QString &detail) override {
        calls << QStringLiteral("failure %1").arg(int(failure));
        lastDetail = detail.toStdString();
    }
    QStringList calls;
    std::string lastDetail;
    qint64 progressTotal = 0;
};

struct FakeInstaller : PackageInstaller {
    void install(const QString &path, Done done) override {
        QFile file(path);
        installed << (file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable"));
        done(outcome, QStringLiteral("dpkg: error"));
    }
    Outcome outcome = Outcome::Installed;
    QList<QByteArray> installed;
};

constexpr qint64 kNow = 1'800'000'000;
constexpr auto kUser = &QRMUpdater::checkForUpdates;
constexpr auto kBackground = &QRMUpdater::checkForUpdatesInBackground;
ScriptedReply ok(const QByteArray &body) {
    return ScriptedReply::respond(200, {}, body);
}
const QByteArray kPackage = QByteArray("!<arch>\ndebian-binary   ") + QByteArray(3000, 'p');
// RFC 8032's first test key (section 7.1, TEST 1), its signature of kPackage
// (made with openssl pkeyutl -sign -rawin) and its published one of the empty
// message, a good signature of other bytes.
const QByteArray kPublicKey =
    QByteArray::fromHex("d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a");
const QByteArray kPackageSignature =
    "FN6FbWnVD/Fg1q/XqPoIfa8Sx4Kiir78WEcF5x2blntS1Uvz6C6hCKCKTeYdgInftm3OhqhMKhSxwOdUWFvSAg==";
const QByteArray kOtherSignature =
    "5VZDAMNgrHKQhuLMgG6CioSHfx645dl02HPgZSJJAVVfuIIVkKM7rMYeOXAc+bRr0lv18FlbviRlUUFDjnoQCw==";

class UpdaterTest : public ::testing::Test {
protected:
    std::unique_ptr<QRMUpdater> makeUpdater() {
        auto updater = std::make_unique<QRMUpdater>(
            preferences_, installer_,
            QRMUpdater::Environment{"100", "1.0", "12", downloads(), kPublicKey,
                                    [this] { return clock_; }, std::chrono::milliseconds(400)});
        updater->setUserInterface(&ui_);
        updater->setFeedURL(server_.url("/appcast.xml"));
        return updater;
    }

    QString downloads() const { return dir_.filePath("downloads"); }
    QStringList filesInDownloads() const { return QDir(downloads()).entryList(QDir::Files); }

    // A feed with one release whose package is kPackage, as the server sends it.
    QByteArray feed(const QByteArray &version, const QByteArray &extra = {},
                    qint64 length = kPackage.size(),
                    const QByteArray &signature = kPackageSignature) const {
        return R"(<?xml version="1.0"?><rss version="2.0"
            xmlns:sparkle="http://www.andymatuschak.org/xml-namespaces/sparkle"><channel>
            <item><sparkle:version>)" +
               version + "</sparkle:version><sparkle:shortVersionString>v" + version +
               "</sparkle:shortVersionString>" + extra +
               "<enclosure url=\"/tarnwell.deb\" length=\"" + QByteArray::number(length) +
               "\" type=\"application/vnd.debian.binary-package\" "
               "sparkle:edSignature=\"" +
               signature + "\"/></item></channel></rss>";
    }
    void serve(const QByteArray &body) { server_.script(ok(body)); }

    void finishSession() {
        QSignalSpy finished(updater_.get(), &QRMUpdater::sessionFinished);
        ASSERT_TRUE(finished.wait(5000));
    }
    void check(void (QRMUpdater::*how)(), const QList<ScriptedReply> &replies = {}) {
        for (const ScriptedReply &reply : replies) {
            server_.script(reply);
        }
        (updater_.get()->*how)();
        finishSession();
    }
    void downloadInBackground() {
        updater_->setAutomaticallyDownloadsUpdates(true);
        check(kBackground, {ok(feed("101")), ok(kPackage)});
    }

    QTemporaryDir dir_;
    QRMPreferencesManager preferences_{dir_.filePath("Tarnwell.conf"), [] { return std::nullopt; },
                                       QUrl()};
    TestHttpServer server_;
    RecordingUserInterface ui_;
    FakeInstaller installer_;
    qint64 clock_ = kNow;
    std::unique_ptr<QRMUpdater> updater_ = makeUpdater();
};

TEST_F(UpdaterTest, UserCheckAnswersWithTheNewestReleaseForThisSystem) {
    const std::pair<QList<ScriptedReply>, const char *> rows[] = {
        {{ok(feed("100"))}, "up to date 1.0"},
        {{ok(feed("99"))}, "up to date 1.0"},
        {{ok(feed("101", "<sparkle:minimumSystemVersion>13</sparkle:minimumSystemVersion>"))},
         "up to date 1.0"},
        {{ScriptedReply::respond(301, {{"Location", "/moved.xml"}}), ok(feed("100"))},
         "up to date 1.0"},
        {{ok(feed("101", "<sparkle:releaseNotesLink>/notes.html</sparkle:releaseNotesLink>")),
          ok("<h1>New</h1>")},
         "found 101 ready=0 notes=<h1>New</h1>"},
        {{ok(feed("102", "<description>Inline</description>"))}, "found 102 ready=0 notes=Inline"},
    };
    for (const auto &[replies, answer] : rows) {
        ui_.calls.clear();
        check(kUser, replies);
        EXPECT_THAT(ui_.calls, ElementsAre(answer));
    }
    EXPECT_EQ(server_.requests()[4].path, "/moved.xml");
    EXPECT_EQ(server_.requests()[6].path, "/notes.html");
}

// The user is told why; a background check stays silent and waits a full interval.
TEST_F(UpdaterTest, FeedFaultsAreExplainedToTheUserOnly) {
    preferences_.setValue(Setting::AutomaticallyChecksForUpdates, true);
    const std::pair<ScriptedReply, const char *> faults[] = {
        {ok("<rss><channel><item>"), "line"},
        {ScriptedReply::respond(404, {}, "gone"), "status 404"},
        {ScriptedReply::stall(), "did not answer within 0.4 s"},
        {ScriptedReply::respond(302, {{"Location", "http://127.0.0.2/appcast.xml"}}),
         "another host (127.0.0.2)"},
        {ok(QByteArray(5 << 20, ' ')), "more than the 4194304 bytes"},
    };
    for (const auto &[reply, detail] : faults) {
        SCOPED_TRACE(detail);
        ui_.calls.clear();
        check(kUser, {reply});
        EXPECT_THAT(ui_.calls, ElementsAre("failure 0"));
        EXPECT_THAT(ui_.lastDetail, HasSubstr(detail));

        // Later than the user's check, so the interval counts from this one.
        clock_ += 1000;
        const qsizetype asked = server_.requests().size();
        check(kBackground, {reply});
        EXPECT_EQ(server_.requests().size(), asked + 1) << "the background check asked too";
        EXPECT_THAT(ui_.calls, ElementsAre("failure 0"));
        EXPECT_EQ(updater_->nextScheduledCheck(), std::chrono::seconds(updateInterval::kDaily));
    }
}

TEST_F(UpdaterTest, NoNetworkAndInsecureAddressesAreClearErrors) {
    QTcpServer closed;
    closed.listen(QHostAddress::LocalHost);
    const quint16 port = closed.serverPort();
    closed.close();
    updater_->setFeedURL(QUrl(QStringLiteral("http://127.0.0.1:%1/appcast.xml").arg(port)));
    check(kUser);
    EXPECT_THAT(ui_.lastDetail, HasSubstr("refused"));
    for (const char *address : {"http://updates.test/appcast.xml", "ftp://127.0.0.1/appcast.xml",
                                "file:///etc/passwd", "http://localhost.test/appcast.xml"}) {
        updater_->setFeedURL(QUrl(address));
        check(kUser);
        EXPECT_THAT(ui_.lastDetail, HasSubstr("not a secure")) << address;
    }
    EXPECT_THAT(server_.requests(), IsEmpty());
}

TEST_F(UpdaterTest, AUserCheckDuringABackgroundCheckIsAnsweredAfterIt) {
    server_.script(ScriptedReply::stall());
    serve(feed("100"));
    updater_->checkForUpdatesInBackground();
    updater_->checkForUpdates();
    finishSession();
    finishSession();
    EXPECT_THAT(ui_.calls, ElementsAre("up to date 1.0"));
}

TEST_F(UpdaterTest, BackgroundCheckNotifiesOnlyOfNewNotSkippedVersions) {
    check(kBackground, {ok(feed("100"))});
    check(kBackground, {ok(feed("101"))});
    updater_->skipThisVersion();
    check(kBackground, {ok(feed("101"))});
    check(kBackground, {ok(feed("102"))});
    EXPECT_THAT(ui_.calls, ElementsAre("notify 101 ready=0", "notify 102 ready=0"));
    // The user still sees a skipped version when asking.
    preferences_.setValue(Setting::SkippedVersion, QString("102"));
    check(kUser, {ok(feed("102"))});
    EXPECT_THAT(ui_.calls.last().toStdString(), HasSubstr("found 102"));
}

TEST_F(UpdaterTest, AutomaticDownloadWaitsVerifiedAndTheUserIsAskedOnlyToInstall) {
    downloadInBackground();
    EXPECT_THAT(ui_.calls, ElementsAre("notify 101 ready=1"));
    EXPECT_THAT(filesInDownloads(), ElementsAre("tarnwell-101.deb"));

    updater_->showFoundUpdate();
    EXPECT_THAT(ui_.calls.last().toStdString(), HasSubstr("found 101 ready=1"));
    updater_->installUpdate();
    EXPECT_THAT(installer_.installed, ElementsAre(kPackage));
    EXPECT_THAT(ui_.calls.mid(2), ElementsAre("installing", "restart 101"));
    EXPECT_THAT(filesInDownloads(), IsEmpty());
    EXPECT_EQ(server_.requests().size(), 2);
}

// Nothing is installed and nothing left; downloaded silently, the fault is only logged.
TEST_F(UpdaterTest, APackageFaultInstallsNothingLeavesNothingAndOnlyTheUserIsTold) {
    const ScriptedReply served = ok(kPackage);
    const qint64 size = kPackage.size();
    // Announced length and signature, the package's reply, the failure shown.
    const std::tuple<const char *, qint64, QByteArray, ScriptedReply, UpdateFailure> faults[] = {
        {"Truncated", size + 10, kPackageSignature, served, UpdateFailure::Download},
        {"Oversized", size - 10, kPackageSignature, served, UpdateFailure::Download},
        {"WrongSignature", size, kOtherSignature, served, UpdateFailure::Verification},
        {"TamperedInTransit", size, kPackageSignature, ok(QByteArray(kPackage).replace('p', 'q')),
         UpdateFailure::Verification},
        {"Stalls", size, kPackageSignature, ScriptedReply::stall(), UpdateFailure::Download},
        {"ServerError", size, kPackageSignature, ScriptedReply::respond(500, {}, "oops"),
         UpdateFailure::Download},
    };
    for (const auto &[name, announcedLength, signature, reply, failure] : faults) {
        SCOPED_TRACE(name);
        const QByteArray announced = feed("101", {}, announcedLength, signature);
        ui_.calls.clear();
        check(kUser, {ok(announced)});
        server_.script(reply);
        updater_->installUpdate();
        finishSession();
        EXPECT_THAT(ui_.calls.mid(1), ElementsAre(QStringLiteral("failure %1").arg(int(failure))));
        EXPECT_THAT(installer_.installed, IsEmpty());
        EXPECT_THAT(filesInDownloads(), IsEmpty());

        ui_.calls.clear();
        const qsizetype asked = server_.requests().size();
        updater_->setAutomaticallyDownloadsUpdates(true);
        check(kBackground, {ok(announced), reply});
        EXPECT_EQ(server_.requests().size(), asked + 2) << "the package was asked for again";
        EXPECT_THAT(ui_.calls, IsEmpty());
        EXPECT_THAT(filesInDownloads(), IsEmpty());
    }
}

TEST_F(UpdaterTest, ACancelledOrAbandonedDownloadLeavesNoFile) {
    check(kUser, {ok(feed("101"))});
    server_.script(ScriptedReply::stall());
    updater_->installUpdate();
    ASSERT_TRUE(QSignalSpy(&server_, &TestHttpServer::requestReceived).wait(5000));
    updater_->cancelDownload();
    finishSession();
    EXPECT_EQ(ui_.calls.size(), 1) << "a cancel needs no message";
    EXPECT_THAT(filesInDownloads(), IsEmpty());

    // Quitting in the middle of a download.
    server_.script(ScriptedReply::stall());
    updater_->installUpdate();
    ASSERT_TRUE(QSignalSpy(&server_, &TestHttpServer::requestReceived).wait(5000));
    updater_.reset();
    EXPECT_THAT(filesInDownloads(), IsEmpty());
}

// Refused, failed, then installed: one download, with its progress, serves all three.
TEST_F(UpdaterTest, InstallerFailuresAreReportedAndTheVerifiedFileKeptForAnotherTry) {
    check(kUser, {ok(feed("101"))});
    installer_.outcome = PackageInstaller::Outcome::Refused;
    serve(kPackage);
    updater_->installUpdate();
    finishSession();
    EXPECT_EQ(server_.requests()[1].path, "/tarnwell.deb");
    EXPECT_EQ(ui_.progressTotal, kPackage.size());
    installer_.outcome = PackageInstaller::Outcome::Failed;
    updater_->installUpdate();
    EXPECT_EQ(ui_.lastDetail, "dpkg: error");
    installer_.outcome = PackageInstaller::Outcome::Installed;
    updater_->installUpdate();
    EXPECT_THAT(ui_.calls.mid(1), ElementsAre("installing", "failure 3", "installing", "failure 3",
                                              "installing", "restart 101"));
    EXPECT_THAT(installer_.installed, ElementsAre(kPackage, kPackage, kPackage));
    EXPECT_EQ(server_.requests().size(), 2);
}

TEST_F(UpdaterTest, APackageChangedAfterVerificationIsNotInstalled) {
    downloadInBackground();
    QFile ready(QDir(downloads()).filePath("tarnwell-101.deb"));
    ASSERT_TRUE(ready.open(QIODevice::ReadWrite));
    ready.seek(100);
    ready.write("evil");
    ready.close();
    updater_->showFoundUpdate();
    updater_->installUpdate();
    EXPECT_EQ(ui_.calls.last(), "failure 2");
    EXPECT_THAT(installer_.installed, IsEmpty());
    EXPECT_THAT(filesInDownloads(), IsEmpty());
}

TEST_F(UpdaterTest, InformationCheckShowsNothingAndFeedChangesGoThroughTheStore) {
    preferences_.setUpdater(updater_.get());
    serve(feed("101"));
    preferences_.setUpdatesFeedURL(server_.url("/beta/appcast.xml"));
    finishSession();
    preferences_.setUpdater(nullptr);
    EXPECT_EQ(server_.requests()[0].path, "/beta/appcast.xml");
    EXPECT_EQ(updater_->foundItem()->version, "101");
    EXPECT_THAT(ui_.calls, IsEmpty());
    EXPECT_FALSE(preferences_.hasStoredValue(Setting::LastUpdateCheckTime));
}

TEST_F(UpdaterTest, ScheduleFollowsTheIntervalAndLastCheckAcrossRestarts) {
    EXPECT_FALSE(updater_->nextScheduledCheck()) << "off until turned on";
    updater_->setAutomaticallyChecksForUpdates(true);
    updater_->setUpdateCheckInterval(updateInterval::kWeekly);
    EXPECT_EQ(updater_->nextScheduledCheck(), std::chrono::seconds(0)) << "never checked";
    // Due, the check runs by itself when the updater starts.
    serve(feed("101"));
    updater_ = makeUpdater();
    finishSession();
    EXPECT_THAT(ui_.calls, ElementsAre("notify 101 ready=0"));
    EXPECT_EQ(preferences_.value(Setting::LastUpdateCheckTime).toLongLong(), kNow);

    clock_ += 3600;
    updater_ = makeUpdater();
    EXPECT_EQ(updater_->updateCheckInterval(), updateInterval::kWeekly);
    EXPECT_EQ(updater_->nextScheduledCheck(), std::chrono::seconds(updateInterval::kWeekly - 3600));
    clock_ = kNow - 1000;  // the clock was set back
    EXPECT_EQ(updater_->nextScheduledCheck(), std::chrono::seconds(updateInterval::kWeekly));

    const std::pair<const char *, qint64> intervals[] = {
        {"0", 3600}, {"-5", 3600}, {"60", 3600}, {"99999999999", 31'557'600}, {"daily", 86'400}};
    for (const auto &[stored, used] : intervals) {
        QSettings(dir_.filePath("Tarnwell.conf"), QSettings::IniFormat)
            .setValue("SUScheduledCheckInterval", stored);
        EXPECT_EQ(makeUpdater()->updateCheckInterval(), used) << stored;
    }
}

QPushButton *button(QWidget &window, const char *name) {
    return window.findChild<QPushButton *>(QLatin1StringView(name));
}

TEST_F(UpdaterTest, TheWindowTakesTheUserThroughNotificationDecisionInstallAndRestart) {
    QStringList notifications;
    std::function<void()> click;
    int restarts = 0;
    UpdateWindow window(
        *updater_, [](const QString &key) { return key + " %1 %2"; },
        [&](const QString &title, const QString &, const QString &, std::function<void()> onClick) {
            notifications << title;
            click = std::move(onClick);
        },
        [&] { ++restarts; });
    updater_->setUserInterface(&window);
    check(kBackground, {ok(feed("101"))});
    ASSERT_EQ(notifications, QStringList{"UpdateNotificationAvailable v101 %2"});
    EXPECT_FALSE(window.isVisible());

    click();
    ASSERT_TRUE(window.isVisible());
    EXPECT_TRUE(button(window, "install")->isVisible());
    button(window, "skip")->click();
    EXPECT_EQ(preferences_.value(Setting::SkippedVersion).toString(), "101");
    EXPECT_FALSE(window.isVisible());

    click();
    serve(kPackage);
    button(window, "install")->click();
    finishSession();
    EXPECT_THAT(installer_.installed, ElementsAre(kPackage));
    ASSERT_TRUE(button(window, "restartNow")->isVisible());
    button(window, "restartNow")->click();
    EXPECT_EQ(restarts, 1);
}

TEST(SystemPackageInstaller, InstallsThroughAptWithTheUsersConsent) {
    EXPECT_EQ(SystemPackageInstaller::installCommand("/home/u/.cache/Tarnwell/updates/t.deb"),
              QStringList({"pkexec", "/usr/bin/apt-get", "install", "--yes",
                           "/home/u/.cache/Tarnwell/updates/t.deb"}));
}

}  // namespace
}  // namespace tarnwell::test
