#include "ui/DBusTypes.h"

#include <QDBusMetaType>
#include <QtEndian>

namespace tarnwell {

namespace {

// Every plain structure on the bus is its fields in order.
template <typename... Fields>
QDBusArgument &writeStructure(QDBusArgument &argument, const Fields &...fields) {
    argument.beginStructure();
    (argument << ... << fields);
    argument.endStructure();
    return argument;
}

template <typename... Fields>
const QDBusArgument &readStructure(const QDBusArgument &argument, Fields &...fields) {
    argument.beginStructure();
    (argument >> ... >> fields);
    argument.endStructure();
    return argument;
}

}  // namespace

void registerDBusTypes() {
    static const bool registered = [] {
        qDBusRegisterMetaType<DBusImage>();
        qDBusRegisterMetaType<DBusImageList>();
        qDBusRegisterMetaType<DBusToolTip>();
        qDBusRegisterMetaType<DBusMenuLayoutItem>();
        qDBusRegisterMetaType<DBusMenuItem>();
        qDBusRegisterMetaType<DBusMenuItemList>();
        qDBusRegisterMetaType<DBusMenuItemKeys>();
        qDBusRegisterMetaType<DBusMenuItemKeysList>();
        qDBusRegisterMetaType<DBusMenuEvent>();
        qDBusRegisterMetaType<DBusMenuEventList>();
        // Signals are relayed by type name; a typedef unknown by that name
        // silently stops the signal from reaching the bus.
        qRegisterMetaType<DBusImageList>("DBusImageList");
        qRegisterMetaType<DBusImageList>("tarnwell::DBusImageList");
        qRegisterMetaType<DBusMenuItemList>("DBusMenuItemList");
        qRegisterMetaType<DBusMenuItemList>("tarnwell::DBusMenuItemList");
        qRegisterMetaType<DBusMenuItemKeysList>("DBusMenuItemKeysList");
        qRegisterMetaType<DBusMenuItemKeysList>("tarnwell::DBusMenuItemKeysList");
        qRegisterMetaType<DBusMenuEventList>("DBusMenuEventList");
        qRegisterMetaType<DBusMenuEventList>("tarnwell::DBusMenuEventList");
        return true;
    }();
    Q_UNUSED(registered);
}

DBusImage toDBusImage(const QImage &image) {
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    DBusImage result{argb.width(), argb.height(), {}};
    result.pixels.resize(qsizetype(argb.width()) * argb.height() * 4);
    auto *out = reinterpret_cast<uchar *>(result.pixels.data());
    for (int y = 0; y < argb.height(); ++y) {
        const auto *line = reinterpret_cast<const quint32 *>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x) {
            qToBigEndian(line[x], out);
            out += 4;
        }
    }
    return result;
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusImage &image) {
    return writeStructure(argument, image.width, image.height, image.pixels);
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusImage &image) {
    return readStructure(argument, image.width, image.height, image.pixels);
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusToolTip &toolTip) {
    return writeStructure(argument, toolTip.iconName, toolTip.images, toolTip.title,
                          toolTip.description);
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusToolTip &toolTip) {
    return readStructure(argument, toolTip.iconName, toolTip.images, toolTip.title,
                         toolTip.description);
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuLayoutItem &item) {
    argument.beginStructure();
    argument << item.id << item.properties;
    argument.beginArray(QMetaType::fromType<QDBusVariant>());
    for (const DBusMenuLayoutItem &child : item.children) {
        argument << QDBusVariant(QVariant::fromValue(child));
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuLayoutItem &item) {
    argument.beginStructure();
    argument >> item.id >> item.properties;
    item.children.clear();
    argument.beginArray();
    while (!argument.atEnd()) {
        QDBusVariant wrapped;
        argument >> wrapped;
        // The child arrives as a still-encoded argument inside the variant.
        DBusMenuLayoutItem child;
        qvariant_cast<QDBusArgument>(wrapped.variant()) >> child;
        item.children.append(child);
    }
    argument.endArray();
    argument.endStructure();
    return argument;
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuItem &item) {
    return writeStructure(argument, item.id, item.properties);
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuItem &item) {
    return readStructure(argument, item.id, item.properties);
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuItemKeys &keys) {
    return writeStructure(argument, keys.id, keys.names);
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuItemKeys &keys) {
    return readStructure(argument, keys.id, keys.names);
}

QDBusArgument &operator<<(QDBusArgument &argument, const DBusMenuEvent &event) {
    return writeStructure(argument, event.id, event.eventId, event.data, event.timestamp);
}

const QDBusArgument &operator>>(const QDBusArgument &argument, DBusMenuEvent &event) {
    return readStructure(argument, event.id, event.eventId, event.data, event.timestamp);
}

}  // namespace tarnwell
