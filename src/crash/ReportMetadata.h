#pragma once

#include <optional>
#include <string>

#include "crash/ImageDetails.h"

namespace tarnwell::crash {

// Facts about the machine, read once in normal context. A value that could not be read
// is absent and is written as "(failed)".
struct HostValues {
    std::optional<std::string> model;           // /sys/class/dmi/id/product_name
    std::optional<std::string> machine;         // uname machine
    std::optional<std::string> cpu;             // /proc/cpuinfo "model name"
    std::optional<std::string> osBuildVersion;  // uname version
    std::string osDisplayVersion;               // kernel release as "major.minor.patch"
    std::string locale;
};

// Reads the host values from the running system.
HostValues readHostValues();

// The kit's and the application's values for the "identity" and "application" lines.
struct MetadataValues {
    std::optional<std::string> apiKey;
    std::string sessionId;
    std::string installId;
    std::optional<std::string> betaToken;
    std::string bundleIdentifier;
    std::optional<std::string> customBundleIdentifier;
    std::string buildVersion;
    std::string displayVersion;
    uint64_t startedAt = 0;
};

// Replaces "metadata.crsrecord" in `reportDirectory` with its four lines: identity,
// host, application, executable. Failures are logged; nothing is thrown.
void recordMetadata(const std::string &reportDirectory, const MetadataValues &values,
                    const HostValues &host, const ImageDetails &executable);

}  // namespace tarnwell::crash
