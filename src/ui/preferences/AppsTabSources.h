#pragma once

#include <functional>

#include <QList>
#include <QString>

#include "platform/linux/DesktopApplicationIndex.h"

namespace tarnwell {

class QRMApplicationsInfo;

// Where the Apps tab finds what it offers and keeps its icons.
struct AppsTabSources {
    // Null: the "+" menu offers running applications only.
    QRMApplicationsInfo *catalogue = nullptr;
    // The applications with a window now; called off the main thread. Empty:
    // none are offered.
    std::function<QList<ApplicationCandidate>(const QString &locale)> runningApplications;
    // One PNG per monitored application, named after its id.
    QString iconFolder;
    // False under Wayland, where the tab says events cannot be seen.
    bool applicationEventsAvailable = true;
    // The language the applications' names are shown in.
    QString locale;
};

}  // namespace tarnwell
