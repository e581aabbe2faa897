#pragma once

#include <memory>

#include <QString>
#include <QTimer>

#include "EVTBackoffTimer.h"
#include "EVTConfiguration.h"
#include "EVTMetadata.h"
#include "EVTSettings.h"
#include "EVTUploader.h"

namespace tarnwell {

class EVTEvent;
class EVTSerialQueue;

// The kit's work behind the queue: writes events to the current file,
// rotates it, compresses, packages and uploads the rotated files and keeps
// the waiting ones within bounds. Created, used and destroyed on the worker
// thread only.
class EVTEventsPipeline {
public:
    static constexpr char kEventsFolder[] = "events";
    static constexpr char kCrashMetadataFile[] = "crash_metadata";

    EVTEventsPipeline(const EVTConfiguration &configuration, std::weak_ptr<EVTSerialQueue> queue,
                      EVTDelayedRunner &runner, EVTRandomSource random,
                      EVTUploader::FinishedHandler uploadFinished);
    ~EVTEventsPipeline();

    void recordEvent(const EVTEvent &event);
    void rotateAndSubmitCurrentLog();
    // Switched off, nothing is recorded and every event file is removed.
    void setCollectionEnabled(bool enabled);

    const QString &currentPath() const { return currentPath_; }

private:
    bool loggingAllowed(const EVTEvent &event) const;
    bool sampledOut() const;
    void submit(const QString &logPath);
    void cleanupAndProcessExistingFiles();
    void uploadAllMultipartFiles();
    void upload(const QString &packagedPath);
    void removeAllLogs();
    void setupFlushTimer();
    QString newLogPath() const;

    EVTConfiguration configuration_;
    EVTSettings settings_;
    QString eventsDirectory_;
    bool collectionEnabled_;
    EVTMetadata metadata_;
    QString currentPath_;
    EVTUploader uploader_;
    std::unique_ptr<QTimer> flushTimer_;
};

}  // namespace tarnwell
