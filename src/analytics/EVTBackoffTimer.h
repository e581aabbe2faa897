#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace tarnwell {

// Runs a block on the application's main event loop after a delay. The
// backoff timer's only clock; tests substitute one that records the delay.
class EVTDelayedRunner {
public:
    virtual ~EVTDelayedRunner() = default;
    virtual void runAfter(std::chrono::nanoseconds delay, std::function<void()> block) = 0;
};

// The production runner: a single-shot timer owned by the application object.
class EVTMainLoopRunner final : public EVTDelayedRunner {
public:
    void runAfter(std::chrono::nanoseconds delay, std::function<void()> block) override;
};

// A uniform random number in [0, 1).
using EVTRandomSource = std::function<double()>;
EVTRandomSource systemRandomSource();

// Exponentially growing, jittered delays for one upload identifier.
class EVTBackoffTimer {
public:
    // The relative jitter used when none (or an invalid one) is given. It was
    // stored in single precision, and the widened value 0.10000000149011612 is
    // what the delays have always been computed with.
    static constexpr double kDefaultJitterCoefficient = static_cast<double>(0.1f);

    EVTBackoffTimer(double initialValue, double jitterCoefficient, EVTDelayedRunner &runner,
                    EVTRandomSource random);
    EVTBackoffTimer(double initialValue, EVTDelayedRunner &runner, EVTRandomSource random);

    static bool jitterCoefficientIsValid(double jitterCoefficient);

    uint64_t retryCount() const { return retryCount_; }

    // Counts one more retry and runs the block after the delay for it.
    void executeBlockAfterNextInterval(std::function<void()> block);
    // Seconds: max(2, initialValue) ^ max(1, retryCount), times the jitter.
    double computeDelayForInitialValue(double initialValue, uint64_t retryCount);
    double generateRandomJitter();
    double randomDoubleWithMin(double min, double max);

private:
    double initialValue_;
    double jitterCoefficient_;
    uint64_t retryCount_ = 0;
    EVTDelayedRunner &runner_;
    EVTRandomSource random_;
};

}  // namespace tarnwell
