#include "crash/SignalCapture.h"

#include <dlfcn.h>
#include <signal.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "crash/CrashLog.h"
#include "crash/RecordWriter.h"
#include "crash/SafeFormat.h"
#include "crash/ThreadRecorder.h"

namespace tarnwell::crash {

namespace {

// Pointers this low come from a caller that had nothing to pass, not from the kernel.
constexpr uintptr_t kLowestValidPointer = 4096;

void crashSignalHandler(int number, siginfo_t *info, void *rawContext);

bool isIgnored(const struct sigaction &action) {
    return (action.sa_flags & SA_SIGINFO) == 0 && action.sa_handler == SIG_IGN;
}

// Reads the current action into `saved`; true when it is "ignore".
bool wasIgnored(int number, struct sigaction &saved) {
    return sigaction(number, nullptr, &saved) == 0 && isIgnored(saved);
}

bool isOurHandler(const struct sigaction &action) {
    return (action.sa_flags & SA_SIGINFO) != 0 && action.sa_sigaction == crashSignalHandler;
}

uint64_t secondsSince1970() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return uint64_t(now.tv_sec);
}

// On Linux only a hardware fault comes back by itself when the handler returns. A signal
// sent by kill, raise or abort (si_code <= 0), or a trap or bad system call whose
// instruction has already completed, must be sent again for the previous handler or the
// default action to see it; glibc's abort would otherwise reset SIGABRT and raise it
// behind the previous handler's back.
bool willRecur(int number, const siginfo_t *info) {
    if (info == nullptr || info->si_code <= 0) {
        return false;
    }
    return number != SIGTRAP && number != SIGSYS;
}

void resendToThisThread(int number, const siginfo_t *info) {
    const pid_t pid = getpid();
    const pid_t tid = gettid();
    if (info != nullptr) {
        siginfo_t copy = *info;
        if (syscall(SYS_rt_tgsigqueueinfo, pid, tid, number, &copy) == 0) {
            return;
        }
    }
    syscall(SYS_tgkill, pid, tid, number);
}

void recordSignal(const CrashContext &context, int number, const siginfo_t *info,
                  const ucontext_t *machineContext, int savedErrno) {
    if (testAndSetCrashOccurred(context)) {
        CRS_WARN("Error: aborting signal handler because crash has already occurred");
        _exit(1);
    }
    RecordWriter writer;
    if (!writer.open(context.signalRecordPath, true, false)) {
        CRS_WARN("Unable to open signal file\n");
        return;
    }
    writer.beginKeyedObject("signal");
    writer.beginObject();
    if (info != nullptr) {
        writer.writeUnsigned("number", uint64_t(info->si_signo));
        writer.writeSigned("code", info->si_code);
        writer.writeUnsigned("address", uint64_t(uintptr_t(info->si_addr)));
    }
    writer.writeString("name", signalName(number));
    writer.writeString("code_name", signalCodeName(number));
    writer.writeSigned("errno", savedErrno);
    writer.writeUnsigned("time", secondsSince1970());
    writer.endObject();
    writer.endRecord();
    recordThread(writer, context.images, machineContext, true);
    writer.close();
}

void crashSignalHandler(int number, siginfo_t *info, void *rawContext) {
    const int savedErrno = errno;
    errno = 0;
    CRS_WARN("Signal: %d\n", number);
    // Our handlers stay until the record is written: another thread faulting meanwhile
    // must wait in here for this report rather than meet the default action, which
    // would end the process half-way through it. A fault of this thread while
    // recording comes back here and finds the crash already claimed.
    sigset_t everything;
    sigfillset(&everything);
    if (sigprocmask(SIG_UNBLOCK, &everything, nullptr) != 0) {
        CRS_WARN("Unable to unmask signals - we risk infinite recursion here\n");
    }
    if (uintptr_t(info) < kLowestValidPointer) {
        info = nullptr;
    }
    const auto *machineContext = uintptr_t(rawContext) < kLowestValidPointer
                                     ? nullptr
                                     : static_cast<const ucontext_t *>(rawContext);
    CrashContext *context = crashContext();
    if (context != nullptr) {
        recordSignal(*context, number, info, machineContext, savedErrno);
        reinstallPreviousSignalHandlers(*context);
    } else {
        removeSignalHandlers();
    }
    if (!willRecur(number, info)) {
        resendToThisThread(number, info);
    }
    errno = savedErrno;
}

}  // namespace

const char *signalName(int number) {
    // By signal rather than by number: SIGBUS and SIGSYS are numbered differently here
    // than on the systems the record format was first written for.
    switch (number) {
        case SIGILL:
            return "SIGILL";
        case SIGTRAP:
            return "SIGTRAP";
        case SIGABRT:
            return "SIGABRT";
        case SIGFPE:
            return "SIGFPE";
        case SIGBUS:
            return "SIGBUS";
        case SIGSEGV:
            return "SIGSEGV";
        case SIGSYS:
            return "SIGSYS";
        default:
            return "UNKNOWN";
    }
}

