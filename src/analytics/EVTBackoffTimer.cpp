#include "EVTBackoffTimer.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QTimer>
#include <QtGlobal>

namespace tarnwell {

namespace {
constexpr double kMinimumBase = 2.0;
}

namespace {

// Qt's timers count whole milliseconds in an int, about 24.8 days; a Retry-After used as
// the base of the exponential passes that after a few retries, so a longer wait is a
// chain of timers, each as long as Qt allows.
void waitThenRun(QObject *owner, int64_t milliseconds, std::function<void()> block) {
    const int step = static_cast<int>(std::clamp<int64_t>(milliseconds, 0, INT_MAX));
    auto *timer = new QTimer(owner);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, owner,
                     [timer, owner, rest = milliseconds - step, block = std::move(block)] {
                         timer->deleteLater();
                         if (rest > 0) {
                             waitThenRun(owner, rest, block);
                         } else {
                             block();
                         }
                     });
    timer->start(step);
}

}  // namespace

void EVTMainLoopRunner::runAfter(std::chrono::nanoseconds delay, std::function<void()> block) {
    QCoreApplication *application = QCoreApplication::instance();
    if (application == nullptr) {
        return;
    }
    const int64_t milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(delay).count();
    // The timer must be created on the main thread to fire there.
    QMetaObject::invokeMethod(
        application,
        [application, milliseconds, block = std::move(block)]() mutable {
            waitThenRun(application, milliseconds, std::move(block));
        },
        Qt::QueuedConnection);
}

EVTRandomSource systemRandomSource() {
    return [] { return QRandomGenerator::global()->generateDouble(); };
}

EVTBackoffTimer::EVTBackoffTimer(double initialValue, double jitterCoefficient,
                                 EVTDelayedRunner &runner, EVTRandomSource random)
    : initialValue_(initialValue),
      jitterCoefficient_(jitterCoefficient),
      runner_(runner),
      random_(std::move(random)) {
    Q_ASSERT_X(jitterCoefficientIsValid(jitterCoefficient), "EVTBackoffTimer",
               "Invalid parameter not satisfying: [EVTBackoffTimer "
               "jitterCoefficientIsValid:jitterCoefficient]");
}

EVTBackoffTimer::EVTBackoffTimer(double initialValue, EVTDelayedRunner &runner,
                                 EVTRandomSource random)
    : EVTBackoffTimer(initialValue, kDefaultJitterCoefficient, runner, std::move(random)) {}

bool EVTBackoffTimer::jitterCoefficientIsValid(double jitterCoefficient) {
    return jitterCoefficient >= 0.0 && jitterCoefficient < 1.0;
}

void EVTBackoffTimer::executeBlockAfterNextInterval(std::function<void()> block) {
    ++retryCount_;
    const double seconds = computeDelayForInitialValue(initialValue_, retryCount_);
    // A large Retry-After raised to the retry count leaves the range of a 64-bit count
    // of nanoseconds (about 292 years) within a few retries, or is infinite; converting
    // it unchecked gives a negative or undefined delay. The longest delay stands in.
    const double nanoseconds = seconds * 1e9;
    const auto delay = nanoseconds >= 0.0 && nanoseconds < 0x1p63
                           ? std::chrono::nanoseconds(static_cast<int64_t>(nanoseconds))
                           : std::chrono::nanoseconds::max();
    runner_.runAfter(delay, std::move(block));
}

double EVTBackoffTimer::computeDelayForInitialValue(double initialValue, uint64_t retryCount) {
    const double base = std::max(kMinimumBase, initialValue);
    const double exponent = retryCount == 0 ? 1.0 : static_cast<double>(retryCount);
    return std::pow(base, exponent) * generateRandomJitter();
}

double EVTBackoffTimer::generateRandomJitter() {
    const double c = jitterCoefficientIsValid(jitterCoefficient_) ? jitterCoefficient_
                                                                  : kDefaultJitterCoefficient;
    return randomDoubleWithMin(1.0 - c, 1.0 + c);
}

double EVTBackoffTimer::randomDoubleWithMin(double min, double max) {
    return random_() * (max - min) + min;
}

}  // namespace tarnwell
