#pragma once

#include <QString>

namespace tarnwell {

// Bounds the packaged files waiting to be sent: when more than the limit
// wait, the newest are kept and the rest deleted, so a machine that stays
// offline never fills its disk with events.
class EVTCleanupFilesOperation {
public:
    EVTCleanupFilesOperation(QString directory, qint64 maxPendingSendFiles);

    // Returns how many files were deleted.
    int run() const;

private:
    QString directory_;
    qint64 maxPendingSendFiles_;
};

}  // namespace tarnwell
