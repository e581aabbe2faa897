#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <thread>

#include <QApplication>
#include <QCheckBox>

#include "PreferencesRig.h"
#include "XvfbDisplay.h"
#include "platform/linux/QRMTaskbarPresence.h"
#include "ui/preferences/GeneralTab.h"
#include "ui/preferences/PreferencesWindowOpener.h"

extern char **environ;

namespace tarnwell::testing {
namespace {

using Reply = std::unique_ptr<xcb_get_property_reply_t, decltype(&free)>;

// Reads the window's state from a connection of the test's own, as a
// taskbar would.
class XWindowStates {
public:
    XWindowStates() : connection_(xcb_connect(nullptr, nullptr)) {}
    ~XWindowStates() { xcb_disconnect(connection_); }

    xcb_atom_t atom(const char *name) {
        std::unique_ptr<xcb_intern_atom_reply_t, decltype(&free)> reply(
            xcb_intern_atom_reply(connection_,
                                  xcb_intern_atom(connection_, 0, uint16_t(strlen(name)), name),
                                  nullptr),
            &free);
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    Reply property(xcb_window_t window, const char *name, xcb_atom_t type) {
        return Reply(
            xcb_get_property_reply(
                connection_, xcb_get_property(connection_, 0, window, atom(name), type, 0, 1024),
                nullptr),
            &free);
    }

    bool skipsTaskbar(xcb_window_t window) {
        const Reply reply = property(window, "_NET_WM_STATE", XCB_ATOM_ATOM);
        if (!reply || reply->format != 32) {
            return false;
        }
        const auto *atoms = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
        const xcb_atom_t skip = atom("_NET_WM_STATE_SKIP_TASKBAR");
        const int count = xcb_get_property_value_length(reply.get()) / 4;
        return std::find(atoms, atoms + count, skip) != atoms + count;
    }

    // A window manager that follows EWMH has announced itself on the root.
    bool windowManagerRuns() {
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        const Reply reply = property(root, "_NET_SUPPORTING_WM_CHECK", XCB_ATOM_WINDOW);
        return reply && xcb_get_property_value_length(reply.get()) == 4;
    }

private:
    xcb_connection_t *connection_;
};

TEST(TaskbarPresence, PreferencesWindowCarriesTheSkipTaskbarHintWhileTheSettingIsOff) {
    PreferencesRig rig;
    QRMTaskbarPresence presence([&rig] { return rig.preferences.showDockIcon(); });
    PreferencesServices services = rig.services();
    services.showDockIconChanged = [&presence] { presence.showDockIconChanged(); };
    PreferencesWindowOpener opener(services);
    XWindowStates x;

    opener.showPreferencesWindow();
    QWidget *window = opener.preferencesWindowController();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    const auto id = xcb_window_t(window->winId());
    EXPECT_TRUE(QTest::qWaitFor([&] { return x.skipsTaskbar(id); }, 5000));

    // On: the window manager drops the hint from the mapped window.
    QCheckBox *box = opener.preferencesWindowController()->tabGeneral->showDockIcon;
    box->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !x.skipsTaskbar(id); }, 5000));

    // Off again: hinted, and shown again in front.
    box->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return x.skipsTaskbar(id); }, 5000));
    EXPECT_TRUE(window->isVisible());
}

}  // namespace
}  // namespace tarnwell::testing

// A display and an openbox of the test's own; the application is made only
// once the window manager runs, so the first window already meets it.
int main(int argc, char **argv) {
    tarnwell::test::XvfbDisplay display;
    if (display.display().empty()) {
        std::fprintf(stderr, "Xvfb did not start\n");
        return 1;
    }
    char openbox[] = "openbox";
    char *arguments[] = {openbox, nullptr};
    pid_t windowManager = -1;
    if (::posix_spawnp(&windowManager, "openbox", nullptr, nullptr, arguments, environ) != 0) {
        std::fprintf(stderr, "openbox did not start\n");
        return 1;
    }
    {
        tarnwell::testing::XWindowStates x;
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!x.windowManagerRuns() && std::chrono::steady_clock::now() < deadline) {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
    }
    qputenv("QT_QPA_PLATFORM", "xcb");
    int result = 1;
    {
        QApplication application(argc, argv);
        ::testing::InitGoogleTest(&argc, argv);
        result = RUN_ALL_TESTS();
    }
    ::kill(windowManager, SIGTERM);
    ::waitpid(windowManager, nullptr, 0);
    return result;
}
