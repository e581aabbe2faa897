#pragma once

#include <cstdint>

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QUuid>

#include "EVTAttributeDictionary.h"

namespace tarnwell {

// The application's lifecycle moments the kit records.
enum class EVTLifecycle {
    Installed,
    DidBecomeActive,
    WillResignActive,
    WillTerminate,
};

// One recorded happening: what the line in the event file is made of.
// Made on the caller's thread with as little work as possible; its payload
// is built when the worker formats the line.
class EVTEvent {
public:
    enum class Kind { Base, Predefined, Custom, Lifecycle };

    // The base kind: named "unknown", an empty payload, never flushes.
    EVTEvent();

    static EVTEvent predefined(const QString &predefinedType,
                               const EVTAttributeDictionary &predefinedAttributes,
                               const EVTAttributes &customAttributes);
    static EVTEvent custom(const QString &customType, const EVTAttributes &customAttributes);
    static EVTEvent lifecycle(EVTLifecycle lifecycle);

    static QString lifecycleName(EVTLifecycle lifecycle);

    Kind kind() const { return kind_; }
    QString identifier() const;
    // Seconds since 1970, with the clock's sub-second part.
    double timestamp() const { return timestamp_; }
    const QString &name() const { return name_; }
    QJsonObject payload() const;
    // Whether recording this event rotates the current file at once.
    bool triggersFlush() const { return triggersFlush_; }

    // "<ms since 1970>\t<name>\t<payload bytes>\t<payload>\n".
    QByteArray line() const;
    static QByteArray formatLine(double timestamp, const QString &name, const QJsonObject &payload);

private:
    EVTEvent(Kind kind, QString name, bool triggersFlush);

    Kind kind_;
    QUuid identifier_;
    double timestamp_;
    QString name_;
    bool triggersFlush_;
    // "predefined_type" or "custom_type", and the attribute sets.
    QString type_;
    EVTAttributeDictionary predefinedAttributes_;
    EVTAttributeDictionary customAttributes_;
};

}  // namespace tarnwell
