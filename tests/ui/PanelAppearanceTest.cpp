// What the panel shows: dark or light from each source the desktop offers
// (files and X properties the tests write themselves), the bundled icons,
// template masks in the panel's colour, and the title drawn where the host
// shows no label, sharp at both pixel densities.
#include <gtest/gtest.h>
#include <xcb/xcb.h>
#include <QBitmap>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include "Pixels.h"
#include "QtPrinters.h"
#include "StatusBarIcons.h"
#include "support/VirtualDesktop.h"
#include "ui/LegacyTrayPresence.h"
#include "ui/PanelAppearance.h"
#include "ui/TemplateImage.h"
#include "ui/TitledIcon.h"
#include "ui/X11ManagerSelection.h"
#include "ui/XSettings.h"

namespace tarnwell {
namespace {

TEST(PanelAppearanceDecide, TheSessionsOwnDesktopSpeaksFirst) {
    const struct {
        const char *desktop;
        AppearanceReadings readings;  // LXQt theme, kdeglobals, color-scheme, GTK theme, palette
        bool dark;
    } cases[] = {
        {"", {{}, {}, {}, {}, true}, true},                     // nothing said: the palette
        {"LXQt", {true, {}, {}, {}, false}, true},              // LXQt's theme over the palette
        {"LXQt", {false, {}, true, {}, false}, false},          // and over the color-scheme
        {"KDE", {{}, true, false, false, false}, true},         // kdeglobals on Plasma
        {"XFCE", {{}, {}, true, false, false}, true},           // color-scheme before GTK theme
        {"X-Debian:XFCE", {true, {}, {}, false, true}, false},  // GTK theme before LXQt's files
    };
    for (const auto &c : cases) {
        EXPECT_EQ(PanelAppearance::decide(QString::fromLatin1(c.desktop), c.readings), c.dark)
            << c.desktop << " case " << &c - cases;
    }
}

void write(const QString &path, const QByteArray &text) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
}

TEST(DesktopFiles, KdeglobalsAndLxqtPanelSheetSayDarkOrLightAndAreReadAgain) {
    const std::pair<const char *, std::optional<bool>> cases[] = {
        {nullptr, std::nullopt},
        {"[Colors:Window]\nBackgroundNormal=49,54,59\n", true},      // Breeze Dark
        {"[Colors:Window]\nBackgroundNormal=239,240,241\n", false},  // Breeze
        {"[General]\nColorScheme=BreezeDark\n", true},
    };
    for (const auto &[text, dark] : cases) {
        QTemporaryDir dir;
        if (text) {
            write(dir.filePath("kdeglobals"), text);
        }
        EXPECT_EQ(PanelAppearance::kdeglobalsIsDark(dir.filePath("kdeglobals")), dark)
            << (text ? text : "no file");
    }

    // Panel sheets as the lxqt-themes package ships them, each where the
    // theme name leads.
    const struct {
        const char *theme;  // null: no lxqt.conf
        const char *sheet;
        std::optional<bool> dark;
    } sheets[] = {
        {nullptr, "LXQtPanel #BackgroundWidget { background: #000000; }", {}},
        {"t", "LXQtPanel #BackgroundWidget {\n    background: rgba(0, 0, 0, 50%);\n}\n", true},
        {"t",
         "LXQtPanel #BackgroundWidget {\n    background-color: qlineargradient(x1:0, y1:0, x2:0, "
         "y2:1, stop:0 #EFEFEF, stop:1 #c0c0c0);\n}\n",
         false},
        {"t", "LXQtPanel #BackgroundWidget {\n    background: palette(window);\n}\n", {}},
        // A theme name that leaves the themes folder is no theme.
        {"../t", "LXQtPanel #BackgroundWidget { background: #000000; }", {}},
    };
    for (const auto &c : sheets) {
        QTemporaryDir dir;
        const QString conf = dir.filePath("config/lxqt/lxqt.conf");
        const QString theme = QString::fromLatin1(c.theme ? c.theme : "t");
        if (c.theme) {
            write(conf, "[General]\ntheme=" + theme.toLatin1() + "\n");
        }
        QDir().mkpath(dir.filePath("data/lxqt/themes"));
        write(QDir::cleanPath(dir.filePath("data/lxqt/themes/" + theme + "/lxqt-panel.qss")),
              c.sheet);
        EXPECT_EQ(PanelAppearance::lxqtThemeIsDark(
                      conf, {dir.filePath("elsewhere"), dir.filePath("data")}),
                  c.dark)
            << theme.toStdString() << ": " << c.sheet;
    }

    // A changed file is read again.
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

    forced = 1;
    EXPECT_FALSE(appearance.isDark()) << "forced light";
}

// Settings as a GTK desktop's manager publishes them, worked out by hand from
// the XSETTINGS layout: an integer "Xft/DPI" (96 * 1024), then the string
// "Net/ThemeName". Spaces part the fields.
const QByteArray kLittleEndianUpToTheName = QByteArray::fromHex(
    "00 000000 07000000 02000000 00 00 0700 5866742f445049 00 00000000 00800100"
    "01 00 0d00 4e65742f5468656d654e616d65 000000 00000000");
const QByteArray kGreybird =
    kLittleEndianUpToTheName + QByteArray::fromHex("08000000 4772657962697264");
const QByteArray kGreybirdDark =
    kLittleEndianUpToTheName + QByteArray::fromHex("0d000000 47726579626972642d6461726b 000000");
const QByteArray kGreybirdBigEndian = QByteArray::fromHex(
    "01 000000 00000007 00000002"
    "00 00 0007 5866742f445049 00 00000000 00018000"
    "01 00 000d 4e65742f5468656d654e616d65 000000 00000000 00000008 4772657962697264");

TEST(XSettingsBlob, ThemeNameInEitherByteOrder) {
    EXPECT_EQ(xsettingsString(kGreybirdDark, "Net/ThemeName"), QStringLiteral("Greybird-dark"));
    EXPECT_EQ(xsettingsString(kGreybirdBigEndian, "Net/ThemeName"), QStringLiteral("Greybird"));
    EXPECT_EQ(xsettingsString(kGreybird, "Net/IconThemeName"), std::nullopt);
    // Cut anywhere inside the theme's name: nothing, and no read past the end.
    EXPECT_EQ(xsettingsString(kGreybirdDark.left(kGreybirdDark.size() - 6), "Net/ThemeName"),
              std::nullopt);
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
        const xcb_atom_t manager = intern("MANAGER");
        const xcb_client_message_event_t message{
            XCB_CLIENT_MESSAGE, 32, 0, screen->root, manager, {.data32 = {0, atom, window_}}};
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

// One X server for both managers a desktop may run: Xvfb starts slowly.
TEST(OnXServer, TrayAndSettingsManagersAreFollowed) {
    test::XvfbDisplay x;
    ASSERT_FALSE(x.display().empty()) << "Xvfb did not start";
    const QByteArray display = QByteArray::fromStdString(x.display());

    XcbLegacyTrayPresence tray(display);
    EXPECT_FALSE(tray.isPresent());
    QSignalSpy trayChanged(&tray, &LegacyTrayPresence::changed);
    SelectionOwner trayer(display, "_NET_SYSTEM_TRAY_S0");
    ASSERT_TRUE(trayChanged.wait(15000));
    EXPECT_TRUE(tray.isPresent());
    trayer.leave();
    ASSERT_TRUE(trayChanged.wait(15000));
    EXPECT_FALSE(tray.isPresent());

    SelectionOwner manager(display, "_XSETTINGS_S0");
    manager.setProperty("_XSETTINGS_SETTINGS", kGreybird);
    X11ManagerSelection xsettings("_XSETTINGS_S", "_XSETTINGS_SETTINGS", display);
    QTemporaryDir empty;
    PanelAppearance appearance({empty.path(), {}, QStringLiteral("XFCE"), QString()}, {},
                               &xsettings);
    EXPECT_FALSE(appearance.isDark());
    QSignalSpy changed(&appearance, &PanelAppearance::changed);
    manager.setProperty("_XSETTINGS_SETTINGS", kGreybirdDark);
    ASSERT_TRUE(changed.wait(15000));
    EXPECT_TRUE(appearance.isDark());
}

using test::pixelsNear;
using test::pixelsWhere;

// The template icon is a mask: any colour in it would survive the tint as a
// wrong shade. Its edges land on whole pixels at the panel's own size.
TEST(StatusBarIcons, LoadAndTheTemplateIconIsAMonochromeMask) {
    for (const int size : {16, 22, 44}) {
        SCOPED_TRACE(size);
        EXPECT_FALSE(loadStatusBarIcon(kStatusBarIconStatic3D, {size, size}).isNull());
        const QImage image = loadStatusBarIcon(kStatusBarIconStatic2D, {size, size})
                                 .convertToFormat(QImage::Format_ARGB32);
        ASSERT_FALSE(image.isNull()) << "cannot load the icon (is the SVG image plugin installed?)";
        const auto coloured = [](const QColor &c) { return c.alpha() && (c.rgb() & 0xffffff); };
        EXPECT_EQ(pixelsWhere(image, coloured), 0) << "coloured pixels";
        EXPECT_GT(pixelsWhere(image, [](const QColor &c) { return c.alpha() >= 128; }),
                  size * size / 5)
            << "the glyph is too faint";
    }
}

TEST(TemplateImageTint, PaintsEveryPixelKeepingItsCoverage) {
    QImage mask(3, 1, QImage::Format_ARGB32);
    mask.setPixelColor(0, 0, QColor(255, 0, 0, 255));
    mask.setPixelColor(1, 0, QColor(0, 0, 255, 128));
    mask.setPixelColor(2, 0, QColor(0, 0, 0, 0));
    const QImage tinted =
        TemplateImage::tinted(mask, Qt::white).convertToFormat(QImage::Format_ARGB32);
    EXPECT_EQ(tinted.pixelColor(0, 0), QColor(Qt::white));
    EXPECT_EQ(tinted.pixelColor(1, 0), QColor(255, 255, 255, 128));
    EXPECT_EQ(tinted.pixelColor(2, 0).alpha(), 0);
}

TEST(DrawnTitle, FillsTheSquareInThePanelColour) {
    const struct {
        qreal ratio;
        QColor text;
    } cases[] = {{1.0, Qt::black}, {2.0, Qt::black}, {1.0, Qt::white}, {2.0, Qt::white}};
    for (const auto &c : cases) {
        SCOPED_TRACE(::testing::Message() << c.text.name().toStdString() << " at " << c.ratio);
        const QImage drawn = TitledIcon::draw(QStringLiteral("16.55 GB"), c.text, 22, c.ratio)
                                 .convertToFormat(QImage::Format_ARGB32);

        const int side = qRound(22 * c.ratio);
        ASSERT_EQ(drawn.size(), QSize(side, side));
        EXPECT_EQ(drawn.devicePixelRatio(), c.ratio);
        // Text in the panel's colour, never in the opposite one.
        const QColor opposite = c.text == QColor(Qt::white) ? QColor(Qt::black) : QColor(Qt::white);
        EXPECT_GT(pixelsNear(drawn, c.text), 20 * c.ratio * c.ratio);
        EXPECT_EQ(pixelsNear(drawn, opposite), 0);
        // As large as the square allows: the text spans most of its width.
        const QRegion ink(QBitmap::fromImage(drawn.createAlphaMask()));
        EXPECT_GT(ink.boundingRect().width(), side * 3 / 4);
        // Drawn at the density, not scaled up from one: a scaled-up picture
        // repeats every pixel in 2x2 blocks, so halving and doubling keeps it.
        EXPECT_TRUE(c.ratio == 1 || drawn.scaled(side / 2, side / 2).scaled(side, side) != drawn);
    }
}

}  // namespace
}  // namespace tarnwell
