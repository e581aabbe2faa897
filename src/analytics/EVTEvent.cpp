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

}  // namespace

EVTEvent::EVTEvent() : EVTEvent(Kind::Base, QStringLiteral("unknown"), false) {}

EVTEvent::EVTEvent(Kind kind, QString name, bool triggersFlush)
    : kind_(kind),
      identifier_(QUuid::createUuid()),
      timestamp_(now()),
      name_(std::move(name)),
      triggersFlush_(triggersFlush) {}

EVTEvent EVTEvent::predefined(const QString &predefinedType,
                              const EVTAttributeDictionary &predefinedAttributes,
                              const EVTAttributes &customAttributes) {
    EVTEvent event(Kind::Predefined, QStringLiteral("predefined"), false);
    event.type_ = predefinedType;
    event.predefinedAttributes_ = predefinedAttributes;
    event.customAttributes_ = EVTAttributeDictionary(customAttributes);
    return event;
}

EVTEvent EVTEvent::custom(const QString &customType, const EVTAttributes &customAttributes) {
    EVTEvent event(Kind::Custom, QStringLiteral("custom"), false);
    event.type_ = customType;
    event.customAttributes_ = EVTAttributeDictionary(customAttributes);
    return event;
}

QString EVTEvent::identifier() const {
    return identifier_.toString(QUuid::WithoutBraces).toUpper();
}

QJsonObject EVTEvent::payload() const {
    switch (kind_) {
        case Kind::Base:
            return {};
        case Kind::Lifecycle:
            return {{QStringLiteral("eventId"), identifier()}};
        case Kind::Custom:
            return {
                {QStringLiteral("eventId"), identifier()},
                {QStringLiteral("custom_type"), type_},
                {QStringLiteral("custom_attributes"), customAttributes_.toJson()},
            };
        case Kind::Predefined:
            return {
                {QStringLiteral("eventId"), identifier()},
                {QStringLiteral("predefined_type"), type_},
                {QStringLiteral("predefined_attributes"), predefinedAttributes_.toJson()},
                {QStringLiteral("custom_attributes"), customAttributes_.toJson()},
            };
    }
    return {};
}

EVTEvent EVTEvent::lifecycle(EVTLifecycle lifecycle) {
    const bool flushes = lifecycle != EVTLifecycle::WillTerminate;
    return EVTEvent(Kind::Lifecycle, lifecycleName(lifecycle), flushes);
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
    return formatLine(timestamp_, name_, payload());
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
