#pragma once

#include <memory>

#include "app/StatusItemView.h"

namespace tarnwell {

// The status item for this desktop: a StatusNotifierItem when a watcher owns
// its name on the session bus (the label shows beside the icon), otherwise
// the legacy tray icon. Needs a QApplication.
std::unique_ptr<StatusItemView> createStatusItemView();

}  // namespace tarnwell
