// The welcome window's behaviour without the web engine: the reachability
// check against a loopback site, the page it loads, its texts, its keys and
// where its links may lead.
#include <QElapsedTimer>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

#include "BuildInfo.h"
#include "CaseName.h"
#include "TestHttpServer.h"
#include "localization/QRMLocalization.h"
#include "preferences/QRMPreferencesManager.h"
#include "welcome/HostReachabilityCheck.h"
#include "welcome/QRMWelcomePageWindowController.h"
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

// The local pages of a few languages, in a folder of the test's own.
struct PagesFolder {
    QTemporaryDir dir;
    explicit PagesFolder(const QStringList &languages = {"en", "ru", "uk"}) {
        for (const QString &language : languages) {
            QDir(dir.path()).mkpath(language);
            QFile page(dir.filePath(language + "/index.html"));
            page.open(QIODevice::WriteOnly);
        }
    }
    QUrl page(const QString &language) const {
        return QUrl::fromLocalFile(dir.filePath(language + "/index.html"));
    }
};

struct ReachabilityCase {
    const char *name;
    ScriptedReply reply;
    bool reachable;
    bool waitsForTheDeadline = false;
};

class Reachability : public ::testing::TestWithParam<ReachabilityCase> {};

TEST_P(Reachability, OnlyTheExactTokenCounts) {
    TestHttpServer site;
    site.script(GetParam().reply);
    QNetworkAccessManager network;
    HostReachabilityCheck check(network, site.url("/host/is/reachable/"), kToken, kTimeout);
    QSignalSpy finished(&check, &HostReachabilityCheck::finished);
    QElapsedTimer clock;
    clock.start();
    check.start();

    ASSERT_TRUE(finished.wait(5000));
    EXPECT_EQ(finished.at(0).at(0).toBool(), GetParam().reachable);
    // Only a site that says nothing costs the whole timeout; an answer longer
    // than the token is refused as soon as it is.
    if (GetParam().waitsForTheDeadline) {
        EXPECT_GE(clock.elapsed(), kTimeout.count());
    } else {
        EXPECT_LT(clock.elapsed(), kTimeout.count());
    }
    QTest::qWait(50);
    EXPECT_EQ(finished.size(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, Reachability,
    ::testing::Values(
        ReachabilityCase{"Token", ScriptedReply::respond(200, {}, kToken), true},
        ReachabilityCase{"TrailingNewline",
                         ScriptedReply::respond(200, {}, QByteArray(kToken) + "\n"), false},
        ReachabilityCase{"UpperCase", ScriptedReply::respond(200, {}, QByteArray(kToken).toUpper()),
                         false},
        ReachabilityCase{"LastDigitDiffers",
                         ScriptedReply::respond(200, {}, "5b0e9c1a7d2f48e6a3c4b9d0e1f27a6d"),
                         false},
        ReachabilityCase{"Empty", ScriptedReply::respond(200), false},
        ReachabilityCase{"CaptivePortalPage",
                         ScriptedReply::respond(200, {{"Content-Type", "text/html"}},
                                                "<html><body>Sign in to the Wi-Fi</body></html>"),
                         false},
        ReachabilityCase{"TokenOnAnErrorPage", ScriptedReply::respond(404, {}, kToken), false},
        ReachabilityCase{"EndlessBody", ScriptedReply::endlessBody(QByteArray(kToken) + "xyz"),
                         false},
        ReachabilityCase{"DroppedConnection", ScriptedReply::drop(), false},
        ReachabilityCase{"Stall", ScriptedReply::stall(), false, true}),
    caseName);

TEST(Reachability, FollowsRedirectsOnTheSiteOnly) {
    TestHttpServer site;
    TestHttpServer portal;  // another port: another origin
    portal.script(ScriptedReply::respond(200, {}, kToken));
    site.script(ScriptedReply::respond(302, {{"Location", portal.url("/login").toEncoded()}}));
    site.script(ScriptedReply::respond(302, {{"Location", "/host/is/reachable/again/"}}));
    site.script(ScriptedReply::respond(200, {}, kToken));
    QNetworkAccessManager network;

    HostReachabilityCheck elsewhere(network, site.url("/host/is/reachable/"), kToken, kTimeout);
    QSignalSpy refused(&elsewhere, &HostReachabilityCheck::finished);
    elsewhere.start();
    ASSERT_TRUE(refused.wait(5000));
    EXPECT_FALSE(refused.at(0).at(0).toBool());
    EXPECT_TRUE(portal.requests().isEmpty());

    HostReachabilityCheck moved(network, site.url("/host/is/reachable/"), kToken, kTimeout);
    QSignalSpy followed(&moved, &HostReachabilityCheck::finished);
    moved.start();
    ASSERT_TRUE(followed.wait(5000));
    EXPECT_TRUE(followed.at(0).at(0).toBool());
    EXPECT_EQ(site.requests().last().path, "/host/is/reachable/again/");
}

// A controller over a recording view and a loopback site.
struct ControllerRig {
    TestHttpServer site;
    PagesFolder pages;
    RecordingView view;
    QString language = "en";
    bool welcomeShown = false;

    std::unique_ptr<QRMWelcomePageWindowController> start(const QString &build = "120") {
        Localizer localized = [this](const QString &key) {
            return key == "language" ? language : key + "." + language;
        };
        auto controller = std::make_unique<QRMWelcomePageWindowController>(
            QRMWelcomePageWindowController::Services{
                view, localized, [this] { return welcomeShown; },
                WelcomeSite(site.url("").toString()), build, pages.dir.path(), kToken, kTimeout});
        controller->languageDidChanged();
        return controller;
    }

    bool waitForLoads(qsizetype count) {
        return QTest::qWaitFor([&] { return view.loaded.size() >= count; }, 5000);
    }
};

struct RemotePageCase {
    const char *name;
    bool welcomeShown;
    const char *page;
};

class RemotePage : public ::testing::TestWithParam<RemotePageCase> {};

TEST_P(RemotePage, ReplacesTheLocalPageWhenTheSiteAnswers) {
    ControllerRig rig;
    rig.welcomeShown = GetParam().welcomeShown;
    rig.site.script(ScriptedReply::respond(200, {}, kToken));
    const auto controller = rig.start();

    ASSERT_TRUE(rig.waitForLoads(2));
    EXPECT_EQ(rig.site.requests().at(0).path, "/host/is/reachable/");
    EXPECT_EQ(rig.view.loaded.at(0), rig.pages.page("en"));
    const QString page = QString::fromLatin1(GetParam().page);
    EXPECT_EQ(rig.view.loaded.at(1).toString(),
              rig.site.url("/en/" + page + "/").toString() +
                  "?utm_source=app&utm_medium=app.tarnwell.Tarnwell&utm_term=" + kMarketingVersion +
                  "&utm_content=" + kBuildNumber + "&utm_campaign=" + page);
}

INSTANTIATE_TEST_SUITE_P(Runs, RemotePage,
                         ::testing::Values(RemotePageCase{"FirstRun", false, "welcomefirstrun120"},
                                           RemotePageCase{"Later", true, "welcome120"}),
                         caseName);

TEST(WelcomeController, LanguageChangeRetitlesReloadsAndChecksAgain) {
    ControllerRig rig;
    rig.site.script(ScriptedReply::respond(200, {}, "no"));
    rig.site.script(ScriptedReply::respond(200, {}, kToken));
    const auto controller = rig.start();
    ASSERT_TRUE(QTest::qWaitFor([&] { return rig.site.requests().size() == 1; }, 5000));

    rig.language = "uk";
    controller->languageDidChanged();
    EXPECT_EQ(rig.view.texts, QStringList({"WelcomeToTarnwell.uk", "startDiscoverThePreferences.uk",
                                           "Preferences.uk"}));
    ASSERT_TRUE(rig.waitForLoads(3));
    EXPECT_EQ(rig.view.loaded.at(1), rig.pages.page("uk"));
    EXPECT_TRUE(rig.view.loaded.at(2).toString().contains("/uk/welcomefirstrun120/"));
    EXPECT_EQ(rig.site.requests().size(), 2);
}

TEST(WelcomeController, MissingLocalPageLeavesTheViewEmptyAndSaysSo) {
    ControllerRig rig;
    rig.language = "de";
    ::testing::internal::CaptureStderr();
    const auto controller = rig.start();
    const std::string said = ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(rig.view.loaded.size(), 1);
    EXPECT_EQ(rig.view.loaded.at(0), QUrl("about:blank"));
    EXPECT_NE(
        said.find("no welcome page at " + rig.pages.dir.filePath("de/index.html").toStdString()),
        std::string::npos);
}

struct TextsCase {
    const char *name;
    const char *language;  // the stored override
    const char *title, *invitation, *button;
};

class WindowTexts : public ::testing::TestWithParam<TextsCase> {};

TEST_P(WindowTexts, FollowTheInterfaceLanguage) {
    const TextsCase &c = GetParam();
    QTemporaryDir home;
    QRMPreferencesManager preferences(
        std::make_unique<QSettings>(home.filePath("settings.ini"), QSettings::IniFormat),
        [] { return std::nullopt; }, QUrl());
    preferences.setAppleLanguages(QStringList{c.language});
    QRMLocalization localization(preferences, ":/translations", [] { return QStringList(); });
    PagesFolder pages;
    RecordingView view;
    QRMWelcomePageWindowController controller(
        {view, [&](const QString &key) { return localization.localized(key); }, [] { return true; },
         WelcomeSite("http://127.0.0.1:9"), "1", pages.dir.path(), kToken, kTimeout});
    controller.languageDidChanged();
    EXPECT_EQ(view.texts, QStringList({c.title, c.invitation, c.button}));
    ASSERT_EQ(view.loaded.size(), 1);
    EXPECT_EQ(view.loaded.at(0), pages.page(QString::fromLatin1(c.language).left(2)));
}

INSTANTIATE_TEST_SUITE_P(
    Languages, WindowTexts,
    ::testing::Values(
        TextsCase{"English", "en", "Welcome to Tarnwell",
                  "Open the preferences to choose how Tarnwell shows and cleans your memory.",
                  "Preferences"},
        TextsCase{"Russian", "ru", "Добро пожаловать в Tarnwell",
                  "Откройте настройки, чтобы выбрать, как Tarnwell показывает и очищает память.",
                  "Настройки"},
        TextsCase{"Ukrainian", "ukr", "Ласкаво просимо до Tarnwell",
                  "Відкрийте налаштування, щоб вибрати, як Tarnwell показує та очищає пам’ять.",
                  "Налаштування"}),
    caseName);

struct KeyCase {
    const char *name;
    Qt::KeyboardModifiers modifiers;
    int key;
    bool closes;
};

class CloseKey : public ::testing::TestWithParam<KeyCase> {};

TEST_P(CloseKey, OnlyCtrlWCloses) {
    EXPECT_EQ(
        QRMWelcomePageWindowController::keyDownClosesWindow(GetParam().modifiers, GetParam().key),
        GetParam().closes);
}

INSTANTIATE_TEST_SUITE_P(
    Keys, CloseKey,
    ::testing::Values(
        KeyCase{"CtrlW", Qt::ControlModifier, Qt::Key_W, true},
        KeyCase{"CtrlWOnTheKeypadFlag", Qt::ControlModifier | Qt::KeypadModifier, Qt::Key_W, true},
        KeyCase{"CtrlShiftW", Qt::ControlModifier | Qt::ShiftModifier, Qt::Key_W, false},
        KeyCase{"CtrlAltW", Qt::ControlModifier | Qt::AltModifier, Qt::Key_W, false},
        KeyCase{"CtrlMetaW", Qt::ControlModifier | Qt::MetaModifier, Qt::Key_W, false},
        KeyCase{"AltW", Qt::AltModifier, Qt::Key_W, false},
        KeyCase{"MetaW", Qt::MetaModifier, Qt::Key_W, false},
        KeyCase{"PlainW", Qt::NoModifier, Qt::Key_W, false},
        KeyCase{"CtrlQ", Qt::ControlModifier, Qt::Key_Q, false},
        KeyCase{"CtrlEscape", Qt::ControlModifier, Qt::Key_Escape, false}),
    caseName);

struct NavigationCase {
    const char *name;
    const char *target;
    bool linkClicked;
    WelcomeNavigation expected;
};

class Navigation : public ::testing::TestWithParam<NavigationCase> {};

TEST_P(Navigation, StaysOnTheSite) {
    const WelcomeSite site("https://tarnwell.app");
    EXPECT_EQ(site.navigation(QUrl(GetParam().target), GetParam().linkClicked),
              GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Targets, Navigation,
    ::testing::Values(
        NavigationCase{"SitePage", "https://tarnwell.app/en/support/", true,
                       WelcomeNavigation::Load},
        NavigationCase{"SiteRedirect", "https://tarnwell.app/ru/", false, WelcomeNavigation::Load},
        NavigationCase{"SiteHostInCapitals", "https://TARNWELL.app/en/", true,
                       WelcomeNavigation::Load},
        NavigationCase{"ExplicitDefaultPort", "https://tarnwell.app:443/en/", true,
                       WelcomeNavigation::Load},
        NavigationCase{"LocalPage", "qrc:/welcome/en/index.html", true, WelcomeNavigation::Load},
        NavigationCase{"OtherSiteLink", "https://kernel.org/doc/", true,
                       WelcomeNavigation::OpenInBrowser},
        NavigationCase{"LookAlikeHost", "https://tarnwell.app.example.com/", true,
                       WelcomeNavigation::OpenInBrowser},
        NavigationCase{"PlainHttpOfTheSite", "http://tarnwell.app/en/", true,
                       WelcomeNavigation::OpenInBrowser},
        NavigationCase{"OtherPort", "https://tarnwell.app:8443/en/", true,
                       WelcomeNavigation::OpenInBrowser},
        NavigationCase{"UserInfo", "https://tarnwell.app@evil.example/", true,
                       WelcomeNavigation::OpenInBrowser},
        NavigationCase{"MailLink", "mailto:support@tarnwell.app", true,
                       WelcomeNavigation::OpenInBrowser},
        NavigationCase{"RedirectElsewhere", "https://portal.example/login", false,
                       WelcomeNavigation::Refuse},
        NavigationCase{"LocalFileLink", "file:///etc/passwd", true, WelcomeNavigation::Refuse},
        NavigationCase{"ScriptLink", "javascript:alert(1)", true, WelcomeNavigation::Refuse}),
    caseName);

}  // namespace
}  // namespace tarnwell::testing
