#include "EVTEvent.h"

#include <chrono>

#include <QJsonDocument>
#include <QUuid>

namespace tarnwell {

namespace {

double now() {
    using namespace std::chrono;
    return duration<double>(system_clock::now().time_since_epoch()).count();
}

QJsonObject withEventId(QJsonObject payload, const QString &identifier) {
    payload.insert(QStringLiteral("eventId"), identifier);
    return payload;
}

}  // namespace

EVTEvent::EVTEvent() : EVTEvent(Kind::Base, QStringLiteral("unknown"), {}, false) {}

EVTEvent::EVTEvent(Kind kind, QString name, QJsonObject payload, bool triggersFlush)
    : kind_(kind),
      identifier_(QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()),
      timestamp_(now()),
      name_(std::move(name)),
      payload_(kind == Kind::Base ? payload : withEventId(std::move(payload), identifier_)),
      triggersFlush_(triggersFlush) {}

EVTEvent EVTEvent::predefined(const QString &predefinedType,
                              const EVTAttributeDictionary &predefinedAttributes,
                              const EVTAttributes &customAttributes) {
    return EVTEvent(Kind::Predefined, QStringLiteral("predefined"),
                    {
                        {QStringLiteral("predefined_type"), predefinedType},
                        {QStringLiteral("predefined_attributes"), predefinedAttributes.toJson()},
                        {QStringLiteral("custom_attributes"),
                         EVTAttributeDictionary(customAttributes).toJson()},
                    },
                    false);
}

EVTEvent EVTEvent::custom(const QString &customType, const EVTAttributes &customAttributes) {
    return EVTEvent(Kind::Custom, QStringLiteral("custom"),
                    {
                        {QStringLiteral("custom_type"), customType},
                        {QStringLiteral("custom_attributes"),
                         EVTAttributeDictionary(customAttributes).toJson()},
                    },
                    false);
}

EVTEvent EVTEvent::lifecycle(EVTLifecycle lifecycle) {
    const bool flushes = lifecycle != EVTLifecycle::WillTerminate;
    return EVTEvent(Kind::Lifecycle, lifecycleName(lifecycle), {}, flushes);
}

QString EVTEvent::lifecycleName(EVTLifecycle lifecycle) {
    switch (lifecycle) {
        case EVTLifecycle::Installed:
            return QStringLiteral("app_installed");
        case EVTLifecycle::DidBecomeActive:
            return QStringLiteral("app_became_active");
        case EVTLifecycle::WillResignActive:
            return QStringLiteral("app_became_inactive");
        case EVTLifecycle::WillTerminate:
            return QStringLiteral("app_terminated");
    }
    return QStringLiteral("unknown-notification");
}

QByteArray EVTEvent::line() const {
    return formatLine(timestamp_, name_, payload_);
}

QByteArray EVTEvent::formatLine(double timestamp, const QString &name, const QJsonObject &payload) {
    const QByteArray json = QJsonDocument(payload).toJson(QJsonDocument::Compact);
    const auto milliseconds = static_cast<unsigned long long>(timestamp * 1000.0);
    QByteArray line;
    line.reserve(json.size() + name.size() + 32);
    line.append(QByteArray::number(milliseconds))
        .append('\t')
        .append(name.toUtf8())
        .append('\t')
        .append(QByteArray::number(json.size()))
        .append('\t')
        .append(json)
        .append('\n');
    return line;
}

}  // namespace tarnwell
