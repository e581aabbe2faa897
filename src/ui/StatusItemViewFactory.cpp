#include "ui/StatusItemViewFactory.h"

#include <QGuiApplication>

#include "ui/LegacyTrayPresence.h"
#include "ui/StatusNotifierItemView.h"
#include "ui/TrayIconStatusItemView.h"
#include "ui/X11ManagerSelection.h"

namespace tarnwell {

DesktopStatusItem::DesktopStatusItem(Settings settings) {
    const bool x11 = QGuiApplication::platformName() == QLatin1String("xcb");
    if (x11) {
        xsettings_ = std::make_unique<X11ManagerSelection>("_XSETTINGS_S", "_XSETTINGS_SETTINGS");
    }
    appearance_ = std::make_unique<PanelAppearance>(
        PanelAppearance::sessionLocations(), std::move(settings.appearance), xsettings_.get());
    if (x11) {
        tray_ = std::make_unique<XcbLegacyTrayPresence>();
    } else {
        tray_ = std::make_unique<NoLegacyTray>();
    }
    const QDBusConnection bus = QDBusConnection::sessionBus();
    PanelAppearance &appearance = *appearance_;
    host_ = std::make_unique<StatusItemHost>(
        bus, *tray_,
        StatusItemHost::Items{
            [bus, &appearance] {
                return std::make_unique<StatusNotifierItemView>(bus, appearance);
            },
            [&appearance] { return std::make_unique<TrayIconStatusItemView>(appearance); }},
        std::move(settings.textPlacement));
}

DesktopStatusItem::~DesktopStatusItem() = default;

}  // namespace tarnwell
