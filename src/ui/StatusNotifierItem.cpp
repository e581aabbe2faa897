#include "ui/StatusNotifierItem.h"

#include <unistd.h>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QLoggingCategory>
#include <atomic>

#include "ui/DBusMenuExporter.h"
#include "ui/StatusNotifierItemAdaptor.h"

Q_LOGGING_CATEGORY(lcStatusItem, "tarnwell.ui.statusitem")

namespace tarnwell {

struct StatusNotifierItemState {
    QString serviceName;
    QString id;
    QString title;
    QString iconName;
    QString iconThemePath;
    DBusImageList iconPixmaps;
    QString toolTipTitle;
    QString toolTipDescription;
    QString label;
    QString labelGuide;
};

namespace {

const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kMenuPath = QStringLiteral("/MenuBar");

QString nextServiceName() {
    static std::atomic<int> instance{0};
    return QStringLiteral("org.kde.StatusNotifierItem-%1-%2").arg(getpid()).arg(++instance);
}

// Stores a text with its companion; false when neither changed, so hosts
// hear of no change that did not happen.
bool replacePair(QString &first, QString &second, const QString &newFirst,
                 const QString &newSecond) {
    if (first == newFirst && second == newSecond) {
        return false;
    }
    first = newFirst;
    second = newSecond;
    return true;
}

}  // namespace

StatusNotifierItem::StatusNotifierItem(const QString &id, const QDBusConnection &connection,
                                       QObject *parent)
    : QObject(parent), connection_(connection), d_(std::make_unique<StatusNotifierItemState>()) {
    registerDBusTypes();
    d_->serviceName = nextServiceName();
    d_->id = id;
    d_->title = id;
    new StatusNotifierItemAdaptor(this);
    menuExporter_ = new DBusMenuExporter(connection_, kMenuPath, this);

    if (!connection_.registerObject(kItemPath, this)) {
        qCWarning(lcStatusItem) << "cannot export the status item:"
                                << connection_.lastError().message();
    }
    if (!connection_.registerService(d_->serviceName)) {
        qCWarning(lcStatusItem) << "cannot own" << d_->serviceName << ":"
                                << connection_.lastError().message();
    }

    auto *watcher = new QDBusServiceWatcher(watcherService(), connection_,
                                            QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString &, const QString &, const QString &newOwner) {
                if (!newOwner.isEmpty()) {
                    registerWithWatcher();
                }
            });
    registerWithWatcher();
}

StatusNotifierItem::~StatusNotifierItem() {
    connection_.unregisterObject(kItemPath);
    connection_.unregisterService(d_->serviceName);
}

QString StatusNotifierItem::watcherService() {
    return QStringLiteral("org.kde.StatusNotifierWatcher");
}

void StatusNotifierItem::registerWithWatcher() {
    // Asynchronous on purpose: a watcher that hangs must not freeze the panel
    // item, nor the application behind it.
    QDBusMessage call = QDBusMessage::createMethodCall(
        watcherService(), QStringLiteral("/StatusNotifierWatcher"), watcherService(),
        QStringLiteral("RegisterStatusNotifierItem"));
    call << d_->serviceName;
    auto *pending = new QDBusPendingCallWatcher(connection_.asyncCall(call), this);
    connect(pending, &QDBusPendingCallWatcher::finished, this, [](QDBusPendingCallWatcher *done) {
        if (done->isError()) {
            // No watcher yet is normal: the service watcher registers once one appears.
            qCDebug(lcStatusItem) << "not registered:" << done->error().message();
        }
        done->deleteLater();
    });
}

QString StatusNotifierItem::serviceName() const {
    return d_->serviceName;
}

QString StatusNotifierItem::menuObjectPath() const {
    return kMenuPath;
}

QString StatusNotifierItem::id() const {
    return d_->id;
}

QString StatusNotifierItem::category() const {
    return QStringLiteral("Hardware");
}

QString StatusNotifierItem::status() const {
    return QStringLiteral("Active");
}

QString StatusNotifierItem::title() const {
    return d_->title;
}

void StatusNotifierItem::setTitle(const QString &title) {
    if (d_->title == title) {
        return;
    }
    d_->title = title;
    emit titleChanged();
}

QString StatusNotifierItem::iconName() const {
    return d_->iconName;
}

QString StatusNotifierItem::iconThemePath() const {
    return d_->iconThemePath;
}

const DBusImageList &StatusNotifierItem::iconPixmaps() const {
    return d_->iconPixmaps;
}

void StatusNotifierItem::setIcon(const QString &name, const QString &themePath,
                                 const QList<QImage> &pixmaps) {
    d_->iconName = name;
    d_->iconThemePath = themePath;
    d_->iconPixmaps.clear();
    for (const QImage &pixmap : pixmaps) {
        d_->iconPixmaps.append(toDBusImage(pixmap));
    }
    emit iconChanged();
}

QString StatusNotifierItem::toolTipTitle() const {
    return d_->toolTipTitle;
}

QString StatusNotifierItem::toolTipDescription() const {
    return d_->toolTipDescription;
}

void StatusNotifierItem::setToolTip(const QString &title, const QString &description) {
    if (replacePair(d_->toolTipTitle, d_->toolTipDescription, title, description)) {
        emit toolTipChanged();
    }
}

QString StatusNotifierItem::label() const {
    return d_->label;
}

QString StatusNotifierItem::labelGuide() const {
    return d_->labelGuide;
}

void StatusNotifierItem::setLabel(const QString &label, const QString &guide) {
    if (replacePair(d_->label, d_->labelGuide, label, guide)) {
        emit labelChanged(label, guide);
    }
}

void StatusNotifierItem::setMenu(QRMMenu *menu) {
    menuExporter_->setMenu(menu);
}

void StatusNotifierItem::requestActivation(const QPoint &position) {
    emit activationRequested(position);
}

}  // namespace tarnwell
