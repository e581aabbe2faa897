#include "crash/CrashReporter.h"

#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>

#include "crash/BinaryImageLog.h"
#include "crash/CrashContext.h"
#include "crash/CrashLog.h"
#include "crash/ExceptionCapture.h"
#include "crash/ReportStore.h"
#include "crash/RunIdentity.h"
#include "crash/SafeFormat.h"
#include "crash/SignalCapture.h"
#include "threads/StartThread.h"
#include "threads/ThreadSignalStack.h"

namespace tarnwell::crash {

namespace fs = std::filesystem;

namespace {

// Loaded images rarely change after start (plugins, an input method); a slow poll keeps
// the cost unmeasurable while a library loaded for more than this long is still in the
// table when it crashes.
constexpr auto kImagePollInterval = std::chrono::seconds(1);

std::unique_ptr<ReportStore> reportStore;
std::unique_ptr<BinaryImageLog> imageLog;

class ImageWatcher {
public:
    void start() {
        thread_ = threads::startThread([this] {
            std::unique_lock<std::mutex> guard(lock_);
            while (!wake_.wait_for(guard, kImagePollInterval, [this] { return stopping_; })) {
                imageLog->refresh();
            }
        });
    }

    // At exit, so that the thread is not left polling a log that is going away.
    ~ImageWatcher() {
        if (!thread_.joinable()) {
            return;
        }
        {
            std::lock_guard<std::mutex> guard(lock_);
            stopping_ = true;
        }
        wake_.notify_all();
        thread_.join();
    }

private:
    std::mutex lock_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::thread thread_;
};

ImageWatcher imageWatcher;

bool copyPath(char (&out)[PATH_MAX], const fs::path &path) {
    const std::string text = path.string();
    if (text.size() >= sizeof out) {
        return false;
    }
    text.copy(out, text.size());
    out[text.size()] = '\0';
    return true;
}

}  // namespace

bool startCrashReporting(const CrashReportingOptions &options) {
    reportStore = std::make_unique<ReportStore>(options.reportsDirectory);
    if (!reportStore->prepare()) {
        return false;
    }
    const fs::path active = reportStore->activeDirectory();
    CrashContext &context = resetCrashContext();
    if (!copyPath(context.reportDirectory, active) ||
        !copyPath(context.signalRecordPath, active / "signal.crsrecord") ||
        !copyPath(context.exceptionRecordPath, active / "exception.crsrecord") ||
        !copyPath(context.binaryImagesPath, active / "binary_images.crsrecord")) {
        CRS_WARN("Report directory path too long\n");
        return false;
    }
    context.foreignHandlerCheckDisabled = !options.checkForeignHandlers;
    threads::ThreadSignalStack::setFailureReporter([](const char *what, int error) {
        CRS_WARN("Unable to %s: %s\n", what, strerrordesc_np(error));
    });
    context.alternateStack = threads::ThreadSignalStack::mapGuarded(kAlternateStackSize);

    imageLog = std::make_unique<BinaryImageLog>(context.images, context.binaryImagesPath);
    imageLog->start();

    MetadataValues metadata = options.metadata;
    if (metadata.installId.empty()) {
        const RunIdentity identity =
            makeRunIdentity((fs::path(options.reportsDirectory) / "install_id").string());
        metadata.installId = identity.installId;
        metadata.sessionId = identity.sessionId;
    }
    if (metadata.startedAt == 0) {
        metadata.startedAt = uint64_t(std::time(nullptr));
    }
    recordMetadata(active.string(), metadata, readHostValues(),
                   BinaryImageLog::mainExecutableDetails());

    installSignalCapture(context);
    installExceptionCapture(context);
    context.enabled = true;
    if (options.watchImages) {
        imageWatcher.start();
    }
    return true;
}

void checkForeignSignalHandlersOnce() {
    static std::once_flag checked;
    const CrashContext *context = crashContext();
    if (context == nullptr || !context->enabled || context->foreignHandlerCheckDisabled) {
        return;
    }
    std::call_once(checked, [] { checkForeignSignalHandlers(STDERR_FILENO); });
}

}  // namespace tarnwell::crash
