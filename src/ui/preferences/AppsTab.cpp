#include "ui/preferences/AppsTab.h"

namespace tarnwell {

AppsTab::AppsTab(PreferencesServices &, QWidget *parent) : QWidget(parent) {}

}  // namespace tarnwell
