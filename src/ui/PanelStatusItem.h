#pragma once

#include <QPoint>

#include "app/StatusItemView.h"

namespace tarnwell {

// A status item that StatusItemHost places on the panel: the StatusNotifierItem
// or the legacy tray icon.
class PanelStatusItem : public StatusItemView {
public:
    // Whether the title is written into the icon, for hosts that show no label.
    virtual void setTitleDrawn(bool drawn) = 0;
    // Opens the item's menu at a screen position (a second start of the
    // program asks for it).
    virtual void popUpMenu(const QPoint &position) = 0;
};

}  // namespace tarnwell
