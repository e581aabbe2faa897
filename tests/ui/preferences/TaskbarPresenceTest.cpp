// The skip-taskbar hint as a taskbar sees it, under a real X server and
// window manager of the test's own.
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include <cstring>
#include <memory>

#include <QCheckBox>

#include "PreferencesRig.h"
#include "platform/linux/QRMTaskbarPresence.h"
#include "ui/preferences/GeneralTab.h"
#include "ui/preferences/PreferencesWindowOpener.h"

namespace tarnwell::testing {
namespace {

// Whether the window's _NET_WM_STATE holds the skip-taskbar atom, read on a
// connection of the test's own.
bool skipsTaskbar(xcb_window_t window) {
    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> x(
        xcb_connect(nullptr, nullptr), &xcb_disconnect);
    const auto atom = [&x](const char *name) {
        const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&free)> reply(
            xcb_intern_atom_reply(
                x.get(), xcb_intern_atom(x.get(), 0, uint16_t(strlen(name)), name), nullptr),
            &free);
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    };
    const std::unique_ptr<xcb_get_property_reply_t, decltype(&free)> state(
        xcb_get_property_reply(
            x.get(),
            xcb_get_property(x.get(), 0, window, atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 0, 1024),
            nullptr),
        &free);
    if (!state || state->format != 32) {
        return false;
    }
    const auto *atoms = static_cast<const xcb_atom_t *>(xcb_get_property_value(state.get()));
    const int count = xcb_get_property_value_length(state.get()) / 4;
    return std::find(atoms, atoms + count, atom("_NET_WM_STATE_SKIP_TASKBAR")) != atoms + count;
}

TEST(TaskbarPresence, PreferencesWindowCarriesTheSkipTaskbarHintWhileTheSettingIsOff) {
    PreferencesRig rig;
    QRMTaskbarPresence presence([&rig] { return rig.preferences.showDockIcon(); });
    PreferencesServices services = rig.services();
    services.showDockIconChanged = [&presence] { presence.showDockIconChanged(); };
    PreferencesWindowOpener opener(services);

    opener.showPreferencesWindow();
    QWidget *window = opener.preferencesWindowController();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    const auto id = xcb_window_t(window->winId());
    EXPECT_TRUE(QTest::qWaitFor([&] { return skipsTaskbar(id); }, 5000));

    // On: the window manager drops the hint from the mapped window.
    QCheckBox *box = opener.preferencesWindowController()->tabGeneral->showDockIcon;
    box->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !skipsTaskbar(id); }, 5000));

    // Off again: hinted, and shown again in front.
    box->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return skipsTaskbar(id); }, 5000));
    EXPECT_TRUE(window->isVisible());
}

}  // namespace
}  // namespace tarnwell::testing
