#pragma once

#include <QString>
#include <QUrl>
#include <QVariant>
#include <cstdint>
#include <optional>

#include "preferences/QRMSettingsTable.h"

namespace tarnwell {

// What a setting accepts beyond its type, for values typed by a person (the
// settings command). Values read back from the file are not refused here: the
// store's readers decide what a hand-edited file yields.
//
// installedMemory: installed memory in bytes, which bounds the thresholds as
// the Cleaning tab bounds them (half of it, in MB); nothing while unknown.
// Returns a description of the range when value lies outside it, such as
// "a whole number from 0 to 4".
std::optional<QString> outsideSettingRange(Setting setting, const QVariant &value,
                                           std::optional<uint64_t> installedMemory);

// The settings a timer runs on, in their own unit (seconds, minutes): below the
// minimum a timer would spin (0 fires continuously), above the maximum its
// millisecond int would wrap, often to a spinning 0. The store's getters hand out
// values within these bounds, whatever the file holds. Nothing for other settings.
struct IntervalBounds {
    int64_t minimum;
    int64_t maximum;
};
std::optional<IntervalBounds> intervalBounds(Setting setting);
// An address the update feeds may come from: https, or http to this machine only (a
// local test server); plain http elsewhere would let anyone on the way swap the feed.
bool isAcceptedFeedAddress(const QUrl &url);

// The thresholds' upper bound in MB: half the installed memory, rounded down.
uint64_t thresholdBoundMB(uint64_t installedMemory);

}  // namespace tarnwell
