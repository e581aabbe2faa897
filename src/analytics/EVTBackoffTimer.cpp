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

void EVTMainLoopRunner::runAfter(std::chrono::nanoseconds delay, std::function<void()> block) {
    QCoreApplication *application = QCoreApplication::instance();
    if (application == nullptr) {
        return;
    }
    // Qt's timers count whole milliseconds in an int; a Retry-After used as
    // the base of the exponential overflows that after a few retries.
    const auto milliseconds = std::min<int64_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(delay).count(), INT_MAX);
    // The timer must be created on the main thread to fire there.
    QMetaObject::invokeMethod(
        application,
        [application, milliseconds, block = std::move(block)]() mutable {
            QTimer::singleShot(static_cast<int>(milliseconds), application, std::move(block));
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
    runner_.runAfter(std::chrono::nanoseconds(static_cast<int64_t>(seconds * 1e9)),
                     std::move(block));
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
