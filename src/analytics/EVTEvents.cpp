#include "EVTEvents.h"

#include <atomic>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <shared_mutex>

#include "EVTConfiguration.h"
#include "EVTEventsController.h"
#include "EVTLog.h"

namespace tarnwell {

namespace {

std::shared_mutex controllerMutex;
std::unique_ptr<EVTEventsController> runningController;
std::atomic<bool> collectionEnabled{true};

// One predefined attribute as a logging call hands it over; a null text or an
// invalid value is one the caller left out.
struct PredefinedField {
    PredefinedField(const char *key, const QString &text)
        : key(key), value(text.isNull() ? QVariant() : QVariant(text)) {}
    PredefinedField(const char *key, const QVariant &value) : key(key), value(value) {}
    static PredefinedField price(const char *key, const QVariant &value) {
        PredefinedField field(key, value);
        field.isPrice = true;
        return field;
    }

    const char *key;
    QVariant value;
    bool isPrice = false;
};

EVTEvent predefined(const char *predefinedType, std::initializer_list<PredefinedField> fields,
                    const EVTAttributes &customAttributes) {
    EVTAttributeDictionary attributes;
    for (const PredefinedField &field : fields) {
        if (!field.value.isValid()) {
            continue;
        }
        if (field.isPrice) {
            attributes.addPrice(QLatin1String(field.key), field.value.toDouble());
        } else {
            attributes.add(QLatin1String(field.key), field.value);
        }
    }
    return EVTEvent::predefined(QLatin1String(predefinedType), attributes, customAttributes);
}

}  // namespace

EVTEventsController *EVTEvents::start(const EVTConfiguration &configuration) {
    stop();
    if (configuration.rootDirectory.isEmpty()) {
        qCWarning(lcEvents, "No data folder to keep usage events in; they are not recorded.");
        return nullptr;
    }
    std::unique_lock lock(controllerMutex);
    EVTConfiguration withChoice = configuration;
    withChoice.collectionEnabled = collectionEnabled;
    runningController = std::make_unique<EVTEventsController>(withChoice);
    return runningController.get();
}

void EVTEvents::stop() {
    std::unique_ptr<EVTEventsController> stopped;
    {
        std::unique_lock lock(controllerMutex);
        stopped = std::move(runningController);
    }
}

EVTEventsController *EVTEvents::controller() {
    std::shared_lock lock(controllerMutex);
    return runningController.get();
}

void EVTEvents::enqueue(EVTEvent event) {
    if (!collectionEnabled) {
        return;
    }
    std::shared_lock lock(controllerMutex);
    if (runningController) {
        runningController->enqueueEvent(std::move(event));
    }
}

void EVTEvents::setCollectionEnabled(bool enabled) {
    if (collectionEnabled.exchange(enabled) == enabled) {
        return;
    }
    std::shared_lock lock(controllerMutex);
    if (runningController) {
        runningController->setCollectionEnabled(enabled);
    }
}

void EVTEvents::logLifecycleEvent(EVTLifecycle lifecycle) {
    enqueue(EVTEvent::lifecycle(lifecycle));
}

void EVTEvents::logCustomEventWithName(const QString &eventName,
                                       const EVTAttributes &customAttributes) {
    enqueue(EVTEvent::custom(eventName, customAttributes));
}

void EVTEvents::logSignUpWithMethod(const QString &method, const QVariant &success,
                                    const EVTAttributes &customAttributes) {
    enqueue(predefined("sign_up", {{"method", method}, {"success", success}}, customAttributes));
}

void EVTEvents::logLoginWithMethod(const QString &method, const QVariant &success,
                                   const EVTAttributes &customAttributes) {
    enqueue(predefined("login", {{"method", method}, {"success", success}}, customAttributes));
}

void EVTEvents::logShareWithMethod(const QString &method, const QString &contentName,
                                   const QString &contentType, const QString &contentId,
                                   const EVTAttributes &customAttributes) {
    enqueue(predefined("share",
                       {{"method", method},
                        {"content_name", contentName},
                        {"content_type", contentType},
                        {"content_id", contentId}},
                       customAttributes));
}

void EVTEvents::logInviteWithMethod(const QString &method, const EVTAttributes &customAttributes) {
    enqueue(predefined("invite", {{"method", method}}, customAttributes));
}

void EVTEvents::logPurchaseWithPrice(const QVariant &itemPrice, const QString &currency,
                                     const QVariant &success, const QString &itemName,
                                     const QString &itemType, const QString &itemId,
                                     const EVTAttributes &customAttributes) {
    enqueue(predefined("purchase",
                       {PredefinedField::price("item_price", itemPrice),
                        {"currency", currency},
                        {"success", success},
                        {"item_name", itemName},
                        {"item_type", itemType},
                        {"item_id", itemId}},
                       customAttributes));
}

void EVTEvents::logLevelStart(const QString &levelName, const EVTAttributes &customAttributes) {
    enqueue(predefined("level_start", {{"level_name", levelName}}, customAttributes));
}

void EVTEvents::logLevelEnd(const QString &levelName, const QVariant &score,
                            const QVariant &success, const EVTAttributes &customAttributes) {
    enqueue(predefined("level_end",
                       {{"level_name", levelName}, {"score", score}, {"success", success}},
                       customAttributes));
}

void EVTEvents::logAddToCartWithPrice(const QVariant &itemPrice, const QString &currency,
                                      const QString &itemName, const QString &itemType,
                                      const QString &itemId,
                                      const EVTAttributes &customAttributes) {
    enqueue(predefined("add_to_cart",
                       {PredefinedField::price("item_price", itemPrice),
                        {"currency", currency},
                        {"item_name", itemName},
                        {"item_type", itemType},
                        {"item_id", itemId}},
                       customAttributes));
}

void EVTEvents::logStartCheckoutWithPrice(const QVariant &totalPrice, const QString &currency,
                                          const QVariant &itemCount,
                                          const EVTAttributes &customAttributes) {
    enqueue(predefined("start_checkout",
                       {PredefinedField::price("total_price", totalPrice),
                        {"currency", currency},
                        {"item_count", itemCount}},
                       customAttributes));
}

void EVTEvents::logRating(const QVariant &rating, const QString &contentName,
                          const QString &contentType, const QString &contentId,
                          const EVTAttributes &customAttributes) {
    enqueue(predefined("rating",
                       {{"rating", rating},
                        {"content_name", contentName},
                        {"content_type", contentType},
                        {"content_id", contentId}},
                       customAttributes));
}

void EVTEvents::logContentViewWithName(const QString &contentName, const QString &contentType,
                                       const QString &contentId,
                                       const EVTAttributes &customAttributes) {
    enqueue(predefined(
        "content_view",
        {{"content_name", contentName}, {"content_type", contentType}, {"content_id", contentId}},
        customAttributes));
}

void EVTEvents::logSearchWithQuery(const QString &query, const EVTAttributes &customAttributes) {
    enqueue(predefined("search", {{"query", query}}, customAttributes));
}

}  // namespace tarnwell
