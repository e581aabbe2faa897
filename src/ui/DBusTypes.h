#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QImage>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariantMap>

// Structures that travel on the bus for the status item and its menu, with the
// marshalling QtDBus needs. The D-Bus signature of each is in its comment.

namespace tarnwell {

// (iiay): ARGB32 pixels, not premultiplied, each 32-bit word big-endian.
struct DBusImage {
    int width = 0;
    int height = 0;
    QByteArray pixels;
};
using DBusImageList = QList<DBusImage>;

// (sa(iiay)ss)
struct DBusToolTip {
    QString iconName;
    DBusImageList images;
    QString title;
    QString description;
};

// (ia{sv}av): every child is a variant holding another layout item.
struct DBusMenuLayoutItem {
    int id = 0;
    QVariantMap properties;
    QList<DBusMenuLayoutItem> children;
};

// (ia{sv})
struct DBusMenuItem {
    int id = 0;
    QVariantMap properties;
};
using DBusMenuItemList = QList<DBusMenuItem>;

// (ias)
struct DBusMenuItemKeys {
    int id = 0;
    QStringList names;
};
using DBusMenuItemKeysList = QList<DBusMenuItemKeys>;

// (isvu)
struct DBusMenuEvent {
    int id = 0;
    QString eventId;
    QDBusVariant data;
    uint timestamp = 0;
};
using DBusMenuEventList = QList<DBusMenuEvent>;

// An image as hosts read it: ARGB32 not premultiplied, big-endian words.
DBusImage toDBusImage(const QImage &image);

// Registers every type above with the meta-type system and QtDBus. Must run
// before the first object is exported or the first call is made.
void registerDBusTypes();

QDBusArgument &operator<<(QDBusArgument &argument, const DBusImage &image);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusImage &image);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusToolTip &toolTip);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusToolTip &toolTip);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuLayoutItem &item);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuLayoutItem &item);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuItem &item);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuItem &item);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuItemKeys &keys);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuItemKeys &keys);
QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuEvent &event);
const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuEvent &event);

}  // namespace tarnwell

Q_DECLARE_METATYPE(tarnwell::DBusImage)
Q_DECLARE_METATYPE(tarnwell::DBusToolTip)
Q_DECLARE_METATYPE(tarnwell::DBusMenuLayoutItem)
Q_DECLARE_METATYPE(tarnwell::DBusMenuItem)
Q_DECLARE_METATYPE(tarnwell::DBusMenuItemKeys)
Q_DECLARE_METATYPE(tarnwell::DBusMenuEvent)
