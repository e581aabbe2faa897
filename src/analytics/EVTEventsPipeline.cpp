#include "EVTEventsPipeline.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>
#include <QUuid>

#include "EVTCleanupFilesOperation.h"
#include "EVTEvent.h"
#include "EVTFilePackager.h"
#include "EVTKitFiles.h"
#include "EVTLog.h"
#include "EVTWriteEventOperation.h"
#include "crash/RunIdentity.h"

namespace tarnwell {

namespace {

QString newUuid() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

}  // namespace

EVTEventsPipeline::EVTEventsPipeline(const EVTConfiguration &configuration,
                                     std::weak_ptr<EVTSerialQueue> queue, EVTDelayedRunner &runner,
                                     EVTRandomSource random,
                                     EVTUploader::FinishedHandler uploadFinished)
    : configuration_(configuration),
      settings_(
          EVTSettings::loadFromDirectory(configuration.rootDirectory, configuration.eventsURL)),
      eventsDirectory_(QDir(configuration.rootDirectory).filePath(QLatin1String(kEventsFolder))),
      collectionEnabled_(configuration.collectionEnabled),
      uploader_(configuration, std::move(queue), runner, std::move(random),
                std::move(uploadFinished)) {
    // The kit's first start on this installation is when its folder is first made: the
    // install identifier may already exist, made by another command's crash reporter.
    const bool firstInstall = !QFileInfo::exists(eventsDirectory_);
    QDir().mkpath(eventsDirectory_);
    if (configuration_.installId.isEmpty()) {
        const crash::RunIdentity identity = crash::makeRunIdentity(
            EVTConfiguration::installIdPath(configuration_.rootDirectory).toStdString());
        configuration_.installId = QString::fromStdString(identity.installId);
        configuration_.sessionId = QString::fromStdString(identity.sessionId);
    }
    metadata_ = EVTMetadata::current(configuration_);
    currentPath_ = newLogPath();

    // The crash reporter sends the previous run's metadata with its reports;
    // from now on that is this run's.
    const QString crashMetadataPath =
        QDir(configuration_.rootDirectory).filePath(QLatin1String(kCrashMetadataFile));
    QSaveFile crashMetadata(crashMetadataPath);
    if (EVTKitFiles::mayReplace(crashMetadataPath) && crashMetadata.open(QIODevice::WriteOnly)) {
        const double now = QDateTime::currentMSecsSinceEpoch() / 1000.0;
        crashMetadata.write(QJsonDocument(metadata_.payload(now)).toJson(QJsonDocument::Compact));
        crashMetadata.commit();
    }

    if (!settings_.shouldCollectAnalytics()) {
        qCInfo(lcEvents, "Answers is disabled. Cleaning up.");
        removeAllLogs();
        return;
    }
    qCInfo(lcEvents).noquote() << QStringLiteral("Answers enabled with settings: %1")
                                      .arg(QString::fromUtf8(QJsonDocument(settings_.dictionary())
                                                                 .toJson(QJsonDocument::Compact)));
    qCInfo(lcEvents).noquote() << QStringLiteral("Logging events to %1").arg(eventsDirectory_);
    if (collectionEnabled_) {
        cleanupAndProcessExistingFiles();
        uploadAllMultipartFiles();
    } else {
        removeAllLogs();
    }
    setupFlushTimer();
    if (firstInstall) {
        recordEvent(EVTEvent::lifecycle(EVTLifecycle::Installed));
    }
}

EVTEventsPipeline::~EVTEventsPipeline() = default;

QString EVTEventsPipeline::newLogPath() const {
    return QDir(eventsDirectory_)
        .filePath(newUuid() + u'.' + QLatin1String(EVTFilePackager::kLogExtension));
}

bool EVTEventsPipeline::loggingAllowed(const EVTEvent &event) const {
    if (!collectionEnabled_ || !settings_.shouldCollectAnalytics()) {
        return false;
    }
    switch (event.kind()) {
        case EVTEvent::Kind::Custom:
            return settings_.shouldCollectCustomEvents();
        case EVTEvent::Kind::Predefined:
            return settings_.shouldCollectPredefinedEvents();
        default:
            return true;
    }
}

// An installation is either in the sample or not, for good: the choice
// follows a stable hash of its identifier, so a rate of n keeps about one
// installation in n and a rate of 1 keeps all.
bool EVTEventsPipeline::sampledOut() const {
    const qint64 rate = settings_.samplingRate();
    if (rate <= 1) {
        return false;
    }
    const QByteArray digest =
        QCryptographicHash::hash(configuration_.installId.toUtf8(), QCryptographicHash::Sha1);
    quint64 bucket = 0;
    for (int i = 0; i < 8; ++i) {
        bucket = (bucket << 8) | static_cast<quint8>(digest.at(i));
    }
    return bucket % static_cast<quint64>(rate) != 0;
}

void EVTEventsPipeline::recordEvent(const EVTEvent &event) {
    if (!loggingAllowed(event)) {
        return;
    }
    if (sampledOut()) {
        qCInfo(lcEvents).noquote()
            << QStringLiteral("Application is enabled for sampling, skipping %1").arg(event.name());
        return;
    }
    // The size is taken before this event is written: an event that finds
    // the file full still goes into it, and the file is rotated after.
    const bool rotate =
        QFileInfo(currentPath_).size() > settings_.maximumPayloadSize() || event.triggersFlush();
    EVTWriteEventOperation(currentPath_, event, metadata_).run();
    if (rotate) {
        rotateAndSubmitCurrentLog();
    }
}

void EVTEventsPipeline::rotateAndSubmitCurrentLog() {
    const QString rotated = currentPath_;
    currentPath_ = newLogPath();
    if (QFileInfo(rotated).suffix() != QLatin1String(EVTFilePackager::kLogExtension)) {
        qCWarning(lcEvents).noquote()
            << QStringLiteral(
                   "Error: attempted to submit file with invalid extension %1, should "
                   "be %2")
                   .arg(QFileInfo(rotated).suffix(), QLatin1String(EVTFilePackager::kLogExtension));
        return;
    }
    if (QFile::exists(rotated)) {
        submit(rotated);
    }
}

void EVTEventsPipeline::submit(const QString &logPath) {
    const std::optional<QString> compressed = EVTFilePackager::compress(logPath);
    if (!compressed) {
        return;
    }
    const std::optional<QString> packaged =
        EVTFilePackager::package(*compressed, EVTFilePackager::generateBoundary());
    if (!packaged) {
        return;
    }
    EVTCleanupFilesOperation(eventsDirectory_, settings_.maxPendingSendFiles()).run();
    if (QFile::exists(*packaged)) {
        upload(*packaged);
    }
}

// A run that ended before its files went out leaves them at whatever step
// it reached; each is taken on from there.
void EVTEventsPipeline::cleanupAndProcessExistingFiles() {
    for (const QString &log : EVTKitFiles::list(eventsDirectory_, EVTKitFiles::Kind::Log)) {
        if (log != currentPath_) {
            EVTFilePackager::compress(log);
        }
    }
    for (const QString &compressed :
         EVTKitFiles::list(eventsDirectory_, EVTKitFiles::Kind::Compressed)) {
        EVTFilePackager::package(compressed, EVTFilePackager::generateBoundary());
    }
    EVTCleanupFilesOperation(eventsDirectory_, settings_.maxPendingSendFiles()).run();
}

void EVTEventsPipeline::uploadAllMultipartFiles() {
    for (const QString &packaged :
         EVTKitFiles::list(eventsDirectory_, EVTKitFiles::Kind::Packaged)) {
        upload(packaged);
    }
}

void EVTEventsPipeline::upload(const QString &packagedPath) {
    const QUrl url = settings_.eventsURL();
    if (!url.isValid() || url.isEmpty() || configuration_.apiKey.isEmpty()) {
        return;
    }
    uploader_.upload(packagedPath, url,
                     static_cast<int>(settings_.defaultUploadTimeout() * 1000.0));
}

void EVTEventsPipeline::setCollectionEnabled(bool enabled) {
    if (collectionEnabled_ == enabled) {
        return;
    }
    collectionEnabled_ = enabled;
    if (!enabled) {
        removeAllLogs();
    }
}

void EVTEventsPipeline::removeAllLogs() {
    for (const EVTKitFiles::Kind kind :
         {EVTKitFiles::Kind::Log, EVTKitFiles::Kind::Compressed, EVTKitFiles::Kind::Packaged}) {
        for (const QString &path : EVTKitFiles::list(eventsDirectory_, kind)) {
            QFile::remove(path);
        }
    }
}

void EVTEventsPipeline::setupFlushTimer() {
    const double interval = settings_.flushInterval();
    if (interval <= 0) {
        return;
    }
    flushTimer_ = std::make_unique<QTimer>();
    flushTimer_->setObjectName(QStringLiteral("io.telemetry.events.TimedEventsFlush"));
    flushTimer_->setInterval(static_cast<int>(interval * 1000.0));
    QObject::connect(flushTimer_.get(), &QTimer::timeout, [this] { rotateAndSubmitCurrentLog(); });
    flushTimer_->start();
}

}  // namespace tarnwell
