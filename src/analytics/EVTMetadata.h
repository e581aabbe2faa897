#pragma once

#include <cstdint>

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace tarnwell {

struct EVTConfiguration;

// The record written as the first line of every event file: who sends the
// events and from what kind of machine.
class EVTMetadata {
public:
    static constexpr char kGenerator[] = "Telemetry Events SDK/1.4.0";
    static constexpr char kPlatform[] = "linux";

    // Reads the host's figures once; they do not change while the process runs.
    // "instance_id" is the running executable's build identifier, the "uuid" of the
    // crash reports' executable line, so events and crashes name the same build.
    static EVTMetadata current(const EVTConfiguration &configuration);

    // The record with "started_at" set to the given time (seconds since 1970).
    QJsonObject payload(double startedAt) const;
    // The metadata line that opens a file whose first event is at startedAt.
    QByteArray line(double startedAt) const;

private:
    QJsonObject fields_;
};

}  // namespace tarnwell