const char *signalCodeName(int number) {
    return number == SIGABRT ? "ABORT" : nullptr;
}

bool installSignalCapture(CrashContext &context) {
    if (unlink(context.signalRecordPath) != 0 && errno != ENOENT) {
        CRS_WARN("Unable to reset the signal log file %s\n", strerrordesc_np(errno));
    }
    if (context.alternateStack != nullptr) {
        stack_t stack{};
        stack.ss_sp = context.alternateStack;
        stack.ss_size = kAlternateStackSize;
        stack.ss_flags = 0;
        if (sigaltstack(&stack, &context.previousAlternateStack) == 0) {
            context.previousAlternateStackSaved = true;
        } else {
            CRS_WARN("Unable to setup stack %s\n", strerrordesc_np(errno));
        }
    }
    bool allInstalled = true;
    for (size_t i = 0; i < kCapturedSignalCount; ++i) {
        // Whoever started us asked for the signal to be ignored (nohup-like launchers,
        // debuggers' children): it stays ignored, and a kill of it is no crash.
        if (wasIgnored(kCapturedSignals[i], context.previousActions[i])) {
            continue;
        }
        struct sigaction action {};
        action.sa_sigaction = crashSignalHandler;
        action.sa_flags = SA_ONSTACK | SA_SIGINFO;
        sigemptyset(&action.sa_mask);
        struct sigaction previous {};
        if (sigaction(kCapturedSignals[i], &action, &previous) != 0) {
            CRS_WARN("Unable to install handler for %d (%s)\n", kCapturedSignals[i],
                     strerrordesc_np(errno));
            allInstalled = false;
            continue;
        }
        const bool hasHandler = (previous.sa_flags & SA_SIGINFO) != 0
                                    ? previous.sa_sigaction != nullptr
                                    : previous.sa_handler != SIG_DFL;
        if (hasHandler && !isOurHandler(previous)) {
            context.previousActions[i] = previous;
        } else {
            memset(&context.previousActions[i], 0, sizeof context.previousActions[i]);
        }
    }
    return allInstalled;
}

void checkForeignSignalHandlers(int fd) {
    for (int number : kCapturedSignals) {
        struct sigaction current {};
        if (sigaction(number, nullptr, &current) != 0) {
            writeFully(fd, "Unable to read signal handler\n", 30);
            continue;
        }
        if (isOurHandler(current) || isIgnored(current)) {
            continue;
        }
        const void *handler = (current.sa_flags & SA_SIGINFO) != 0
                                  ? reinterpret_cast<const void *>(current.sa_sigaction)
                                  : reinterpret_cast<const void *>(current.sa_handler);
        Dl_info symbol{};
        const char *symbolName = dladdr(handler, &symbol) != 0 && symbol.dli_sname != nullptr
                                     ? symbol.dli_sname
                                     : nullptr;
        char line[512];
        const size_t length = safeFormat(
            line, sizeof line,
            "[Telemetry] The signal %s has a non-Telemetry handler (%s).  This will interfere "
            "with reporting.\n",
            signalName(number), symbolName);
        writeFully(fd, line, length);
    }
}

void removeSignalHandlers() {
    struct sigaction defaultAction {};
    defaultAction.sa_handler = SIG_DFL;
    sigemptyset(&defaultAction.sa_mask);
    for (int number : kCapturedSignals) {
        if (sigaction(number, &defaultAction, nullptr) != 0) {
            CRS_WARN("Unable to set default handler for %d (%s)\n", number, strerrordesc_np(errno));
        }
    }
}

bool reinstallPreviousSignalHandlers(const CrashContext &context) {
    removeSignalHandlers();
    bool ok = true;
    // The kernel refuses to swap the stack a handler is running on; it is left in place
    // then, and stays valid for the previous handler because it is never freed.
    stack_t current{};
    const bool onOurStack =
        sigaltstack(nullptr, &current) == 0 && (current.ss_flags & SS_ONSTACK) != 0;
    if (context.previousAlternateStackSaved && !onOurStack &&
        sigaltstack(&context.previousAlternateStack, nullptr) != 0) {
        CRS_WARN("Unable to setup stack %s\n", strerrordesc_np(errno));
        ok = false;
    }
    for (size_t i = 0; i < kCapturedSignalCount; ++i) {
        const struct sigaction &previous = context.previousActions[i];
        if (previous.sa_handler == nullptr) {
            continue;
        }
        if (sigaction(kCapturedSignals[i], &previous, nullptr) != 0) {
            CRS_WARN("Unable to install handler for %d (%s)\n", kCapturedSignals[i],
                     strerrordesc_np(errno));
            ok = false;
        }
    }
    return ok;
}

}  // namespace tarnwell::crash
