#pragma once

#include <QString>

#include "updates/Appcast.h"

namespace tarnwell {

// What went wrong, for the headline of the message; the detail says why.
enum class UpdateFailure {
    Feed,          // the feed could not be fetched or read
    Download,      // the package could not be fetched or stored
    Verification,  // wrong length or signature; the file was deleted
    Install,       // the package tools failed
};

// The updater's windows and notifications. Each call replaces what the
// update window showed before.
class UpdaterUserInterface {
public:
    virtual ~UpdaterUserInterface() = default;
    virtual void showUpToDate(const QString &version) = 0;
    // releaseNotes: HTML. readyToInstall: downloaded and verified already.
    virtual void showUpdateFound(const AppcastItem &item, const QString &releaseNotes,
                                 bool readyToInstall) = 0;
    // A desktop notification; activating it calls QRMUpdater::showFoundUpdate().
    virtual void notifyUpdateFound(const AppcastItem &item, bool readyToInstall) = 0;
    // total -1: unknown.
    virtual void showDownloadProgress(qint64 received, qint64 total) = 0;
    virtual void showInstalling() = 0;
    virtual void offerRestart(const AppcastItem &item) = 0;
    virtual void showFailure(UpdateFailure failure, const QString &detail) = 0;
};

}  // namespace tarnwell
