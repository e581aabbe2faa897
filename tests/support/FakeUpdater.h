#pragma once

#include <QStringList>
#include <QUrl>

#include "preferences/Updater.h"

namespace tarnwell::test {

// Records the feed changes and silent checks the store passes on.
struct FakeUpdater : Updater {
    void setFeedURL(const QUrl &url) override { calls << url.toString(); }
    void checkForUpdateInformation() override { calls << "check"; }
    QStringList calls;
};

}  // namespace tarnwell::test
