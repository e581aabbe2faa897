#include "ui/DBusMenuAdaptor.h"

#include <QGuiApplication>

#include "ui/DBusMenuExporter.h"

namespace tarnwell {

DBusMenuAdaptor::DBusMenuAdaptor(DBusMenuExporter *exporter)
    : QObject(exporter), exporter_(exporter) {
    connect(exporter, &DBusMenuExporter::layoutUpdated, this, &DBusMenuAdaptor::LayoutUpdated);
    connect(exporter, &DBusMenuExporter::itemsPropertiesUpdated, this,
            &DBusMenuAdaptor::ItemsPropertiesUpdated);
}

QString DBusMenuAdaptor::textDirection() const {
    return QGuiApplication::layoutDirection() == Qt::RightToLeft ? QStringLiteral("rtl")
                                                                 : QStringLiteral("ltr");
}

void DBusMenuAdaptor::replyUnknownId(int id) {
    sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("no menu item with id %1").arg(id));
}

uint DBusMenuAdaptor::GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames,
                                DBusMenuLayoutItem &layout) {
    if (auto found = exporter_->layout(parentId, recursionDepth, propertyNames)) {
        layout = *found;
    } else {
        replyUnknownId(parentId);
    }
    return exporter_->revision();
}

DBusMenuItemList DBusMenuAdaptor::GetGroupProperties(const QList<int> &ids,
                                                     const QStringList &propertyNames) {
    return exporter_->groupProperties(ids, propertyNames);
}

QDBusVariant DBusMenuAdaptor::GetProperty(int id, const QString &name) {
    if (auto value = exporter_->property(id, name)) {
        return QDBusVariant(*value);
    }
    sendErrorReply(QDBusError::InvalidArgs,
                   QStringLiteral("menu item %1 has no property '%2'").arg(id).arg(name));
    return {};
}

void DBusMenuAdaptor::Event(int id, const QString &eventId, const QDBusVariant &, uint) {
    if (!exporter_->handleEvent(id, eventId)) {
        replyUnknownId(id);
    }
}

QList<int> DBusMenuAdaptor::EventGroup(const DBusMenuEventList &events) {
    QList<int> idErrors;
    for (const DBusMenuEvent &event : events) {
        if (!exporter_->handleEvent(event.id, event.eventId)) {
            idErrors.append(event.id);
        }
    }
    if (!events.isEmpty() && idErrors.size() == events.size()) {
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("none of the menu items exist"));
    }
    return idErrors;
}

bool DBusMenuAdaptor::AboutToShow(int id) {
    if (auto needUpdate = exporter_->aboutToShow(id)) {
        return *needUpdate;
    }
    replyUnknownId(id);
    return false;
}

QList<int> DBusMenuAdaptor::AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors) {
    QList<int> updatesNeeded;
    for (int id : ids) {
        if (auto needUpdate = exporter_->aboutToShow(id)) {
            if (*needUpdate) {
                updatesNeeded.append(id);
            }
        } else {
            idErrors.append(id);
        }
    }
    if (!ids.isEmpty() && idErrors.size() == ids.size()) {
        sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("none of the menu items exist"));
    }
    return updatesNeeded;
}

}  // namespace tarnwell
