#pragma once

#include <QColor>
#include <QFileSystemWatcher>
#include <QObject>
#include <QPalette>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

class QDBusVariant;

namespace tarnwell {

class X11ManagerSelection;

// What each desktop source says about the panel; nothing where it says nothing.
struct AppearanceReadings {
    std::optional<bool> lxqtTheme;    // the panel background of LXQt's theme
    std::optional<bool> kdeColors;    // kdeglobals' colour scheme
    std::optional<bool> colorScheme;  // the freedesktop color-scheme preference
    std::optional<bool> gtkTheme;     // XSETTINGS Net/ThemeName, or GTK_THEME
    bool palette = false;             // the application palette, always known
};

// Whether the panel is dark, so template icons and drawn text are painted
// white instead of black. Nothing tells an application the colour of the panel
// itself; the desktop's own theme settings come closest, and the palette last.
// Every source is read again when it changes.
class PanelAppearance : public QObject {
    Q_OBJECT
public:
    // 0 follow the desktop, 1 always light, 2 always dark.
    using ForcedAppearance = std::function<int()>;

    struct Locations {
        QString configHome;        // holds kdeglobals and lxqt/lxqt.conf
        QStringList dataDirs;      // searched for lxqt/themes/<theme>
        QString desktop;           // XDG_CURRENT_DESKTOP
        QString gtkThemeVariable;  // GTK_THEME
    };

    // The user's folders and environment.
    static Locations sessionLocations();

    // xsettings follows the XSETTINGS manager's _XSETTINGS_SETTINGS; null
    // without an X display.
    PanelAppearance(Locations locations, ForcedAppearance forced, X11ManagerSelection *xsettings,
                    QObject *parent = nullptr);
    ~PanelAppearance() override;

    bool isDark();
    QColor textColor() { return isDark() ? QColor(Qt::white) : QColor(Qt::black); }
    const AppearanceReadings &readings() const { return readings_; }

    // The desktop the session runs decides whose setting counts first; then the
    // portal's preference, the GTK theme name, the other desktop's file and
    // the palette.
    static bool decide(const QString &desktop, const AppearanceReadings &readings);
    // A theme name that names a dark variant ("Adwaita-dark", "Arc-Dark", "Adwaita:dark").
    static std::optional<bool> gtkThemeIsDark(const QString &themeName);
    // kdeglobals: the window background colour, else the scheme's name.
    static std::optional<bool> kdeglobalsIsDark(const QString &path);
    // lxqt.conf's theme, looked up in dataDirs: its panel's first background colour.
    static std::optional<bool> lxqtThemeIsDark(const QString &lxqtConf,
                                               const QStringList &dataDirs);
    static bool paletteIsDark(const QPalette &palette);

signals:
    // A source changed its answer.
    void changed();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void portalSettingChanged(const QString &group, const QString &key, const QDBusVariant &value);

private:
    void reread();
    void readColorScheme();
    void setColorScheme(std::optional<bool> dark);
    void watchFiles();

    Locations locations_;
    ForcedAppearance forced_;
    X11ManagerSelection *xsettings_;
    QFileSystemWatcher files_;
    AppearanceReadings readings_;
};

}  // namespace tarnwell
