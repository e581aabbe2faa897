#include "preferences/QRMSettingRange.h"

#include <QRegularExpression>
#include <QUrl>
#include <limits>

namespace tarnwell {

namespace {

// The longest interval a Qt timer holds is INT_MAX milliseconds, about 24 days.
constexpr int64_t kTimerLimitMs = std::numeric_limits<int>::max();

struct IntegerRange {
    int64_t minimum;
    int64_t maximum;
    const char *unit;  // after the number, or empty
};

std::optional<IntegerRange> integerRange(Setting setting, std::optional<uint64_t> installed) {
    switch (setting) {
        case Setting::StatusBarIconType:
            return IntegerRange{0, 4, ""};
        case Setting::StatusBarTextType:
        case Setting::StatusBarTextPlacement:
        case Setting::StatusBarAppearance:
            return IntegerRange{0, 2, ""};
        case Setting::SelectedLanguage:
            return IntegerRange{0, 3, ""};
        case Setting::RefreshRate:
        case Setting::AutoCleanEveryTime: {
            const IntervalBounds bounds = *intervalBounds(setting);
            return IntegerRange{bounds.minimum, bounds.maximum,
                                setting == Setting::RefreshRate ? " seconds" : " minutes"};
        }
        case Setting::AutoCleanByFreeSize:
        case Setting::AutoCleanByInactiveSize:
            return IntegerRange{1, int64_t(thresholdBoundMB(installed.value_or(0))), " MB"};
        default:
            return std::nullopt;
    }
}

bool isLoopbackHost(const QString &host) {
    // 127.0.0.0/8 as four numbers: a name that merely starts with "127." is anyone's.
    static const QRegularExpression loopbackIPv4(
        QStringLiteral("^127\\.\\d{1,3}\\.\\d{1,3}\\.\\d{1,3}$"));
    return host == QLatin1String("localhost") || loopbackIPv4.match(host).hasMatch() ||
           host == QLatin1String("::1");
}

}  // namespace

std::optional<IntervalBounds> intervalBounds(Setting setting) {
    switch (setting) {
        case Setting::RefreshRate:
            return IntervalBounds{1, kTimerLimitMs / 1000};
        case Setting::AutoCleanEveryTime:
            return IntervalBounds{1, kTimerLimitMs / 60'000};
        default:
            return std::nullopt;
    }
}

bool isAcceptedFeedAddress(const QUrl &url) {
    const bool https = url.scheme() == QLatin1String("https");
    const bool localHttp = url.scheme() == QLatin1String("http") && isLoopbackHost(url.host());
    return (https || localHttp) && !url.host().isEmpty();
}

uint64_t thresholdBoundMB(uint64_t installedMemory) {
    return installedMemory >> 21;
}

std::optional<QString> outsideSettingRange(Setting setting, const QVariant &value,
                                           std::optional<uint64_t> installedMemory) {
    if (setting == Setting::FeedURL) {
        if (isAcceptedFeedAddress(value.toUrl())) {
            return std::nullopt;
        }
        return QStringLiteral("an https address of an update feed (http only to this machine)");
    }
    const std::optional<IntegerRange> range = integerRange(setting, installedMemory);
    if (!range) {
        return std::nullopt;
    }
    const int64_t number = value.toLongLong();
    if (number >= range->minimum && number <= range->maximum) {
        return std::nullopt;
    }
    if (range->maximum < range->minimum) {
        return QStringLiteral(
            "a whole number of MB up to half the installed memory, "
            "which is not known now");
    }
    return QStringLiteral("a whole number from %1 to %2%3")
        .arg(range->minimum)
        .arg(range->maximum)
        .arg(QLatin1String(range->unit));
}

}  // namespace tarnwell
