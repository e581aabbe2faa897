#include "ui/PanelAppearance.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QSettings>
#include <QStandardPaths>

#include "ui/X11ManagerSelection.h"
#include "ui/XSettings.h"

namespace tarnwell {

namespace {

// Desktop configuration files are a few KiB; a larger one is not ours to parse.
constexpr qint64 kMaximumFileSize = 256 * 1024;

const QString kPortalService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kPortalSettings = QStringLiteral("org.freedesktop.portal.Settings");
const QString kAppearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString kColorSchemeKey = QStringLiteral("color-scheme");

bool isReadableConfig(const QString &path) {
    const QFileInfo info(path);
    return info.isFile() && info.size() <= kMaximumFileSize;
}

QByteArray readCapped(const QString &path) {
    QFile file(path);
    if (!isReadableConfig(path) || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    return file.read(kMaximumFileSize);
}

bool isDarkColor(const QColor &color) {
    return color.lightness() < 128;
}

// The first colour of a style sheet's background: "#rgb", "#rrggbb",
// "rgb(r, g, b)" or "rgba(r, g, b, a)". palette(...) names no colour.
std::optional<QColor> firstBackgroundColor(const QString &block) {
    static const QRegularExpression background(
        QStringLiteral(R"(background(?:-color)?\s*:([^;}]*))"));
    static const QRegularExpression color(QStringLiteral(
        R"((#[0-9a-fA-F]{6}\b|#[0-9a-fA-F]{3}\b)|rgba?\(\s*(\d{1,3})\s*,\s*(\d{1,3})\s*,\s*(\d{1,3}))"));
    const QRegularExpressionMatch declaration = background.match(block);
    if (!declaration.hasMatch()) {
        return std::nullopt;
    }
    const QRegularExpressionMatch found = color.match(declaration.captured(1));
    if (!found.hasMatch()) {
        return std::nullopt;
    }
    if (!found.captured(1).isEmpty()) {
        return QColor(found.captured(1));
    }
    const int red = found.captured(2).toInt();
    const int green = found.captured(3).toInt();
    const int blue = found.captured(4).toInt();
    if (red > 255 || green > 255 || blue > 255) {
        return std::nullopt;
    }
    return QColor(red, green, blue);
}

std::optional<bool> colorSchemeIsDark(uint value) {
    // 0 no preference, 1 prefer dark, 2 prefer light.
    if (value == 1) {
        return true;
    }
    if (value == 2) {
        return false;
    }
    return std::nullopt;
}

// The portal wraps the value in one or two variants, depending on its version.
QVariant unwrapped(QVariant value) {
    while (value.userType() == qMetaTypeId<QDBusVariant>()) {
        value = value.value<QDBusVariant>().variant();
    }
    return value;
}

}  // namespace

PanelAppearance::Locations PanelAppearance::sessionLocations() {
    return {QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation),
            QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation),
            qEnvironmentVariable("XDG_CURRENT_DESKTOP"), qEnvironmentVariable("GTK_THEME")};
}

