// The welcome window without the web engine: the reachability check against a
// loopback site, the page it loads, its texts, its keys and where its links may
// lead; and the two ends of the tray's line protocol with the window's process,
// a shell script standing in for the window.
#include <fcntl.h>
#include <unistd.h>

#include <QElapsedTimer>
#include <QFile>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "TestHttpServer.h"
#include "app/WelcomeMessages.h"
#include "app/WelcomeWindowProcess.h"
#include "localization/QRMLocalization.h"
#include "preferences/QRMPreferencesManager.h"
#include "welcome/HostReachabilityCheck.h"
#include "welcome/QRMWelcomePageWindowController.h"
#include "welcome/TrayChannel.h"
#include "welcome/WelcomePageView.h"

namespace tarnwell::testing {
namespace {

using test::ScriptedReply;
using test::TestHttpServer;
using namespace std::chrono_literals;

constexpr char kToken[] = "5b0e9c1a7d2f48e6a3c4b9d0e1f27a6c";
constexpr auto kTimeout = 1000ms;

struct RecordingView : WelcomePageView {
    QStringList texts;
    QList<QUrl> loaded;
    void setTexts(const QString &title, const QString &invitation, const QString &button) override {
        texts = {title, invitation, button};
    }
    void loadPage(const QUrl &url) override { loaded.append(url); }
};

// Empty local pages of two languages, in a folder of the test's own.
struct PagesFolder {
    QTemporaryDir dir;
    PagesFolder() {
        for (const char *language : {"en", "uk"}) {
            QDir(dir.path()).mkpath(language);
            QFile(dir.filePath(QString::fromLatin1(language) + "/index.html"))
                .open(QIODevice::WriteOnly);
        }
    }
    QUrl page(const QString &language) const {
        return QUrl::fromLocalFile(dir.filePath(language + "/index.html"));
    }
};

// Runs one check against address to its end: its answer, and whether it
// came well before the deadline.
std::pair<bool, bool> check(const QUrl &address) {
    QNetworkAccessManager network;
    HostReachabilityCheck check(network, address, kToken, kTimeout);
    QSignalSpy finished(&check, &HostReachabilityCheck::finished);
    QElapsedTimer clock;
    clock.start();
    check.start();
    EXPECT_TRUE(finished.wait(5000));
    // Half the timeout: Qt's coarse timers may fire 5 % early.
    const bool early = clock.elapsed() < kTimeout.count() / 2;
    QTest::qWait(50);
    EXPECT_EQ(finished.size(), 1);
    return {!finished.isEmpty() && finished.at(0).at(0).toBool(), early};
}

TEST(Reachability, OnlyTheExactTokenCounts) {
    const auto ok = [](const QByteArray &body) { return ScriptedReply::respond(200, {}, body); };
    // The reply, and whether the site counts as reachable and is known early.
    const std::tuple<ScriptedReply, bool, bool> cases[] = {
        {ok(kToken), true, true},
        {ok(QByteArray(kToken) + "\n"), false, true},
        {ok("5b0e9c1a7d2f48e6a3c4b9d0e1f27a6d"), false, true},
        {ScriptedReply::respond(404, {}, kToken), false, true},
        // Refused as soon as it is longer than the token, not read to its end.
        {ScriptedReply::endlessBody(QByteArray(kToken) + "xyz"), false, true},
        {ScriptedReply::stall(), false, false},
    };
    for (const auto &[reply, reachable, early] : cases) {
        TestHttpServer site;
        site.script(reply);
        EXPECT_EQ(check(site.url("/host/is/reachable/")), std::pair(reachable, early))
            << reply.status << ' ' << reply.body.left(40).data();
        EXPECT_EQ(site.requests().value(0).path, "/host/is/reachable/");
    }
}

TEST(Reachability, FollowsRedirectsOnTheSiteOnly) {
    TestHttpServer site;
    TestHttpServer portal;  // another port: another origin
    portal.script(ScriptedReply::respond(200, {}, kToken));
    site.script(ScriptedReply::respond(302, {{"Location", portal.url("/login").toEncoded()}}));
    site.script(ScriptedReply::respond(302, {{"Location", "/host/is/reachable/again/"}}));
    site.script(ScriptedReply::respond(200, {}, kToken));

    EXPECT_FALSE(check(site.url("/host/is/reachable/")).first);
    EXPECT_TRUE(portal.requests().isEmpty());
    EXPECT_TRUE(check(site.url("/host/is/reachable/")).first);
    EXPECT_EQ(site.requests().last().path, "/host/is/reachable/again/");
}

// A controller over a recording view, a loopback site, local pages of its
// own and the real string tables.
struct ControllerRig {
    TestHttpServer site;
    PagesFolder pages;
    RecordingView view;
    bool welcomeShown = false;
    QTemporaryDir home;
    QRMPreferencesManager preferences{home.filePath("settings.ini"), [] { return std::nullopt; },
                                      QUrl()};
    QRMLocalization localization{preferences, ":/translations", [] { return QStringList(); }};

