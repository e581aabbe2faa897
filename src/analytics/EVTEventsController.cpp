#include "EVTEventsController.h"

#include "EVTEvent.h"
#include "EVTEventsPipeline.h"
#include "EVTSerialQueue.h"

namespace tarnwell {

EVTEventsController::EVTEventsController(EVTConfiguration configuration,
                                         std::shared_ptr<EVTDelayedRunner> retryRunner,
                                         EVTRandomSource random)
    : configuration_(std::move(configuration)),
      retryRunner_(std::move(retryRunner)),
      queue_(std::make_shared<EVTSerialQueue>()) {
    // The worker only runs while this object is alive (the destructor waits
    // for it), and a queued call to a deleted object is dropped by Qt.
    auto uploadFinished = [this](const QString &fileName, bool delivered) {
        QMetaObject::invokeMethod(
            this, [this, fileName, delivered] { emit this->uploadFinished(fileName, delivered); },
            Qt::QueuedConnection);
    };
    queue_->post([this, random = std::move(random), uploadFinished] {
        pipeline_ = std::make_unique<EVTEventsPipeline>(configuration_, queue_, *retryRunner_,
                                                        random, uploadFinished);
    });
}

EVTEventsController::~EVTEventsController() {
    // What this run recorded leaves now, not when the file happens to fill up at some
    // later run: packaged, it is sent as soon as the service can be reached.
    const bool stopped = queue_->stop([this] {
        if (pipeline_) {
            pipeline_->rotateAndSubmitCurrentLog();
        }
        pipeline_.reset();
    });
    if (!stopped) {
        // The worker is stuck inside the pipeline, which must outlive it.
        [[maybe_unused]] EVTEventsPipeline *inUse = pipeline_.release();
    }
}

void EVTEventsController::enqueueEvent(EVTEvent event) {
    queue_->post([this, event = std::move(event)] { pipeline_->recordEvent(event); });
}

void EVTEventsController::setCollectionEnabled(bool enabled) {
    queue_->post([this, enabled] { pipeline_->setCollectionEnabled(enabled); });
}

void EVTEventsController::waitUntilIdle() {
    queue_->waitUntilIdle();
}

}  // namespace tarnwell
