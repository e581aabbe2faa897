#include "ui/StatusItemHost.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QFile>
#include <QLoggingCategory>

#include "app/QRMMenu.h"
#include "ui/LegacyTrayPresence.h"
#include "ui/StatusNotifierItem.h"

Q_LOGGING_CATEGORY(lcStatusItemHost, "tarnwell.ui.host", QtWarningMsg)

namespace tarnwell {

namespace {

// A panel restart takes one to three seconds; the tray icon should not flash
// up in between.
constexpr std::chrono::milliseconds kWatcherGracePeriod{5000};

enum TextPlacementSetting { kPlacementAutomatic = 0, kPlacementLabel = 1, kPlacementDrawn = 2 };

}  // namespace

StatusItemHost::StatusItemHost(const QDBusConnection &connection, LegacyTrayPresence &tray,
                               Items items, TextPlacement textPlacement, QObject *parent)
    : QObject(parent),
      connection_(connection),
      tray_(tray),
      items_(std::move(items)),
      textPlacement_(std::move(textPlacement)),
      processName_(&StatusItemHost::processName) {
    watcherGrace_.setSingleShot(true);
    watcherGrace_.setInterval(kWatcherGracePeriod);
    connect(&watcherGrace_, &QTimer::timeout, this, &StatusItemHost::choose);
    connect(&tray_, &LegacyTrayPresence::changed, this, &StatusItemHost::choose);

    auto *watcher = new QDBusServiceWatcher(StatusNotifierItem::watcherService(), connection_,
                                            QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &newOwner) {
                watcherOwnerChanged(newOwner);
            });
    // The bus daemon itself answers this one, at once.
    QDBusConnectionInterface *bus = connection_.interface();
    watcherOwned_ = bus && bus->isServiceRegistered(StatusNotifierItem::watcherService()).value();
    if (watcherOwned_) {
        identifyHost();
    }
    choose();
}

StatusItemHost::~StatusItemHost() = default;

void StatusItemHost::setWatcherGracePeriod(std::chrono::milliseconds period) {
    watcherGrace_.setInterval(period);
}

bool StatusItemHost::showsLabel(const QString &processName) {
    // The kernel keeps 15 characters of a name: the Ayatana service
    // ("ayatana-indicator-application-service") and Ubuntu's older
    // "indicator-application-service" arrive cut short.
    return processName.startsWith(QLatin1String("ayatana-indicat")) ||
           processName.startsWith(QLatin1String("indicator-appli"));
}

QString StatusItemHost::processName(uint pid) {
    QFile comm(QStringLiteral("/proc/%1/comm").arg(pid));
    if (!comm.open(QIODevice::ReadOnly)) {
        return {};
    }
    return QString::fromUtf8(comm.read(64)).trimmed();
}

bool StatusItemHost::titleDrawn() const {
    switch (textPlacement_ ? textPlacement_() : kPlacementAutomatic) {
        case kPlacementLabel:
            return false;
        case kPlacementDrawn:
            return true;
        default:
            return kind_ == Kind::TrayIcon || !hostShowsLabel_;
    }
}

void StatusItemHost::setTitle(const QString &title) {
    title_ = title;
    if (item_) {
        // The placement setting may have changed since the last refresh.
        item_->setTitleDrawn(titleDrawn());
        item_->setTitle(title);
    }
}

void StatusItemHost::setToolTip(const QString &toolTip) {
    toolTip_ = toolTip;
    if (item_) {
        item_->setToolTip(toolTip);
    }
}

void StatusItemHost::setImage(const QImage &image, bool isTemplate) {
    image_ = image;
    isTemplate_ = isTemplate;
    if (item_) {
        item_->setImage(image, isTemplate);
    }
}

void StatusItemHost::setMenu(QRMMenu *menu) {
    menu_ = menu;
    if (item_) {
        item_->setMenu(menu);
    }
}

void StatusItemHost::watcherOwnerChanged(const QString &newOwner) {
    watcherOwned_ = !newOwner.isEmpty();
    if (watcherOwned_) {
        watcherGrace_.stop();
        hostShowsLabel_ = false;
        identifyHost();
    } else {
        watcherGrace_.start();
    }
    choose();
}

void StatusItemHost::identifyHost() {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetConnectionUnixProcessID"));
    call << StatusNotifierItem::watcherService();
    auto *pending = new QDBusPendingCallWatcher(connection_.asyncCall(call), this);
    connect(
        pending, &QDBusPendingCallWatcher::finished, this, [this](QDBusPendingCallWatcher *done) {
            done->deleteLater();
            const QDBusMessage reply = done->reply();
            if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty()) {
                qCDebug(lcStatusItemHost) << "watcher's process unknown:" << reply.errorMessage();
                return;
            }
            const QString name = processName_(reply.arguments().constFirst().toUInt());
            hostShowsLabel_ = showsLabel(name);
            qCDebug(lcStatusItemHost)
                << "watcher run by" << name << "shows label:" << hostShowsLabel_;
            if (item_) {
                item_->setTitleDrawn(titleDrawn());
            }
            emit hostIdentified(hostShowsLabel_);
        });
}

void StatusItemHost::choose() {
    const bool waitForWatcher = watcherOwned_ || watcherGrace_.isActive() || !tray_.isPresent();
    const Kind wanted = waitForWatcher ? Kind::NotifierItem : Kind::TrayIcon;
    if (wanted != kind_) {
        replace(wanted);
    }
}

void StatusItemHost::replace(Kind kind) {
    // The old item goes first: never two icons on one panel.
    item_.reset();
    kind_ = kind;
    item_ = kind == Kind::TrayIcon ? items_.trayIcon() : items_.notifierItem();
    if (menu_) {
        item_->setMenu(menu_);
    }
    item_->setTitleDrawn(titleDrawn());
    item_->setTitle(title_);
    item_->setToolTip(toolTip_);
    item_->setImage(image_, isTemplate_);
    emit kindChanged(kind);
}

}  // namespace tarnwell
