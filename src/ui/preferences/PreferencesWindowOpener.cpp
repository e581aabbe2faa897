#include "ui/preferences/PreferencesWindowOpener.h"

#include "ui/preferences/QRMPreferencesWindowController.h"

namespace tarnwell {

PreferencesWindowOpener::PreferencesWindowOpener(PreferencesServices services, QObject *parent)
    : QObject(parent), services_(std::move(services)) {}

PreferencesWindowOpener::~PreferencesWindowOpener() {
    delete controller_.data();
}

QRMPreferencesWindowController *PreferencesWindowOpener::preferencesWindowController() const {
    return controller_;
}

void PreferencesWindowOpener::showPreferencesWindow() {
    if (!controller_) {
        controller_ = new QRMPreferencesWindowController(services_);
    } else if (controller_->isVisible()) {
        // Mapped again, the window comes up on the workspace the user is on
        // instead of pulling the user to the one it was left on.
        controller_->hide();
    }
    controller_->show();
    controller_->raise();
    controller_->activateWindow();
}

}  // namespace tarnwell
