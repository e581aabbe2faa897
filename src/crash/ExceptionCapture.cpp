#include "crash/ExceptionCapture.h"

#include <cxxabi.h>
#include <execinfo.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <typeinfo>

#include "crash/CrashLog.h"
#include "crash/RecordWriter.h"
#include "crash/SignalCapture.h"
#include "crash/ThreadRecorder.h"

namespace tarnwell::crash {

namespace {

constexpr int kCppExceptionKind = 2;
constexpr size_t kMaxReasonLength = 1024;

std::terminate_handler previousTerminateHandler = nullptr;

std::string demangle(const char *mangled) {
    int status = 0;
    char *readable = abi::__cxa_demangle(mangled, nullptr, nullptr, &status);
    if (status != 0 || readable == nullptr) {
        return mangled;
    }
    std::string name(readable);
    std::free(readable);
    return name;
}

// Record values are written without escaping, so anything that would end the string or
// the line early is replaced here, and an endless message is cut.
std::string recordSafe(std::string_view text) {
    std::string safe(text.substr(0, kMaxReasonLength));
    for (char &c : safe) {
        if (c == '"') {
            c = '\'';
        } else if (c == '\\' || static_cast<unsigned char>(c) < 0x20) {
            c = ' ';
        }
    }
    return safe;
}

void terminateHandler();

}  // namespace

ExceptionDescription describeCurrentException() {
    try {
        throw;
    } catch (const char *text) {
        return {"const char *", text != nullptr ? text : ""};
    } catch (const std::string &text) {
        return {"std::string", text};
    } catch (const std::exception &exception) {
        return {demangle(typeid(exception).name()), exception.what()};
    } catch (const std::exception *exception) {
        if (exception == nullptr) {
            return {"std::exception const*", ""};
        }
        return {demangle(typeid(*exception).name()), exception->what()};
    } catch (...) {
        const std::type_info *type = abi::__cxa_current_exception_type();
        return {type != nullptr ? demangle(type->name()) : std::string(), ""};
    }
}

void installExceptionCapture(CrashContext &context) {
    if (unlink(context.exceptionRecordPath) != 0 && errno != ENOENT) {
        CRS_WARN("Unable to reset the exception file %s\n", strerrordesc_np(errno));
    }
    const std::terminate_handler replaced = std::set_terminate(terminateHandler);
    previousTerminateHandler = replaced == terminateHandler ? nullptr : replaced;
}

void recordException(const CrashContext &context, int kind, const ExceptionDescription &exception) {
    static std::mutex recorderLock;
    const std::lock_guard<std::mutex> lock(recorderLock);
    CRS_WARN("Recording an exception structure (%d, %d)\n", kind, 0);
    // The throw site's frames lie behind the runtime's own, which keep no frame pointers;
    // this is normal context, so the unwinder and its tables can walk them.
    void *addresses[kMaxRecordedFrames + 1];
    const int found = backtrace(addresses, int(kMaxRecordedFrames + 1));
    StackFrame frames[kMaxRecordedFrames];
    size_t frameCount = 0;
    for (int i = 1; i < found; ++i) {  // 0 is this function
        frames[frameCount++] = {uint64_t(uintptr_t(addresses[i])), FrameTrust::CallFrameInfo};
    }
    const std::string typeName = recordSafe(exception.typeName);
    const std::string reason = recordSafe(exception.reason);
    RecordWriter writer;
    if (writer.open(context.exceptionRecordPath, true, false)) {
        writer.beginKeyedObject("exception");
        writer.beginObject();
        writer.writeSigned("kind", kind);
        writer.writeString("type", typeName.c_str());
        writer.writeString("reason", reason.c_str());
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        writer.writeUnsigned("time", uint64_t(now.tv_sec));
        writer.endObject();
        writer.endRecord();
        recordThreadFrames(writer, context.images, frames, frameCount, true);
        writer.close();
    }
    CRS_WARN("Finished recording an exception structure\n");
}

namespace {

void terminateHandler() {
    CRS_WARN("C++ terminate handler invoked\n");
    std::terminate_handler previous = previousTerminateHandler;
    if (previous == terminateHandler) {
        CRS_WARN("Error: original handler was set recursively\n");
        previous = nullptr;
    }
    if (previous != nullptr) {
        CRS_WARN("restoring pre-existing handler\n");
        if (std::set_terminate(previous) == previous) {
            CRS_WARN("handler has already been restored, aborting\n");
            std::abort();
        }
    }
    const std::type_info *type = abi::__cxa_current_exception_type();
    CrashContext *context = crashContext();
    if (type == nullptr) {
        CRS_WARN("no active exception\n");
    } else if (type->name() == nullptr) {
        CRS_WARN("Error: invalid parameter\n");
    } else if (context != nullptr) {
        CRS_WARN("Recording exception of type '%s'\n", type->name());
        if (testAndSetCrashOccurred(*context)) {
            CRS_WARN("Error: aborting exception handler because crash has already occurred\n");
            _exit(1);
        }
        recordException(*context, kCppExceptionKind, describeCurrentException());
        // The abort below is the end this exception asked for, not a new crash: let it
        // reach the previous handler or the default action (and its core dump).
        reinstallPreviousSignalHandlers(*context);
    }
    if (previous != nullptr) {
        CRS_WARN("invoking pre-existing handler\n");
        previous();
    }
    CRS_WARN("aborting\n");
    std::abort();
}

}  // namespace

}  // namespace tarnwell::crash