    std::unique_ptr<QRMWelcomePageWindowController> start() {
        auto controller = std::make_unique<QRMWelcomePageWindowController>(
            QRMWelcomePageWindowController::Services{
                view, [this](const QString &key) { return localization.localized(key); },
                [this] { return welcomeShown; }, WelcomeSite(site.url("").toString()), "120",
                pages.dir.path(), kToken, kTimeout});
        controller->languageDidChanged();
        return controller;
    }

    bool waitForLoads(qsizetype count) {
        return QTest::qWaitFor([&] { return view.loaded.size() >= count; }, 5000);
    }
};

// Starts in English, where the site does not answer; then Ukrainian, whose
// stored code ("ukr") is not its page folder's ("uk"), where it does. The
// address's query is the shared link builder's; the page name is the
// controller's, first-run until the welcome has been shown.
TEST(WelcomeController, LocalPageFirstThenTheSitesOnceItAnswersAndNoPageForAMissingLanguage) {
    ControllerRig rig;
    rig.preferences.setAppleLanguages(QStringList{"en"});
    rig.site.script(ScriptedReply::respond(200, {}, "no"));
    rig.site.script(ScriptedReply::respond(200, {}, kToken));
    rig.site.script(ScriptedReply::respond(200, {}, kToken));
    const auto controller = rig.start();
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.site.requests().size() == 1; }, 5000));
    EXPECT_EQ(rig.site.requests().at(0).path, "/host/is/reachable/");
    EXPECT_EQ(rig.view.loaded, QList<QUrl>{rig.pages.page("en")});

    rig.preferences.setAppleLanguages(QStringList{"ukr"});
    controller->languageDidChanged();
    EXPECT_EQ(rig.view.texts,
              QStringList({"Ласкаво просимо до Tarnwell",
                           "Відкрийте налаштування, щоб вибрати, як Tarnwell показує та очищає "
                           "пам’ять.",
                           "Налаштування"}));
    ASSERT_TRUE(rig.waitForLoads(3));
    EXPECT_EQ(rig.view.loaded.at(1), rig.pages.page("uk"));
    EXPECT_EQ(rig.view.loaded.at(2).path(), "/uk/welcomefirstrun120/");

    rig.welcomeShown = true;
    controller->languageDidChanged();
    ASSERT_TRUE(rig.waitForLoads(5));
    EXPECT_EQ(rig.view.loaded.at(4).path(), "/uk/welcome120/");

    // No local page for the language: an empty view, and the log says why.
    rig.preferences.setAppleLanguages(QStringList{"ru"});
    ::testing::internal::CaptureStderr();
    controller->languageDidChanged();
    const std::string said = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(rig.view.loaded.value(5), QUrl("about:blank"));
    EXPECT_NE(
        said.find("no welcome page at " + rig.pages.dir.filePath("ru/index.html").toStdString()),
        std::string::npos);
}

TEST(CloseKey, OnlyCtrlWCloses) {
    const auto closes = &QRMWelcomePageWindowController::keyDownClosesWindow;
    EXPECT_TRUE(closes(Qt::ControlModifier, Qt::Key_W));
    EXPECT_TRUE(closes(Qt::ControlModifier | Qt::KeypadModifier, Qt::Key_W));
    EXPECT_FALSE(closes(Qt::ControlModifier, Qt::Key_Q));
    for (const Qt::KeyboardModifiers nearMiss :
         {Qt::ControlModifier | Qt::ShiftModifier, Qt::ControlModifier | Qt::AltModifier,
          Qt::ControlModifier | Qt::MetaModifier, Qt::KeyboardModifiers(Qt::AltModifier),
          Qt::KeyboardModifiers(Qt::NoModifier)}) {
        EXPECT_FALSE(closes(nearMiss, Qt::Key_W)) << nearMiss.toInt();
    }
}

TEST(Navigation, StaysOnTheSite) {
    using enum WelcomeNavigation;
    // The target, whether a link was clicked to reach it, and what is done.
    const std::tuple<const char *, bool, WelcomeNavigation> cases[] = {
        {"https://tarnwell.app/en/support/", true, Load},
        {"https://tarnwell.app:443/en/", false, Load},
        {"qrc:/welcome/en/index.html", true, Load},
        {"https://kernel.org/doc/", true, OpenInBrowser},
        {"https://tarnwell.app.example.com/", true, OpenInBrowser},
        {"https://tarnwell.app:8443/en/", true, OpenInBrowser},
        {"https://tarnwell.app@evil.example/", true, OpenInBrowser},
        {"http://tarnwell.app/en/", true, OpenInBrowser},
        {"https://portal.example/login", false, Refuse},
        {"javascript:alert(1)", true, Refuse},
    };
    const WelcomeSite site("https://tarnwell.app");
    for (const auto &[target, linkClicked, expected] : cases) {
        EXPECT_EQ(site.navigation(QUrl(target), linkClicked), expected) << target;
    }
}