PanelAppearance::PanelAppearance(Locations locations, ForcedAppearance forced,
                                 X11ManagerSelection *xsettings, QObject *parent)
    : QObject(parent),
      locations_(std::move(locations)),
      forced_(std::move(forced)),
      xsettings_(xsettings) {
    QCoreApplication::instance()->installEventFilter(this);
    connect(&files_, &QFileSystemWatcher::fileChanged, this, &PanelAppearance::reread);
    connect(&files_, &QFileSystemWatcher::directoryChanged, this, &PanelAppearance::reread);
    if (xsettings_) {
        connect(xsettings_, &X11ManagerSelection::changed, this, &PanelAppearance::reread);
    }
    QDBusConnection::sessionBus().connect(
        kPortalService, kPortalPath, kPortalSettings, QStringLiteral("SettingChanged"), this,
        SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    reread();
    readColorScheme();
}

PanelAppearance::~PanelAppearance() = default;

bool PanelAppearance::isDark() {
    const int forced = forced_ ? forced_() : 0;
    if (forced == 1 || forced == 2) {
        return forced == 2;
    }
    return decide(locations_.desktop, readings_);
}

bool PanelAppearance::decide(const QString &desktop, const AppearanceReadings &readings) {
    const QStringList desktops = desktop.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    std::optional<bool> own;
    if (desktops.contains(QLatin1String("LXQt"), Qt::CaseInsensitive)) {
        own = readings.lxqtTheme;
    } else if (desktops.contains(QLatin1String("KDE"), Qt::CaseInsensitive)) {
        own = readings.kdeColors;
    }
    for (const std::optional<bool> &source :
         {own, readings.colorScheme, readings.gtkTheme, readings.lxqtTheme, readings.kdeColors}) {
        if (source) {
            return *source;
        }
    }
    return readings.palette;
}

std::optional<bool> PanelAppearance::gtkThemeIsDark(const QString &themeName) {
    if (themeName.isEmpty()) {
        return std::nullopt;
    }
    return themeName.contains(QLatin1String("dark"), Qt::CaseInsensitive);
}

std::optional<bool> PanelAppearance::kdeglobalsIsDark(const QString &path) {
    if (!isReadableConfig(path)) {
        return std::nullopt;
    }
    QSettings kdeglobals(path, QSettings::IniFormat);
    const QStringList rgb =
        kdeglobals.value(QStringLiteral("Colors:Window/BackgroundNormal")).toStringList();
    if (rgb.size() >= 3) {
        bool ok[3];
        const int red = rgb[0].trimmed().toInt(&ok[0]);
        const int green = rgb[1].trimmed().toInt(&ok[1]);
        const int blue = rgb[2].trimmed().toInt(&ok[2]);
        const QColor color(red, green, blue);
        if (ok[0] && ok[1] && ok[2] && color.isValid()) {
            return isDarkColor(color);
        }
    }
    return gtkThemeIsDark(kdeglobals.value(QStringLiteral("ColorScheme")).toString());
}

std::optional<bool> PanelAppearance::lxqtThemeIsDark(const QString &lxqtConf,
                                                     const QStringList &dataDirs) {
    if (!isReadableConfig(lxqtConf)) {
        return std::nullopt;
    }
    const QString theme =
        QSettings(lxqtConf, QSettings::IniFormat).value(QStringLiteral("theme")).toString();
    // A theme is a folder name; anything that could leave the themes folder is not one.
    if (theme.isEmpty() || theme.contains(QLatin1Char('/')) || theme.startsWith(QLatin1Char('.'))) {
        return std::nullopt;
    }
    for (const QString &dataDir : dataDirs) {
        const QString sheet = QString::fromUtf8(readCapped(
            dataDir + QStringLiteral("/lxqt/themes/") + theme + QStringLiteral("/lxqt-panel.qss")));
        const qsizetype panel = sheet.indexOf(QLatin1String("LXQtPanel #BackgroundWidget"));
        if (panel < 0) {
            continue;
        }
        const qsizetype open = sheet.indexOf(QLatin1Char('{'), panel);
        const qsizetype close = sheet.indexOf(QLatin1Char('}'), open);
        if (open < 0 || close < 0) {
            return std::nullopt;
        }
        const std::optional<QColor> color = firstBackgroundColor(sheet.mid(open, close - open));
        return color ? std::optional<bool>(isDarkColor(*color)) : std::nullopt;
    }
    return std::nullopt;
}

bool PanelAppearance::paletteIsDark(const QPalette &palette) {
    return palette.color(QPalette::Window).lightness() <
           palette.color(QPalette::WindowText).lightness();
}

bool PanelAppearance::eventFilter(QObject *watched, QEvent *event) {
    if (watched == QCoreApplication::instance() &&
        event->type() == QEvent::ApplicationPaletteChange) {
        reread();
    }
    return QObject::eventFilter(watched, event);
}

void PanelAppearance::reread() {
    const bool wasDark = isDark();
    const QString kdeglobals = locations_.configHome + QStringLiteral("/kdeglobals");
    const QString lxqtConf = locations_.configHome + QStringLiteral("/lxqt/lxqt.conf");
    readings_.kdeColors = kdeglobalsIsDark(kdeglobals);
    readings_.lxqtTheme = lxqtThemeIsDark(lxqtConf, locations_.dataDirs);
    const std::optional<QString> xsettingsTheme =
        xsettings_ ? xsettingsString(xsettings_->propertyValue(), "Net/ThemeName") : std::nullopt;
    readings_.gtkTheme = gtkThemeIsDark(xsettingsTheme.value_or(locations_.gtkThemeVariable));
    readings_.palette = paletteIsDark(QGuiApplication::palette());
    watchFiles();
    if (isDark() != wasDark) {
        emit changed();
    }
}

void PanelAppearance::watchFiles() {
    // Editors replace files rather than rewrite them, and a file that does not
    // exist yet cannot be watched: the folders are watched as well.
    const QStringList paths{locations_.configHome, locations_.configHome + QStringLiteral("/lxqt"),
                            locations_.configHome + QStringLiteral("/kdeglobals"),
                            locations_.configHome + QStringLiteral("/lxqt/lxqt.conf")};
    for (const QString &path : paths) {
        if (QFileInfo::exists(path) && !files_.files().contains(path) &&
            !files_.directories().contains(path)) {
            files_.addPath(path);
        }
    }
}

void PanelAppearance::readColorScheme() {
    QDBusMessage read = QDBusMessage::createMethodCall(kPortalService, kPortalPath, kPortalSettings,
                                                       QStringLiteral("Read"));
    read << kAppearanceGroup << kColorSchemeKey;
    // Asking must not start a portal the session does not run.
    read.setAutoStartService(false);
    auto *pending =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(read), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this,
            [this](QDBusPendingCallWatcher *done) {
                const QDBusMessage reply = done->reply();
                if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty()) {
                    const QVariant value = unwrapped(reply.arguments().constFirst());
                    bool ok = false;
                    const uint scheme = value.toUInt(&ok);
                    setColorScheme(ok ? colorSchemeIsDark(scheme) : std::nullopt);
                }
                done->deleteLater();
            });
}

void PanelAppearance::portalSettingChanged(const QString &group, const QString &key,
                                           const QDBusVariant &value) {
    if (group == kAppearanceGroup && key == kColorSchemeKey) {
        bool ok = false;
        const uint scheme = unwrapped(value.variant()).toUInt(&ok);
        setColorScheme(ok ? colorSchemeIsDark(scheme) : std::nullopt);
    }
}

void PanelAppearance::setColorScheme(std::optional<bool> dark) {
    const bool wasDark = isDark();
    readings_.colorScheme = dark;
    if (isDark() != wasDark) {
        emit changed();
    }
}

}  // namespace tarnwell
