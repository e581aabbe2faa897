#pragma once

#include <QDBusContext>
#include <QObject>

#include "ui/DBusTypes.h"

namespace tarnwell {

class DBusMenuExporter;

// The com.canonical.dbusmenu interface as it appears on the bus
// (dbus/com.canonical.dbusmenu.xml). Only this class knows the wire names.
// It is the exported object itself rather than a QDBusAbstractAdaptor: calls
// on an adaptor carry no QDBusContext, and unknown ids must answer errors.
class DBusMenuAdaptor : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString TextDirection READ textDirection)
    Q_PROPERTY(QString Status READ status)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath)
public:
    explicit DBusMenuAdaptor(DBusMenuExporter *exporter);

    uint version() const { return 3; }
    QString textDirection() const;
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

public slots:
    uint GetLayout(int parentId, int recursionDepth, const QStringList &propertyNames,
                   tarnwell::DBusMenuLayoutItem &layout);
    tarnwell::DBusMenuItemList GetGroupProperties(const QList<int> &ids,
                                                  const QStringList &propertyNames);
    QDBusVariant GetProperty(int id, const QString &name);
    void Event(int id, const QString &eventId, const QDBusVariant &data, uint timestamp);
    QList<int> EventGroup(const tarnwell::DBusMenuEventList &events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int> &ids, QList<int> &idErrors);

signals:
    void ItemsPropertiesUpdated(const tarnwell::DBusMenuItemList &updatedProps,
                                const tarnwell::DBusMenuItemKeysList &removedProps);
    void LayoutUpdated(uint revision, int parent);
    // Part of the interface hosts subscribe to; this application never asks a
    // host to open its menu.
    void ItemActivationRequested(int id, uint timestamp);

private:
    void replyUnknownId(int id);

    DBusMenuExporter *exporter_;
};

}  // namespace tarnwell
