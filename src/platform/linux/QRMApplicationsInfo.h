#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

#include <QList>
#include <QObject>
#include <QStringList>

#include "platform/linux/DesktopEntryFolders.h"

namespace tarnwell {

// The applications and utilities installed for this user: the visible
// application entries of every applications folder, and among them those in
// the categories Utility or System. It knows nothing of names or icons; the
// Apps tab turns the desktop files into menu entries.
//
// The lists are filled once per process on demand and only ever appended to:
// a second search, which the rules below allow only when a shown list came
// back empty, appends both lists again, and the Apps tab removes the
// duplicates. Each start and end of a search emits
// searchApplicationsAndUtilitiesInProgressChanged on the searching thread.
class QRMApplicationsInfo : public QObject {
    Q_OBJECT
public:
    struct Sources {
        // The applications folders, in precedence order.
        std::function<QStringList()> folders;
        // The settings showApplicationsFromApplicationsFolder and
        // showUtilitiesFromApplicationsFolder.
        std::function<bool()> showApplications;
        std::function<bool()> showUtilities;
    };

    // The one catalogue of the program, over the XDG folders and the
    // preferences store.
    static QRMApplicationsInfo &sharedApplicationsInfo();

    explicit QRMApplicationsInfo(Sources sources, QObject *parent = nullptr);
    // Stops a search in the background and waits for its thread.
    ~QRMApplicationsInfo() override;

    QList<DesktopFile> applicationList() const;
    void setApplicationList(const QList<DesktopFile> &list);
    QList<DesktopFile> utilityList() const;
    void setUtilityList(const QList<DesktopFile> &list);

    bool searchApplicationsAndUtilitiesInProgress() const { return inProgress_; }
    // Stores the flag and always emits the change, also when it stays the same.
    void setSearchApplicationsAndUtilitiesInProgress(bool inProgress);

    // One search on the calling thread; returns at once, without a signal,
    // while another search runs.
    void searchApplicationsAndUtilities();
    // The same on a thread of the catalogue's own, so the caller never waits.
    void searchApplicationsAndUtilitiesInBackground();

signals:
    void searchApplicationsAndUtilitiesInProgressChanged();

private:
    Sources sources_;
    mutable std::mutex listsMutex_;
    QList<DesktopFile> applicationList_;
    QList<DesktopFile> utilityList_;
    std::atomic<bool> inProgress_{false};
    std::atomic<bool> stopping_{false};
    std::mutex workerMutex_;
    std::thread worker_;
};

}  // namespace tarnwell
