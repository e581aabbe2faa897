#include "crash/ReportMetadata.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "crash/BinaryImageLog.h"
#include "crash/CrashLog.h"
#include "crash/RecordWriter.h"

namespace tarnwell::crash {

namespace {

constexpr const char kGenerator[] = "Telemetry Crash SDK/3.13.1";
constexpr const char kKitBuildVersion[] = "140";
constexpr const char kKitDisplayVersion[] = "3.13.1";
constexpr const char kFailed[] = "(failed)";
constexpr const char kPlatform[] = "linux";

std::optional<std::string> firstLine(const char *path) {
    std::ifstream file(path);
    std::string line;
    if (!file || !std::getline(file, line) || line.empty()) {
        return std::nullopt;
    }
    return line;
}

std::optional<std::string> cpuModelName() {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line)) {
        if (line.rfind("model name", 0) == 0) {
            const size_t colon = line.find(':');
            if (colon != std::string::npos) {
                const size_t start = line.find_first_not_of(' ', colon + 1);
                return start == std::string::npos ? std::string() : line.substr(start);
            }
        }
    }
    return std::nullopt;
}

// "6.1.0-13-amd64" -> "6.1.0"; missing parts are 0.
std::string releaseTriple(const char *release) {
    long parts[3] = {0, 0, 0};
    const char *cursor = release;
    for (long &part : parts) {
        char *end = nullptr;
        part = std::strtol(cursor, &end, 10);
        if (end == cursor || *end != '.') {
            break;
        }
        cursor = end + 1;
    }
    return std::to_string(parts[0]) + "." + std::to_string(parts[1]) + "." +
           std::to_string(parts[2]);
}

std::string currentLocale() {
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char *value = std::getenv(name);
        if (value != nullptr && value[0] != '\0') {
            std::string locale(value);
            return locale.substr(0, locale.find('.'));
        }
    }
    return "C";
}

const char *orNull(const std::optional<std::string> &value) {
    return value ? value->c_str() : nullptr;
}

const char *orFailed(const std::optional<std::string> &value) {
    return value ? value->c_str() : kFailed;
}

bool writeIdentity(RecordWriter &writer, const MetadataValues &values) {
    return writer.beginKeyedObject("identity") && writer.beginObject() &&
           writer.writeString("generator", kGenerator) &&
           writer.writeString("build_version", kKitBuildVersion) &&
           writer.writeString("display_version", kKitDisplayVersion) &&
           writer.writeString("api_key", orNull(values.apiKey)) &&
           writer.writeUnsigned("started_at", values.startedAt) &&
           writer.writeString("session_id", values.sessionId.c_str()) &&
           writer.writeString("install_id", values.installId.c_str()) &&
           writer.writeString("beta_token", orNull(values.betaToken)) &&
           writer.writeBool("absolute_log_timestamps", true) && writer.endObject() &&
           writer.endRecord();
}

bool writeHost(RecordWriter &writer, const HostValues &host) {
    return writer.beginKeyedObject("host") && writer.beginObject() &&
           writer.writeString("model", orFailed(host.model)) &&
           writer.writeString("machine", orFailed(host.machine)) &&
           writer.writeString("cpu", orFailed(host.cpu)) &&
           writer.writeString("os_build_version", orFailed(host.osBuildVersion)) &&
           writer.writeString("os_display_version", host.osDisplayVersion.c_str()) &&
           writer.writeString("platform", kPlatform) &&
           writer.writeString("locale", host.locale.c_str()) && writer.endObject() &&
           writer.endRecord();
}

bool writeApplication(RecordWriter &writer, const MetadataValues &values) {
    std::string bundleId = values.bundleIdentifier;
    std::replace(bundleId.begin(), bundleId.end(), '/', '_');
    return writer.beginKeyedObject("application") && writer.beginObject() &&
           writer.writeString("bundle_id", bundleId.c_str()) &&
           writer.writeString("custom_bundle_id", orNull(values.customBundleIdentifier)) &&
           writer.writeString("build_version", values.buildVersion.c_str()) &&
           writer.writeString("display_version", values.displayVersion.c_str()) &&
           // Only an application extension has an extension point; this never is one.
           writer.writeString("extension_id", nullptr) && writer.endObject() && writer.endRecord();
}

}  // namespace

HostValues readHostValues() {
    HostValues host;
    host.model = firstLine("/sys/class/dmi/id/product_name");
    host.cpu = cpuModelName();
    utsname names{};
    if (uname(&names) == 0) {
        host.machine = names.machine;
        host.osBuildVersion = names.version;
        host.osDisplayVersion = releaseTriple(names.release);
    } else {
        host.osDisplayVersion = "0.0.0";
    }
    host.locale = currentLocale();
    return host;
}

void recordMetadata(const std::string &reportDirectory, const MetadataValues &values,
                    const HostValues &host, const ImageDetails &executable) {
    const std::string path = reportDirectory + "/metadata.crsrecord";
    if (unlink(path.c_str()) != 0 && errno != ENOENT) {
        CRS_WARN("Unable to unlink existing metadata file %s\n", strerrordesc_np(errno));
    }
    RecordWriter writer;
    if (!writer.open(path.c_str(), false, true)) {
        CRS_WARN("Unable to open metadata file %s\n", strerrordesc_np(errno));
        CRS_WARN("Unable to record context metadata\n");
        return;
    }
    writeIdentity(writer, values);
    if (!writeHost(writer, host)) {
        CRS_WARN("Unable to write out host metadata\n");
    }
    writeApplication(writer, values);
    if (!recordExecutableDetails(&writer, executable)) {
        CRS_WARN("Unable to write out executable metadata\n");
    }
    writer.close();
}

}  // namespace tarnwell::crash
