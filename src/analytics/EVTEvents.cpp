#include "EVTEvents.h"

#include <atomic>
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

void addIfPresent(EVTAttributeDictionary &attributes, const char *key, const QString &value) {
    if (!value.isNull()) {
        attributes.add(QLatin1String(key), value);
    }
}

void addIfPresent(EVTAttributeDictionary &attributes, const char *key, const QVariant &value) {
    if (value.isValid()) {
        attributes.add(QLatin1String(key), value);
    }
}

void addPriceIfPresent(EVTAttributeDictionary &attributes, const char *key, const QVariant &price) {
    if (price.isValid()) {
        attributes.addPrice(QLatin1String(key), price.toDouble());
    }
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

void EVTEvents::enqueuePredefined(const char *predefinedType,
                                  const EVTAttributeDictionary &predefinedAttributes,
                                  const EVTAttributes &customAttributes) {
    enqueue(EVTEvent::predefined(QLatin1String(predefinedType), predefinedAttributes,
                                 customAttributes));
}

void EVTEvents::logSignUpWithMethod(const QString &method, const QVariant &success,
                                    const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "method", method);
    addIfPresent(a, "success", success);
    enqueuePredefined("sign_up", a, customAttributes);
}

void EVTEvents::logLoginWithMethod(const QString &method, const QVariant &success,
                                   const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "method", method);
    addIfPresent(a, "success", success);
    enqueuePredefined("login", a, customAttributes);
}

void EVTEvents::logShareWithMethod(const QString &method, const QString &contentName,
                                   const QString &contentType, const QString &contentId,
                                   const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "method", method);
    addIfPresent(a, "content_name", contentName);
    addIfPresent(a, "content_type", contentType);
    addIfPresent(a, "content_id", contentId);
    enqueuePredefined("share", a, customAttributes);
}

void EVTEvents::logInviteWithMethod(const QString &method, const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "method", method);
    enqueuePredefined("invite", a, customAttributes);
}

void EVTEvents::logPurchaseWithPrice(const QVariant &itemPrice, const QString &currency,
                                     const QVariant &success, const QString &itemName,
                                     const QString &itemType, const QString &itemId,
                                     const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addPriceIfPresent(a, "item_price", itemPrice);
    addIfPresent(a, "currency", currency);
    addIfPresent(a, "success", success);
    addIfPresent(a, "item_name", itemName);
    addIfPresent(a, "item_type", itemType);
    addIfPresent(a, "item_id", itemId);
    enqueuePredefined("purchase", a, customAttributes);
}

void EVTEvents::logLevelStart(const QString &levelName, const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "level_name", levelName);
    enqueuePredefined("level_start", a, customAttributes);
}

void EVTEvents::logLevelEnd(const QString &levelName, const QVariant &score,
                            const QVariant &success, const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "level_name", levelName);
    addIfPresent(a, "score", score);
    addIfPresent(a, "success", success);
    enqueuePredefined("level_end", a, customAttributes);
}

void EVTEvents::logAddToCartWithPrice(const QVariant &itemPrice, const QString &currency,
                                      const QString &itemName, const QString &itemType,
                                      const QString &itemId,
                                      const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addPriceIfPresent(a, "item_price", itemPrice);
    addIfPresent(a, "currency", currency);
    addIfPresent(a, "item_name", itemName);
    addIfPresent(a, "item_type", itemType);
    addIfPresent(a, "item_id", itemId);
    enqueuePredefined("add_to_cart", a, customAttributes);
}

void EVTEvents::logStartCheckoutWithPrice(const QVariant &totalPrice, const QString &currency,
                                          const QVariant &itemCount,
                                          const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addPriceIfPresent(a, "total_price", totalPrice);
    addIfPresent(a, "currency", currency);
    addIfPresent(a, "item_count", itemCount);
    enqueuePredefined("start_checkout", a, customAttributes);
}

void EVTEvents::logRating(const QVariant &rating, const QString &contentName,
                          const QString &contentType, const QString &contentId,
                          const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "rating", rating);
    addIfPresent(a, "content_name", contentName);
    addIfPresent(a, "content_type", contentType);
    addIfPresent(a, "content_id", contentId);
    enqueuePredefined("rating", a, customAttributes);
}

void EVTEvents::logContentViewWithName(const QString &contentName, const QString &contentType,
                                       const QString &contentId,
                                       const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "content_name", contentName);
    addIfPresent(a, "content_type", contentType);
    addIfPresent(a, "content_id", contentId);
    enqueuePredefined("content_view", a, customAttributes);
}

void EVTEvents::logSearchWithQuery(const QString &query, const EVTAttributes &customAttributes) {
    EVTAttributeDictionary a;
    addIfPresent(a, "query", query);
    enqueuePredefined("search", a, customAttributes);
}

}  // namespace tarnwell
