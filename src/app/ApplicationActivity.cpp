#include "app/ApplicationActivity.h"

#include <QGuiApplication>

#include "app/QRMMenu.h"
#include "app/UsageEvents.h"

namespace tarnwell {

ApplicationActivity::ApplicationActivity(QRMMenu &menu, UsageEvents *usageEvents, QObject *parent)
    : QObject(parent), usageEvents_(usageEvents) {
    connect(&menu, &QRMMenu::aboutToShow, this, &ApplicationActivity::menuOpened);
    connect(&menu, &QRMMenu::closed, this, &ApplicationActivity::menuClosed);
    // Qt calls the application active while one of its windows has the focus.
    if (auto *gui = qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        connect(gui, &QGuiApplication::applicationStateChanged, this,
                [this](Qt::ApplicationState state) {
                    windowFocusChanged(state == Qt::ApplicationActive);
                });
    }
}

void ApplicationActivity::menuOpened() {
    const bool wasActive = isActive();
    menuOpen_ = true;
    update(wasActive);
}

void ApplicationActivity::menuClosed() {
    const bool wasActive = isActive();
    menuOpen_ = false;
    update(wasActive);
}

void ApplicationActivity::windowFocusChanged(bool focused) {
    const bool wasActive = isActive();
    windowFocused_ = focused;
    update(wasActive);
}

void ApplicationActivity::update(bool wasActive) {
    if (usageEvents_ == nullptr || wasActive == isActive()) {
        return;
    }
    if (isActive()) {
        usageEvents_->becameActive();
    } else {
        usageEvents_->resignedActive();
    }
}

}  // namespace tarnwell
