#pragma once

#include <memory>

#include "ui/PanelAppearance.h"
#include "ui/StatusItemHost.h"

namespace tarnwell {

class LegacyTrayPresence;
class X11ManagerSelection;

// The status item for this desktop with what it watches: the session bus for
// a StatusNotifierWatcher, the X display for a legacy tray and the XSETTINGS
// manager, the desktop's theme files. Needs a QApplication.
class DesktopStatusItem {
public:
    struct Settings {
        StatusItemHost::TextPlacement textPlacement;
        PanelAppearance::ForcedAppearance appearance;
    };

    explicit DesktopStatusItem(Settings settings);
    ~DesktopStatusItem();

    StatusItemHost &host() { return *host_; }

private:
    std::unique_ptr<X11ManagerSelection> xsettings_;
    std::unique_ptr<PanelAppearance> appearance_;
    std::unique_ptr<LegacyTrayPresence> tray_;
    std::unique_ptr<StatusItemHost> host_;
};

}  // namespace tarnwell
