#pragma once

#include <QString>
#include <QUrl>

namespace tarnwell {

// The parts of the welcome window its controller fills in.
class WelcomePageView {
public:
    virtual ~WelcomePageView() = default;
    virtual void setTexts(const QString &windowTitle, const QString &invitation,
                          const QString &preferencesButton) = 0;
    virtual void loadPage(const QUrl &url) = 0;
};

}  // namespace tarnwell
