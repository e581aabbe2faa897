// Dark or light panel, from each source the desktop offers, through files
// and X properties the tests write themselves.
#include <gtest/gtest.h>
#include <xcb/xcb.h>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include "QtPrinters.h"
#include "support/XvfbDisplay.h"
#include "ui/LegacyTrayPresence.h"
#include "ui/PanelAppearance.h"
#include "ui/X11ManagerSelection.h"
#include "ui/XSettings.h"

namespace tarnwell {
namespace {

struct DecideCase {
    const char *name;
    const char *desktop;
    AppearanceReadings readings;
    bool dark;
};

class DecideAppearance : public ::testing::TestWithParam<DecideCase> {};

TEST_P(DecideAppearance, TheSessionsOwnDesktopSpeaksFirst) {
    EXPECT_EQ(PanelAppearance::decide(QString::fromLatin1(GetParam().desktop), GetParam().readings),
              GetParam().dark);
}

INSTANTIATE_TEST_SUITE_P(
    Sources, DecideAppearance,
    ::testing::Values(
        DecideCase{"NothingSaidFollowsThePalette", "", {{}, {}, {}, {}, true}, true},
        DecideCase{"LxqtThemeOverPalette", "LXQt", {true, {}, {}, {}, false}, true},
        DecideCase{"LxqtThemeOverColorScheme", "LXQt", {false, {}, true, {}, false}, false},
        DecideCase{"KdeColorsOnPlasma", "KDE", {{}, true, false, false, false}, true},
        DecideCase{"ColorSchemeBeforeGtkTheme", "XFCE", {{}, {}, true, false, false}, true},
        DecideCase{"GtkThemeBeforeOtherDesktopsFiles",
                   "X-Debian:XFCE",
                   {true, {}, {}, false, true},
                   false}),
    test::caseName);

void write(const QString &path, const QByteArray &text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}

struct FileCase {
    const char *name;
    const char *kdeglobals;  // null: no file
    const char *lxqtConf;
    const char *panelSheet;  // lxqt-panel.qss of the theme "t"
    std::optional<bool> kde;
    std::optional<bool> lxqt;
};

class DesktopFiles : public ::testing::TestWithParam<FileCase> {};

TEST_P(DesktopFiles, AreRead) {
    const FileCase &c = GetParam();
    QTemporaryDir dir;
    if (c.kdeglobals) {
        write(dir.filePath("config/kdeglobals"), c.kdeglobals);
    }
    if (c.lxqtConf) {
        write(dir.filePath("config/lxqt/lxqt.conf"), c.lxqtConf);
    }
    if (c.panelSheet) {
        write(dir.filePath("data/lxqt/themes/t/lxqt-panel.qss"), c.panelSheet);
    }
    EXPECT_EQ(PanelAppearance::kdeglobalsIsDark(dir.filePath("config/kdeglobals")), c.kde);
    EXPECT_EQ(PanelAppearance::lxqtThemeIsDark(dir.filePath("config/lxqt/lxqt.conf"),
                                               {dir.filePath("elsewhere"), dir.filePath("data")}),
              c.lxqt);
}

// Panel sheets as the lxqt-themes package ships them.
INSTANTIATE_TEST_SUITE_P(
    Files, DesktopFiles,
    ::testing::Values(
        FileCase{"None", nullptr, nullptr, nullptr, {}, {}},
        FileCase{"BreezeDarkColours",
                 "[Colors:Window]\nBackgroundNormal=49,54,59\n",
                 nullptr,
                 nullptr,
                 true,
                 {}},
        FileCase{"BreezeColours",
                 "[Colors:Window]\nBackgroundNormal=239,240,241\n",
                 nullptr,
                 nullptr,
                 false,
                 {}},
        FileCase{
            "SchemeNameOnly", "[General]\nColorScheme=BreezeDark\n", nullptr, nullptr, true, {}},
        FileCase{"LxqtDark",
                 nullptr,
                 "[General]\ntheme=t\n",
                 "LXQtPanel #BackgroundWidget {\n    background: rgba(0, 0, 0, 50%);\n}\n",
                 {},
                 true},
        FileCase{"LxqtLightGradient",
                 nullptr,
                 "[General]\ntheme=t\n",
                 "LXQtPanel #BackgroundWidget {\n    background-color: qlineargradient(x1:0, "
                 "y1:0, x2:0, y2:1, stop:0 #EFEFEF, stop:1 #c0c0c0);\n}\n",
                 {},
                 false},
        FileCase{"LxqtPaletteColour",
                 nullptr,
                 "[General]\ntheme=t\n",
                 "LXQtPanel #BackgroundWidget {\n    background: palette(window);\n}\n",
                 {},
                 {}},
        FileCase{"LxqtThemeLeavingItsFolder",
                 nullptr,
                 "[General]\ntheme=../t\n",
                 "LXQtPanel #BackgroundWidget { background: #000000; }",
                 {},
                 {}}),
    test::caseName);

TEST(DesktopFilesChange, AreReadAgain) {
    QTemporaryDir dir;
    const QString conf = dir.filePath("config/lxqt/lxqt.conf");
    write(conf, "[General]\ntheme=light\n");
    write(dir.filePath("data/lxqt/themes/light/lxqt-panel.qss"),
          "LXQtPanel #BackgroundWidget { background: #efefef; }");
    write(dir.filePath("data/lxqt/themes/dark/lxqt-panel.qss"),
          "LXQtPanel #BackgroundWidget { background: #202020; }");
    int forced = 0;
    PanelAppearance appearance(
        {dir.filePath("config"), {dir.filePath("data")}, QStringLiteral("LXQt"), QString()},
        [&forced] { return forced; }, nullptr);
    EXPECT_FALSE(appearance.isDark());

    QSignalSpy changed(&appearance, &PanelAppearance::changed);
    write(conf, "[General]\ntheme=dark\n");
    ASSERT_TRUE(changed.wait(5000));
    EXPECT_TRUE(appearance.isDark());
    EXPECT_EQ(appearance.textColor(), QColor(Qt::white));

    forced = 1;
    EXPECT_FALSE(appearance.isDark()) << "forced light";
}

// Settings as a GTK desktop's manager publishes them, little- and big-endian:
// an integer "Xft/DPI", then the string "Net/ThemeName".
QByteArray xsettingsBlob(bool bigEndian, const QByteArray &theme) {
    QByteArray blob;
    auto card32 = [&](quint32 v) {
        for (int i = 0; i < 4; ++i) {
            blob.append(char(bigEndian ? v >> (24 - 8 * i) : v >> (8 * i)));
        }
    };
    auto card16 = [&](quint16 v) {
        blob.append(char(bigEndian ? v >> 8 : v));
        blob.append(char(bigEndian ? v : v >> 8));
    };
    auto padded = [&](const QByteArray &text) {
        blob.append(text);
        blob.append(QByteArray((4 - text.size() % 4) % 4, '\0'));
    };
    blob.append(char(bigEndian ? 1 : 0)).append(3, '\0');
    card32(7);  // serial
    card32(2);  // settings
    blob.append(char(0)).append('\0');
    card16(7);
    padded("Xft/DPI");
    card32(0);
    card32(98304);
    blob.append(char(1)).append('\0');
    card16(13);
    padded("Net/ThemeName");
    card32(0);
    card32(quint32(theme.size()));
    padded(theme);
    return blob;
}

TEST(XSettingsBlob, ThemeNameInEitherByteOrder) {
    EXPECT_EQ(xsettingsString(xsettingsBlob(false, "Adwaita-dark"), "Net/ThemeName"),
              QStringLiteral("Adwaita-dark"));
    EXPECT_EQ(xsettingsString(xsettingsBlob(true, "Greybird"), "Net/ThemeName"),
              QStringLiteral("Greybird"));
    EXPECT_EQ(xsettingsString(xsettingsBlob(false, "x"), "Net/IconThemeName"), std::nullopt);
    // Cut anywhere inside the theme's name: nothing, and no read past the end.
    const QByteArray whole = xsettingsBlob(false, "Adwaita-dark");
    EXPECT_EQ(xsettingsString(whole.left(whole.size() - 3), "Net/ThemeName"), std::nullopt);
}

// Plays a tray or a settings manager: owns the selection and announces it.
class SelectionOwner {
public:
    SelectionOwner(const QByteArray &display, const QByteArray &selection)
        : c_(xcb_connect(display.constData(), nullptr)) {
        const xcb_screen_t *screen = xcb_setup_roots_iterator(xcb_get_setup(c_)).data;
        window_ = xcb_generate_id(c_);
        xcb_create_window(c_, XCB_COPY_FROM_PARENT, window_, screen->root, 0, 0, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
        const xcb_atom_t atom = intern(selection);
        xcb_set_selection_owner(c_, window_, atom, XCB_CURRENT_TIME);
        xcb_client_message_event_t message{};
        message.response_type = XCB_CLIENT_MESSAGE;
        message.format = 32;
        message.window = screen->root;
        message.type = intern("MANAGER");
        message.data.data32[1] = atom;
        message.data.data32[2] = window_;
        xcb_send_event(c_, 0, screen->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&message));
        xcb_flush(c_);
    }
    ~SelectionOwner() { xcb_disconnect(c_); }

