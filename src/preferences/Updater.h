#pragma once

#include <QUrl>

namespace tarnwell {

// The part of the application updater the preferences store drives: when the
// user switches feed, the updater must read the new one at once.
class Updater {
public:
    virtual ~Updater() = default;
    virtual void setFeedURL(const QUrl &feedURL) = 0;
    // Fetches the feed's update information without showing any interface.
    virtual void checkForUpdateInformation() = 0;
};

}  // namespace tarnwell
