#pragma once

#include <memory>

#include <QObject>
#include <QString>

#include "EVTBackoffTimer.h"
#include "EVTConfiguration.h"

namespace tarnwell {

class EVTEvent;
class EVTEventsPipeline;
class EVTSerialQueue;

// The kit's front: hands events to the worker thread and reports uploads.
// Every public method may be called from any thread and returns at once,
// except waitUntilIdle and the destructor, which wait for the worker.
class EVTEventsController : public QObject {
    Q_OBJECT

public:
    explicit EVTEventsController(
        EVTConfiguration configuration,
        std::shared_ptr<EVTDelayedRunner> retryRunner = std::make_shared<EVTMainLoopRunner>(),
        EVTRandomSource random = systemRandomSource());
    // Lets the events already logged reach their file, then rotates it for upload,
    // before returning.
    ~EVTEventsController() override;

    void enqueueEvent(EVTEvent event);
    void setCollectionEnabled(bool enabled);
    void waitUntilIdle();

    const EVTConfiguration &configuration() const { return configuration_; }

signals:
    // Emitted on the thread that made the controller.
    void uploadFinished(const QString &fileName, bool delivered);

private:
    EVTConfiguration configuration_;
    std::shared_ptr<EVTDelayedRunner> retryRunner_;
    std::shared_ptr<EVTSerialQueue> queue_;
    // Touched only by tasks running on queue_.
    std::unique_ptr<EVTEventsPipeline> pipeline_;
};

}  // namespace tarnwell