    void setProperty(const QByteArray &name, const QByteArray &value) {
        const xcb_atom_t atom = intern(name);
        xcb_change_property(c_, XCB_PROP_MODE_REPLACE, window_, atom, atom, 8,
                            uint32_t(value.size()), value.constData());
        xcb_flush(c_);
    }
    void leave() {
        xcb_destroy_window(c_, window_);
        xcb_flush(c_);
    }

private:
    xcb_atom_t intern(const QByteArray &name) {
        xcb_intern_atom_reply_t *reply = xcb_intern_atom_reply(
            c_, xcb_intern_atom(c_, 0, uint16_t(name.size()), name.constData()), nullptr);
        const xcb_atom_t atom = reply->atom;
        free(reply);
        return atom;
    }

    xcb_connection_t *c_;
    xcb_window_t window_ = 0;
};

class OnXServer : public ::testing::Test {
protected:
    void SetUp() override {
        if (x.display().empty()) {
            GTEST_SKIP() << "Xvfb did not start";
        }
    }
    QByteArray display() const { return QByteArray::fromStdString(x.display()); }
    test::XvfbDisplay x;
};

TEST_F(OnXServer, ALegacyTrayIsSeenComingAndGoing) {
    XcbLegacyTrayPresence tray(display());
    EXPECT_FALSE(tray.isPresent());
    QSignalSpy changed(&tray, &LegacyTrayPresence::changed);

    SelectionOwner trayer(display(), "_NET_SYSTEM_TRAY_S0");
    ASSERT_TRUE(changed.wait(15000));
    EXPECT_TRUE(tray.isPresent());

    trayer.leave();
    ASSERT_TRUE(changed.wait(15000));
    EXPECT_FALSE(tray.isPresent());
}

TEST_F(OnXServer, TheXSettingsThemeTurnsThePanelDark) {
    SelectionOwner manager(display(), "_XSETTINGS_S0");
    manager.setProperty("_XSETTINGS_SETTINGS", xsettingsBlob(false, "Greybird"));
    X11ManagerSelection xsettings("_XSETTINGS_S", "_XSETTINGS_SETTINGS", display());
    QTemporaryDir empty;
    PanelAppearance appearance({empty.path(), {}, QStringLiteral("XFCE"), QString()}, {},
                               &xsettings);
    EXPECT_FALSE(appearance.isDark());

    QSignalSpy changed(&appearance, &PanelAppearance::changed);
    manager.setProperty("_XSETTINGS_SETTINGS", xsettingsBlob(false, "Greybird-dark"));
    ASSERT_TRUE(changed.wait(15000));
    EXPECT_TRUE(appearance.isDark());
}

}  // namespace
}  // namespace tarnwell
