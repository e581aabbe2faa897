#include "EVTCleanupFilesOperation.h"

#include <algorithm>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include "EVTKitFiles.h"
#include "EVTLog.h"

namespace tarnwell {

namespace {

// Packaged files are written once and never changed, so where the file
// system keeps no birth time the modification time is the creation time.
QDateTime creationDate(const QFileInfo &file) {
    const QDateTime birth = file.birthTime();
    return birth.isValid() ? birth : file.lastModified();
}

}  // namespace

EVTCleanupFilesOperation::EVTCleanupFilesOperation(QString directory, qint64 maxPendingSendFiles)
    : directory_(std::move(directory)), maxPendingSendFiles_(maxPendingSendFiles) {}

int EVTCleanupFilesOperation::run() const {
    QFileInfoList files;
    for (const QString &path : EVTKitFiles::list(directory_, EVTKitFiles::Kind::Packaged)) {
        files << QFileInfo(path);
    }
    if (files.size() <= maxPendingSendFiles_) {
        return 0;
    }
    // Newest first; a file without any date counts as infinitely old. Birth
    // times are only as fine as the kernel's clock tick, so files made in
    // one burst tie and their modification times decide.
    struct Dated {
        QDateTime created;
        QDateTime modified;
        QFileInfo file;
    };
    std::vector<Dated> dated;
    dated.reserve(files.size());
    for (const QFileInfo &file : files) {
        dated.push_back({creationDate(file), file.lastModified(), file});
    }
    std::stable_sort(dated.begin(), dated.end(), [](const Dated &a, const Dated &b) {
        if (a.created.isValid() != b.created.isValid()) {
            return a.created.isValid();
        }
        if (a.created != b.created) {
            return a.created > b.created;
        }
        return a.modified > b.modified;
    });
    int removed = 0;
    for (auto it = dated.begin() + std::max<qint64>(maxPendingSendFiles_, 0); it != dated.end();
         ++it) {
        QFile file(it->file.filePath());
        if (file.remove()) {
            ++removed;
        } else {
            qCWarning(lcCleanupOperation).noquote()
                << QStringLiteral("Failed to remove %1: %2")
                       .arg(file.fileName(), file.errorString());
        }
    }
    return removed;
}

}  // namespace tarnwell
