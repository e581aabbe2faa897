#pragma once

#include <functional>
#include <memory>
#include <optional>

#include <QNetworkAccessManager>
#include <QSet>
#include <QString>

#include "EVTConfiguration.h"
#include "EVTNetworkRetryHandler.h"

namespace tarnwell {

class EVTSerialQueue;

// Sends packaged event files to the events endpoint, one request per file,
// and settles each file's fate: delivered or refused by the service, it is
// deleted; still failing when its retries run out, or never reaching the
// service, it stays for the next start. Lives on the kit's worker thread.
class EVTUploader {
public:
    // Told the file name and whether the service took it.
    using FinishedHandler = std::function<void(const QString &, bool)>;

    EVTUploader(const EVTConfiguration &configuration, std::weak_ptr<EVTSerialQueue> queue,
                EVTDelayedRunner &runner, EVTRandomSource random, FinishedHandler finished);
    ~EVTUploader();

    // Nothing happens when the file is already on its way.
    void upload(const QString &packagedPath, const QUrl &url, int timeoutMilliseconds);

private:
    void send(const QString &packagedPath, const QUrl &url, int timeoutMilliseconds);
    void finish(const QString &packagedPath, const std::optional<TLMError> &error);

    EVTConfiguration configuration_;
    std::weak_ptr<EVTSerialQueue> queue_;
    QNetworkAccessManager network_;
    EVTNetworkRetryHandler retryHandler_;
    FinishedHandler finished_;
    QSet<QString> inFlight_;
};

}  // namespace tarnwell
