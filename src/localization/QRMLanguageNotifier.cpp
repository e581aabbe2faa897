#include "localization/QRMLanguageNotifier.h"

namespace tarnwell {

QRMLanguageNotifier &QRMLanguageNotifier::sharedNotifier() {
    static QRMLanguageNotifier notifier;
    return notifier;
}

}  // namespace tarnwell
