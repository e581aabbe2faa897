#pragma once

#include "app/StatusItemView.h"

namespace tarnwell {

// A status item that StatusItemHost places on the panel: the StatusNotifierItem
// or the legacy tray icon.
class PanelStatusItem : public StatusItemView {
public:
    // Whether the title is written into the icon, for hosts that show no label.
    virtual void setTitleDrawn(bool drawn) = 0;
};

}  // namespace tarnwell
