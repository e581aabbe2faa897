#include "EVTUploader.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QNetworkReply>
#include <QNetworkRequest>

#include "EVTFilePackager.h"
#include "EVTKitFiles.h"
#include "EVTLog.h"
#include "EVTSerialQueue.h"
#include "TLMNetworkResponseHandler.h"

namespace tarnwell {

namespace {

constexpr char kClientType[] = "linux";
constexpr char kClientVersion[] = "1.4.0";
// Identifies this kit, not the application, to the service.
constexpr char kDeveloperToken[] = "2f4a8c3e9b1d47e6a0c5f7d2b8e1394c6d0a5f2e";

QNetworkRequest makeRequest(const EVTConfiguration &configuration, const QString &packagedPath,
                            const QUrl &url, int timeoutMilliseconds) {
    QNetworkRequest request(url);
    request.setHeader(QNetworkRequest::ContentTypeHeader,
                      EVTFilePackager::contentTypeForPackagedFile(packagedPath));
    request.setRawHeader("X-TELEMETRY-API-KEY", configuration.apiKey.toUtf8());
    request.setRawHeader("X-TELEMETRY-API-CLIENT-TYPE", kClientType);
    request.setRawHeader("X-TELEMETRY-API-CLIENT-VERSION", kClientVersion);
    request.setRawHeader("X-TELEMETRY-API-CLIENT-DISPLAY-VERSION",
                         configuration.bundleShortVersion.toUtf8());
    request.setRawHeader("X-TELEMETRY-API-CLIENT-BUILD-VERSION",
                         configuration.bundleVersion.toUtf8());
    request.setRawHeader("X-TELEMETRY-DEVELOPER-TOKEN", kDeveloperToken);
    // The packaging time survives a restart with the file itself.
    const QDateTime packaged = QFileInfo(packagedPath).lastModified();
    request.setRawHeader("X-Telemetry-Api-Client-Packaged-Timestamp",
                         QByteArray::number(packaged.toSecsSinceEpoch()));
    request.setTransferTimeout(timeoutMilliseconds);
    return request;
}

}  // namespace

EVTUploader::EVTUploader(const EVTConfiguration &configuration, std::weak_ptr<EVTSerialQueue> queue,
                         EVTDelayedRunner &runner, EVTRandomSource random, FinishedHandler finished)
    : configuration_(configuration),
      queue_(std::move(queue)),
      retryHandler_(runner, std::move(random)),
      finished_(std::move(finished)) {}

EVTUploader::~EVTUploader() {
    // Replies still running are aborted with the network manager; their
    // results must not reach an uploader that is going away.
    for (QNetworkReply *reply : network_.findChildren<QNetworkReply *>()) {
        reply->disconnect();
    }
}

void EVTUploader::upload(const QString &packagedPath, const QUrl &url, int timeoutMilliseconds) {
    if (inFlight_.contains(packagedPath)) {
        return;
    }
    inFlight_.insert(packagedPath);
    send(packagedPath, url, timeoutMilliseconds);
}

void EVTUploader::send(const QString &packagedPath, const QUrl &url, int timeoutMilliseconds) {
    const std::optional<QByteArray> body =
        EVTKitFiles::read(packagedPath, EVTKitFiles::Kind::Packaged);
    if (!body) {
        // Removed meanwhile (collection was switched off, or the cleanup made
        // room for newer files), or never the kit's own.
        inFlight_.remove(packagedPath);
        return;
    }
    const QNetworkRequest request =
        makeRequest(configuration_, packagedPath, url, timeoutMilliseconds);
    QNetworkReply *reply = network_.post(request, *body);
    QObject::connect(reply, &QNetworkReply::finished, &network_, [=, this] {
        reply->deleteLater();
        const TLMHttpResponse response = TLMHttpResponse::fromReply(*reply);
        std::optional<TLMError> transportError;
        if (!response.statusCode && reply->error() != QNetworkReply::NoError) {
            transportError = TLMNetworkResponseHandler::urlErrorFromNetworkError(
                reply->error(), reply->errorString());
        }
        const QString identifier = QFileInfo(packagedPath).fileName();
        retryHandler_.handleCompletedRequest(
            request, response, identifier, transportError,
            [=, this, queue = queue_](bool willRetry, const std::optional<TLMError> &error) {
                if (error) {
                    qCInfo(lcEvents).noquote() << QStringLiteral("Error transmitting '%1': %2")
                                                      .arg(identifier, error->describe());
                }
                if (willRetry) {
                    qCInfo(lcEvents).noquote()
                        << QStringLiteral("Scheduling retry for '%1'.").arg(identifier);
                }
                // The retry comes back on the main thread; the file work
                // belongs to the worker.
                if (const auto q = queue.lock()) {
                    q->post([=, this] {
                        if (willRetry) {
                            send(packagedPath, url, timeoutMilliseconds);
                        } else {
                            finish(packagedPath, error);
                        }
                    });
                }
            });
    });
}

void EVTUploader::finish(const QString &packagedPath, const std::optional<TLMError> &error) {
    inFlight_.remove(packagedPath);
    const QString fileName = QFileInfo(packagedPath).fileName();
    if (!error) {
        qCInfo(lcEvents).noquote()
            << QStringLiteral("Finished transmission of '%1'.").arg(fileName);
    } else {
        qCWarning(lcEvents).noquote()
            << QStringLiteral("Failed to upload '%1': %2").arg(fileName, error->describe());
    }
    // A file the service took, or refused for good, is done with; one that
    // never got through (offline, or still busy when its retries ran out)
    // waits for the next start.
    const bool refused = error && error->domain == QLatin1String(kTLMNetworkErrorDomain) &&
                         (error->code == kTLMUnexpectedResponse || error->code == kTLMClientError);
    if (!error || refused) {
        QFile::remove(packagedPath);
    }
    finished_(fileName, !error);
}

}  // namespace tarnwell
