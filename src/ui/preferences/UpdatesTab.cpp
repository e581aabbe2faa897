#include "ui/preferences/UpdatesTab.h"

namespace tarnwell {

UpdatesTab::UpdatesTab(PreferencesServices &, QWidget *parent) : QWidget(parent) {}

}  // namespace tarnwell
