#pragma once

#include <QUrl>

namespace tarnwell {

// Opens an address in the user's default browser.
class UrlOpener {
public:
    virtual ~UrlOpener() = default;
    virtual void openURL(const QUrl &url) = 0;
};

// The desktop's browser, through QDesktopServices (needs a QGuiApplication).
class DesktopUrlOpener : public UrlOpener {
public:
    void openURL(const QUrl &url) override;
};

}  // namespace tarnwell
