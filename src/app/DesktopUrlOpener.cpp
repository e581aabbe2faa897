#include <QDesktopServices>

#include "app/UrlOpener.h"

namespace tarnwell {

void DesktopUrlOpener::openURL(const QUrl &url) {
    QDesktopServices::openUrl(url);
}

}  // namespace tarnwell
