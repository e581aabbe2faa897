#pragma once

#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <optional>

#include "app/QRMMenu.h"
#include "ui/DBusTypes.h"

namespace tarnwell {

// Publishes a QRMMenu as a com.canonical.dbusmenu object and keeps the hosts'
// copy in step with the model. Item ids are handed out once and never reused;
// the layout revision rises only when items are added or removed; property
// changes are sent as one merged diff per event-loop turn.
// The wire names live in DBusMenuAdaptor; this class speaks in model terms.
class DBusMenuExporter : public QObject {
    Q_OBJECT
public:
    DBusMenuExporter(const QDBusConnection &connection, const QString &objectPath,
                     QObject *parent = nullptr);
    ~DBusMenuExporter() override;

    void setMenu(QRMMenu *menu);

    uint revision() const { return revision_; }
    // nullopt when parentId names no item.
    std::optional<DBusMenuLayoutItem> layout(int parentId, int depth,
                                             const QStringList &propertyNames) const;
    // Items that exist, in the order asked; an empty id list means every item.
    DBusMenuItemList groupProperties(const QList<int> &ids, const QStringList &propertyNames) const;
    // nullopt when the id or the property does not exist.
    std::optional<QVariant> property(int id, const QString &name) const;
    // false when the id does not exist. A click triggers the item on a later
    // turn of the event loop: the caller may be waiting for the reply.
    bool handleEvent(int id, const QString &eventId);
    // Lets the model refresh a menu before it opens; tells whether the layout
    // changed meanwhile. nullopt when the id does not exist.
    std::optional<bool> aboutToShow(int id);

    // Item properties as the hosts see them, defaults left out.
    static QVariantMap propertiesOf(const QRMMenuItem &item);
    // '_' marks a mnemonic on the bus; a literal one is doubled.
    static QString escapedLabel(const QString &title);

signals:
    void layoutUpdated(uint revision, int parentId);
    void itemsPropertiesUpdated(const tarnwell::DBusMenuItemList &updated,
                                const tarnwell::DBusMenuItemKeysList &removed);

private:
    struct Entry {
        QRMMenuItem *item = nullptr;
        QVariantMap properties;
        QRMMenu *submenu = nullptr;
    };

    bool contains(int id) const { return id == 0 || entries_.contains(id); }
    QRMMenu *menuOf(int id) const;
    QVariantMap propertiesFor(int id) const;
    DBusMenuLayoutItem layoutNode(int id, int depth, const QStringList &names) const;

    void trackMenu(QRMMenu *menu, int ownerId);
    void untrackMenu(QRMMenu *menu);
    int trackItem(QRMMenuItem *item);
    void forgetItem(QObject *item);
    void onItemsChanged(QRMMenu *menu);
    void onItemChanged(QRMMenuItem *item);
    void structureChanged(int parentId);
    void scheduleFlush();
    void flush();

    QDBusConnection connection_;
    QString objectPath_;
    QPointer<QRMMenu> menu_;
    QHash<int, Entry> entries_;
    QHash<const QObject *, int> ids_;
    QHash<const QObject *, int> menuOwners_;
    int nextId_ = 1;
    uint revision_ = 0;

    bool flushScheduled_ = false;
    std::optional<int> pendingLayoutParent_;
    QHash<int, QVariantMap> pendingUpdates_;
    QHash<int, QSet<QString>> pendingRemovals_;
};

}  // namespace tarnwell