TEST(MessageLines, AreCutAtNewlinesAndCapped) {
    const QByteArray longest(64, 'y');
    // Chunks as they arrive, lines as they come out.
    const std::pair<QList<QByteArray>, QList<QByteArray>> cases[] = {
        {{"raise\nlanguageDidChanged\n"}, {"raise", "languageDidChanged"}},
        {{"rai", "se", "\n", "raise"}, {"raise"}},
        {{longest + "\n"}, {longest}},
        // One byte too many, in two chunks: dropped up to its end, no further.
        {{longest.left(40), longest.mid(40) + "z tail\nraise\n"}, {"raise"}},
    };
    for (const auto &[chunks, expected] : cases) {
        MessageLines buffer;
        QList<QByteArray> lines;
        for (const QByteArray &chunk : chunks) {
            lines += buffer.append(chunk);
        }
        EXPECT_EQ(lines, expected) << chunks.join('|').toStdString();
    }
}

TEST(TrayChannel, ReadsMessagesAndNoticesTheTrayGoing) {
    int toWindow[2], fromWindow[2];
    ASSERT_EQ(::pipe2(toWindow, O_CLOEXEC), 0);
    ASSERT_EQ(::pipe2(fromWindow, O_CLOEXEC), 0);
    TrayChannel channel(toWindow[0], fromWindow[1]);
    QSignalSpy raised(&channel, &TrayChannel::raiseRequested);
    QSignalSpy language(&channel, &TrayChannel::languageDidChanged);
    QSignalSpy gone(&channel, &TrayChannel::trayGone);

    const char sent[] = "raise\nunknown\nlanguageDidChanged\nrai";
    ASSERT_EQ(::write(toWindow[1], sent, sizeof sent - 1), ssize_t(sizeof sent - 1));
    ASSERT_TRUE(language.wait(5000));
    EXPECT_EQ(raised.size(), 1);
    ::close(toWindow[1]);
    ASSERT_TRUE(gone.wait(5000));
    EXPECT_EQ(raised.size(), 1);

    channel.send(welcome_messages::kWindowDidLoad);
    char got[32] = {};
    EXPECT_EQ(::read(fromWindow[0], got, sizeof got), 14);
    EXPECT_STREQ(got, "windowDidLoad\n");
    ::close(toWindow[0]);
    ::close(fromWindow[0]);
    ::close(fromWindow[1]);
}

// Reports loading, logs what the tray sends, presses "Preferences" when
// raised, and closes when the language changes (crashes once told to).
QString writeFakeWindow(const QTemporaryDir &dir) {
    const QString path = dir.filePath("fake-welcome");
    QFile script(path);
    EXPECT_TRUE(script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("#!/bin/sh\n"
                                "echo windowDidLoad\n"
                                "while read -r line; do\n"
                                "  echo \"$line\" >> '%1'\n"
                                "  case \"$line\" in\n"
                                "    raise) echo showPreferencesWindow ;;\n"
                                "    languageDidChanged) [ -e '%2' ] && kill -SEGV $$; exit 0 ;;\n"
                                "  esac\n"
                                "done\n")
                     .arg(dir.filePath("received"), dir.filePath("crash"))
                     .toUtf8());
    script.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    return path;
}

QByteArray received(const QTemporaryDir &dir) {
    QFile log(dir.filePath("received"));
    return log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
}

TEST(WelcomeWindowProcess, OneWindowAtATimeAndOnlyAClosedOneIsAClose) {
    QTemporaryDir dir;
    WelcomeWindowProcess welcome(writeFakeWindow(dir));
    QSignalSpy loaded(&welcome, &WelcomeWindowProcess::windowDidLoad);
    QSignalSpy preferences(&welcome, &WelcomeWindowProcess::showPreferencesWindowRequested);
    QSignalSpy closed(&welcome, &WelcomeWindowProcess::windowWillClose);

    welcome.showWelcomePage();
    ASSERT_TRUE(loaded.wait(5000));
    const qint64 pid = welcome.processId();
    welcome.showWelcomePage();
    ASSERT_TRUE(preferences.wait(5000));
    EXPECT_EQ(welcome.processId(), pid);
    EXPECT_EQ(loaded.size(), 1);
    EXPECT_EQ(received(dir), "raise\n");

    // The user closes it: the next request starts a fresh window.
    welcome.languageDidChanged();
    ASSERT_TRUE(closed.wait(5000));
    EXPECT_FALSE(welcome.isRunning());
    welcome.showWelcomePage();
    ASSERT_TRUE(loaded.wait(5000));
    EXPECT_NE(welcome.processId(), pid);

    // A crash is no close, nor is a program that cannot start.
    QFile(dir.filePath("crash")).open(QIODevice::WriteOnly);
    welcome.languageDidChanged();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !welcome.isRunning(); }, 5000));
    WelcomeWindowProcess missing(dir.filePath("no-such-program"));
    QSignalSpy missingClosed(&missing, &WelcomeWindowProcess::windowWillClose);
    ::testing::internal::CaptureStderr();
    missing.showWelcomePage();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !missing.isRunning(); }, 5000));
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("cannot start the welcome window"),
              std::string::npos);
    EXPECT_EQ(closed.size(), 1);
    EXPECT_TRUE(missingClosed.isEmpty());
}

}  // namespace
}  // namespace tarnwell::testing
