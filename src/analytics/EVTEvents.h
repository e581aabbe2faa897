#pragma once

#include <QString>
#include <QVariant>

#include "EVTAttributeDictionary.h"
#include "EVTEvent.h"

namespace tarnwell {

struct EVTConfiguration;
class EVTEventsController;

// The kit's class-level event API. Each call builds the event on the
// caller's thread and queues it; nothing waits for a file or the network.
// Calls made while the kit is not started are dropped.
//
// Optional arguments: a null QString or an invalid QVariant leaves that
// predefined attribute out.
class EVTEvents {
public:
    EVTEvents() = delete;

    // Starts the kit (replacing a running one) and returns its controller;
    // nothing when the configuration has no folder (no home directory).
    // Whether collection is on is the last setCollectionEnabled() choice.
    static EVTEventsController *start(const EVTConfiguration &configuration);
    // Writes what was logged so far and stops the worker.
    static void stop();
    // The running controller, or nothing.
    static EVTEventsController *controller();

    static void logSignUpWithMethod(const QString &method, const QVariant &success,
                                    const EVTAttributes &customAttributes = {});
    static void logLoginWithMethod(const QString &method, const QVariant &success,
                                   const EVTAttributes &customAttributes = {});
    static void logShareWithMethod(const QString &method, const QString &contentName,
                                   const QString &contentType, const QString &contentId,
                                   const EVTAttributes &customAttributes = {});
    static void logInviteWithMethod(const QString &method,
                                    const EVTAttributes &customAttributes = {});
    static void logPurchaseWithPrice(const QVariant &itemPrice, const QString &currency,
                                     const QVariant &success, const QString &itemName,
                                     const QString &itemType, const QString &itemId,
                                     const EVTAttributes &customAttributes = {});
    static void logLevelStart(const QString &levelName, const EVTAttributes &customAttributes = {});
    static void logLevelEnd(const QString &levelName, const QVariant &score,
                            const QVariant &success, const EVTAttributes &customAttributes = {});
    static void logAddToCartWithPrice(const QVariant &itemPrice, const QString &currency,
                                      const QString &itemName, const QString &itemType,
                                      const QString &itemId,
                                      const EVTAttributes &customAttributes = {});
    static void logStartCheckoutWithPrice(const QVariant &totalPrice, const QString &currency,
                                          const QVariant &itemCount,
                                          const EVTAttributes &customAttributes = {});
    static void logRating(const QVariant &rating, const QString &contentName,
                          const QString &contentType, const QString &contentId,
                          const EVTAttributes &customAttributes = {});
    static void logContentViewWithName(const QString &contentName, const QString &contentType,
                                       const QString &contentId,
                                       const EVTAttributes &customAttributes = {});
    static void logSearchWithQuery(const QString &query,
                                   const EVTAttributes &customAttributes = {});
    static void logCustomEventWithName(const QString &eventName,
                                       const EVTAttributes &customAttributes = {});

    // The application's lifecycle; becoming active or inactive sends the
    // current file at once.
    static void logLifecycleEvent(EVTLifecycle lifecycle);
    // Off: records and sends nothing, and removes the files already made.
    static void setCollectionEnabled(bool enabled);

private:
    static void enqueue(EVTEvent event);
};

}  // namespace tarnwell
