#include "ui/DBusMenuExporter.h"

#include <QBuffer>
#include <QLoggingCategory>

#include "app/QRMMenu.h"
#include "ui/DBusMenuAdaptor.h"

Q_LOGGING_CATEGORY(lcDBusMenu, "tarnwell.ui.dbusmenu")

namespace tarnwell {

namespace {

QByteArray pngData(const QImage &image) {
    QByteArray data;
    QBuffer buffer(&data);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return data;
}

QVariantMap filtered(const QVariantMap &properties, const QStringList &names) {
    if (names.isEmpty()) {
        return properties;
    }
    QVariantMap result;
    for (const QString &name : names) {
        auto it = properties.constFind(name);
        if (it != properties.constEnd()) {
            result.insert(name, it.value());
        }
    }
    return result;
}

}  // namespace

DBusMenuExporter::DBusMenuExporter(const QDBusConnection &connection, const QString &objectPath,
                                   QObject *parent)
    : QObject(parent), connection_(connection), objectPath_(objectPath) {
    registerDBusTypes();
    if (!connection_.registerObject(objectPath_, new DBusMenuAdaptor(this),
                                    QDBusConnection::ExportAllContents)) {
        qCWarning(lcDBusMenu) << "cannot export the menu at" << objectPath_ << ":"
                              << connection_.lastError().message();
    }
}

DBusMenuExporter::~DBusMenuExporter() {
    connection_.unregisterObject(objectPath_);
}

void DBusMenuExporter::setMenu(QRMMenu *menu) {
    if (menu_ == menu) {
        return;
    }
    for (auto it = menuOwners_.constBegin(); it != menuOwners_.constEnd(); ++it) {
        disconnect(it.key(), nullptr, this, nullptr);
    }
    for (const Entry &entry : std::as_const(entries_)) {
        disconnect(entry.item, nullptr, this, nullptr);
    }
    menuOwners_.clear();
    entries_.clear();
    ids_.clear();
    pendingUpdates_.clear();
    pendingRemovals_.clear();

    menu_ = menu;
    if (menu) {
        trackMenu(menu, 0);
    }
    structureChanged(0);
}

QRMMenu *DBusMenuExporter::menuOf(int id) const {
    if (id == 0) {
        return menu_;
    }
    auto it = entries_.constFind(id);
    return it == entries_.constEnd() ? nullptr : it->submenu;
}

QVariantMap DBusMenuExporter::propertiesFor(int id) const {
    if (id == 0) {
        return {{QStringLiteral("children-display"), QStringLiteral("submenu")}};
    }
    return entries_.value(id).properties;
}

QVariantMap DBusMenuExporter::propertiesOf(const QRMMenuItem &item) {
    QVariantMap properties;
    if (!item.isVisible()) {
        properties.insert(QStringLiteral("visible"), false);
    }
    if (item.isSeparator()) {
        properties.insert(QStringLiteral("type"), QStringLiteral("separator"));
        return properties;
    }
    properties.insert(QStringLiteral("label"), escapedLabel(item.title()));
    if (!item.isEnabled()) {
        properties.insert(QStringLiteral("enabled"), false);
    }
    if (!item.image().isNull()) {
        properties.insert(QStringLiteral("icon-data"), pngData(item.image()));
    }
    if (item.submenu()) {
        properties.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    }
    return properties;
}

QString DBusMenuExporter::escapedLabel(const QString &title) {
    QString label = title;
    return label.replace(QLatin1Char('_'), QLatin1String("__"));
}

DBusMenuLayoutItem DBusMenuExporter::layoutNode(int id, int depth, const QStringList &names) const {
    DBusMenuLayoutItem node;
    node.id = id;
    node.properties = filtered(propertiesFor(id), names);
    QRMMenu *menu = menuOf(id);
    if (depth == 0 || !menu) {
        return node;
    }
    const int childDepth = depth < 0 ? -1 : depth - 1;
    for (QRMMenuItem *item : menu->items()) {
        const int childId = ids_.value(item, -1);
        if (childId > 0) {
            node.children.append(layoutNode(childId, childDepth, names));
        }
    }
    return node;
}

std::optional<DBusMenuLayoutItem> DBusMenuExporter::layout(int parentId, int depth,
                                                           const QStringList &names) const {
    if (!contains(parentId)) {
        return std::nullopt;
    }
    return layoutNode(parentId, depth, names);
}

DBusMenuItemList DBusMenuExporter::groupProperties(const QList<int> &ids,
                                                   const QStringList &names) const {
    DBusMenuItemList result;
    if (ids.isEmpty()) {
        QList<int> all = entries_.keys();
        std::sort(all.begin(), all.end());
        for (int id : all) {
            result.append({id, filtered(propertiesFor(id), names)});
        }
        return result;
    }
    for (int id : ids) {
        if (contains(id)) {
            result.append({id, filtered(propertiesFor(id), names)});
        }
    }
    return result;
}

std::optional<QVariant> DBusMenuExporter::property(int id, const QString &name) const {
    if (!contains(id)) {
        return std::nullopt;
    }
    const QVariantMap properties = propertiesFor(id);
    auto it = properties.constFind(name);
    if (it == properties.constEnd()) {
        return std::nullopt;
    }
    return it.value();
}

bool DBusMenuExporter::handleEvent(int id, const QString &eventId) {
    if (!contains(id)) {
        return false;
    }
    // Hosts send "closed" for the menu they showed; its opening comes as AboutToShow.
    if (eventId == QLatin1String("closed")) {
        if (QRMMenu *menu = menuOf(id)) {
            menu->notifyClosed();
        }
    }
    if (id != 0 && eventId == QLatin1String("clicked")) {
        QPointer<QRMMenuItem> item = entries_.value(id).item;
        QMetaObject::invokeMethod(
            this,
            [item] {
                if (item) {
                    item->trigger();
                }
            },
            Qt::QueuedConnection);
    }
    return true;
}

std::optional<bool> DBusMenuExporter::aboutToShow(int id) {
    if (!contains(id)) {
        return std::nullopt;
    }
    QRMMenu *menu = menuOf(id);
    if (!menu) {
        return false;
    }
    const uint before = revision_;
    menu->notifyAboutToShow();
    return revision_ != before;
}

void DBusMenuExporter::trackMenu(QRMMenu *menu, int ownerId) {
    if (menuOwners_.contains(menu)) {
        return;
    }
    menuOwners_.insert(menu, ownerId);
    connect(menu, &QRMMenu::itemsChanged, this, [this, menu] { onItemsChanged(menu); });
    connect(menu, &QObject::destroyed, this, [this](QObject *gone) { menuOwners_.remove(gone); });
    for (QRMMenuItem *item : menu->items()) {
        trackItem(item);
    }
}

void DBusMenuExporter::untrackMenu(QRMMenu *menu) {
    if (menuOwners_.remove(menu)) {
        disconnect(menu, nullptr, this, nullptr);
    }
}

int DBusMenuExporter::trackItem(QRMMenuItem *item) {
    if (auto it = ids_.constFind(item); it != ids_.constEnd()) {
        return it.value();
    }
    const int id = nextId_++;
    ids_.insert(item, id);
    entries_.insert(id, {item, propertiesOf(*item), item->submenu()});
    connect(item, &QRMMenuItem::changed, this, [this, item] { onItemChanged(item); });
    connect(item, &QObject::destroyed, this, &DBusMenuExporter::forgetItem);
    if (item->submenu()) {
        trackMenu(item->submenu(), id);
    }
    return id;
}

void DBusMenuExporter::forgetItem(QObject *item) {
    const int id = ids_.take(item);
    entries_.remove(id);
    pendingUpdates_.remove(id);
    pendingRemovals_.remove(id);
}

void DBusMenuExporter::onItemsChanged(QRMMenu *menu) {
    for (QRMMenuItem *item : menu->items()) {
        trackItem(item);
    }
    structureChanged(menuOwners_.value(menu));
}

void DBusMenuExporter::onItemChanged(QRMMenuItem *item) {
    const int id = ids_.value(item);
    auto entry = entries_.find(id);
    if (entry == entries_.end()) {
        return;
    }
    if (entry->submenu != item->submenu()) {
        if (entry->submenu) {
            untrackMenu(entry->submenu);
        }
        entry->submenu = item->submenu();
        if (entry->submenu) {
            trackMenu(entry->submenu, id);
        }
        structureChanged(id);
    }

    const QVariantMap now = propertiesOf(*item);
    const QVariantMap before = std::exchange(entry->properties, now);
    for (auto it = now.constBegin(); it != now.constEnd(); ++it) {
        if (before.value(it.key()) != it.value()) {
            pendingUpdates_[id].insert(it.key(), it.value());
            pendingRemovals_[id].remove(it.key());
        }
    }
    for (auto it = before.constBegin(); it != before.constEnd(); ++it) {
        if (!now.contains(it.key())) {
            pendingRemovals_[id].insert(it.key());
            pendingUpdates_[id].remove(it.key());
        }
    }
    scheduleFlush();
}

void DBusMenuExporter::structureChanged(int parentId) {
    ++revision_;
    // Several menus changed in one turn: one announcement from the root covers them.
    pendingLayoutParent_ = pendingLayoutParent_ && *pendingLayoutParent_ != parentId ? 0 : parentId;
    scheduleFlush();
}

void DBusMenuExporter::scheduleFlush() {
    if (flushScheduled_) {
        return;
    }
    flushScheduled_ = true;
    QMetaObject::invokeMethod(this, &DBusMenuExporter::flush, Qt::QueuedConnection);
}

void DBusMenuExporter::flush() {
    flushScheduled_ = false;
    if (pendingLayoutParent_) {
        emit layoutUpdated(revision_, *std::exchange(pendingLayoutParent_, std::nullopt));
    }

    DBusMenuItemList updated;
    DBusMenuItemKeysList removed;
    for (auto it = pendingUpdates_.constBegin(); it != pendingUpdates_.constEnd(); ++it) {
        if (!it.value().isEmpty()) {
            updated.append({it.key(), it.value()});
        }
    }
    for (auto it = pendingRemovals_.constBegin(); it != pendingRemovals_.constEnd(); ++it) {
        if (!it.value().isEmpty()) {
            removed.append({it.key(), QStringList(it.value().cbegin(), it.value().cend())});
        }
    }
    pendingUpdates_.clear();
    pendingRemovals_.clear();
    if (!updated.isEmpty() || !removed.isEmpty()) {
        emit itemsPropertiesUpdated(updated, removed);
    }
}

}  // namespace tarnwell
