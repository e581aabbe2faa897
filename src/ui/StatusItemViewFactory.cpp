#include "ui/StatusItemViewFactory.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>

#include "ui/StatusNotifierItem.h"
#include "ui/StatusNotifierItemView.h"
#include "ui/TrayIconStatusItemView.h"

namespace tarnwell {

std::unique_ptr<StatusItemView> createStatusItemView() {
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (bus.isConnected() && bus.interface() &&
        bus.interface()->isServiceRegistered(StatusNotifierItem::watcherService())) {
        return std::make_unique<StatusNotifierItemView>(bus);
    }
    return std::make_unique<TrayIconStatusItemView>();
}

}  // namespace tarnwell
