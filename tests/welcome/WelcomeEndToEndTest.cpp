// The web engine for real, under a desktop of the test's own: the
// local page loads, Ctrl+W reaches the window through the page, and the
// welcome executable's processes all end with its window.
#include <signal.h>
#include <unistd.h>

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QWebEngineView>

#include <gtest/gtest.h>

#include "ProcessTree.h"
#include "app/WelcomeWindowProcess.h"
#include "welcome/QRMWelcomePageWindow.h"
#include "welcome/QRMWelcomePageWindowController.h"

namespace tarnwell::testing {
namespace {

// Nothing listens on the discard port: the site never answers.
constexpr char kUnreachableSite[] = "http://127.0.0.1:9";

TEST(WelcomeWindow, ShowsTheLocalPageAndClosesOnCtrlW) {
    const WelcomeSite site(kUnreachableSite);
    QRMWelcomePageWindow window(site);
    QRMWelcomePageWindowController controller(
        {window, [](const QString &key) { return key == "language" ? QStringLiteral("en") : key; },
         [] { return false; }, site, "1", ":/welcome", "5b0e9c1a7d2f48e6a3c4b9d0e1f27a6c",
         std::chrono::milliseconds(500)});
    QSignalSpy loaded(window.webView(), &QWebEngineView::loadFinished);
    window.show();
    controller.languageDidChanged();

    ASSERT_TRUE(loaded.wait(60000));
    EXPECT_TRUE(loaded.at(0).at(0).toBool());
    EXPECT_EQ(window.webView()->title(), "Welcome to Tarnwell");
    EXPECT_EQ(window.windowTitle(), "WelcomeToTarnwell");

    // The page holds the focus; the keys go where a user's would.
    QWidget *page = window.webView()->focusProxy();
    ASSERT_NE(page, nullptr);
    EXPECT_TRUE(window.isVisible());
    QTest::keyClick(page, Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window.isVisible());
}

TEST(WelcomeExecutable, ItsProcessesEndWithItsWindow) {
    QTemporaryDir home;
    for (const QString folder : {"CONFIG", "DATA", "CACHE"}) {
        qputenv(qPrintable("XDG_" + folder + "_HOME"), home.filePath(folder).toLocal8Bit());
    }
    qputenv("TARNWELL_SITE_URL", kUnreachableSite);
    // The executable decides about the sandbox itself.
    qunsetenv("QTWEBENGINE_DISABLE_SANDBOX");
    auto welcome =
        std::make_unique<WelcomeWindowProcess>(TARNWELL_BINARY_DIR "/src/tarnwell-welcome");
    QSignalSpy loaded(welcome.get(), &WelcomeWindowProcess::windowDidLoad);
    welcome->showWelcomePage();
    ASSERT_TRUE(loaded.wait(60000));

    const QList<pid_t> processes = test::processTree(pid_t(welcome->processId()));
    // The window's process and the engine's helpers (zygotes, renderer).
    EXPECT_GE(processes.size(), 2);
    welcome.reset();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] {
            return std::none_of(processes.begin(), processes.end(),
                                [](pid_t pid) { return ::kill(pid, 0) == 0; });
        },
        10000));
}

}  // namespace
}  // namespace tarnwell::testing
