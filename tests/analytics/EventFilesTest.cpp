#include <gtest/gtest.h>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>

#include "KitTestSupport.h"
#include "TestHttpServer.h"
#include "analytics/EVTConfiguration.h"
#include "analytics/EVTEvent.h"
#include "analytics/EVTEventsController.h"
#include "analytics/EVTFilePackager.h"
#include "analytics/EVTMetadata.h"
#include "analytics/EVTSerialQueue.h"
#include "analytics/EVTSettings.h"
#include "analytics/EVTWriteEventOperation.h"
#include "support/HostileEntries.h"

namespace tarnwell {
namespace {

using namespace tarnwell::testing;

class EventFile : public ::testing::Test {
protected:
    QString path(const QString &name) const { return QDir(dir.path()).filePath(name); }

    QTemporaryDir dir;
    EVTMetadata metadata = EVTMetadata::current(EVTConfiguration{});
};

TEST_F(EventFile, WrittenCompressedAndPackagedFileGivesBackTheSameLines) {
    // Names as the kit makes them: it takes no other files.
    const QString kLog = "5F0E1D2C-3B4A-4958-8776-A5B4C3D2E1F0.log";
    const QString kCompressed = "5F0E1D2C-3B4A-4958-8776-A5B4C3D2E1F0.gz";
    const QString kBoundary = "Boundary-00112233445566778899aabbccddeeff";
    for (const char *name : {"first", "second"}) {
        ASSERT_TRUE(EVTWriteEventOperation(path(kLog), EVTEvent::custom(name, {}), metadata).run());
    }
    // Only a new file starts with the metadata line.
    const QByteArray written = test::readAll(path(kLog));
    EXPECT_EQ(test::lineNames(test::lines(written)),
              QStringList({"metadata", "custom first", "custom second"}));
    EXPECT_EQ(QFile::permissions(path(kLog)) & 0x7777, 0x6644);  // 0644 in Qt's flags

    const std::optional<QString> compressed = EVTFilePackager::compress(path(kLog));
    ASSERT_EQ(compressed, path(kCompressed));
    EXPECT_FALSE(QFile::exists(path(kLog)));
    // A gzip stream (the reader here also takes a bare zlib one).
    EXPECT_TRUE(test::readAll(*compressed).startsWith("\x1f\x8b"));
    EXPECT_EQ(test::gunzip(test::readAll(*compressed)), written);

    const std::optional<QString> packaged = EVTFilePackager::package(*compressed, kBoundary);
    ASSERT_EQ(packaged, path(kBoundary + ".multipartmime"));
    EXPECT_FALSE(QFile::exists(*compressed));
    EXPECT_EQ(EVTFilePackager::contentTypeForPackagedFile(*packaged),
              "multipart/form-data; boundary=" + kBoundary.toLatin1());
    const test::UnpackedUpload upload =
        test::unpack(test::readAll(*packaged), kBoundary.toLatin1());
    EXPECT_TRUE(upload.partHeaders.contains("filename=\"" + kCompressed.toLatin1() + "\""));
    EXPECT_EQ(upload.lines.join(), written);
}

TEST_F(EventFile, UnwritableOrMissingPathsAreFailuresNotCrashes) {
    test::MessageCapture messages;
    ASSERT_TRUE(QDir().mkpath(path("B.log")));
    EXPECT_FALSE(EVTWriteEventOperation(path("B.log"), EVTEvent(), metadata).run());
    EXPECT_FALSE(EVTWriteEventOperation(path("missing/C.log"), EVTEvent(), metadata).run());
    EXPECT_FALSE(EVTFilePackager::compress(path("E.log")));
    EXPECT_FALSE(EVTFilePackager::package(path("E.gz"), "Boundary-Y"));
    EXPECT_EQ(messages.count("Error: attempting to package nonexistent file: " + path("E.gz")), 1);
}

// The events kit's folders as someone else may have filled them: only what the kit wrote
// itself is ever sent, and nothing found there is changed or hangs it.

// A file of each kind as the kit writes it, by name.
QMap<QString, QByteArray> kitFiles(const QString &staging) {
    const QDir dir(staging);
    const EVTMetadata metadata = EVTMetadata::current(EVTConfiguration{});
    const QString log = dir.filePath("0A1B2C3D-0000-4000-8000-00000000000A.log");
    EVTWriteEventOperation(log, EVTEvent::custom("kept", {}), metadata).run();
    QMap<QString, QByteArray> files{{QFileInfo(log).fileName(), test::readAll(log)}};
    const QString compressed = *EVTFilePackager::compress(log);
    files.insert(QFileInfo(compressed).fileName(), test::readAll(compressed));
    const QString packaged =
        *EVTFilePackager::package(compressed, "Boundary-0123456789abcdef0123456789abcdef");
    files.insert(QFileInfo(packaged).fileName(), test::readAll(packaged));
    files.insert("install_id", "INSTALL-1");
    files.insert("settings.json", "{}");
    return files;
}

class HostileEventFiles : public ::testing::TestWithParam<HostileEntry> {};

TEST_P(HostileEventFiles, AreNeitherSentNorTouched) {
    if (!canPlace(GetParam())) {
        GTEST_SKIP() << "device nodes need root";
    }
    QTemporaryDir root, outside, staging;
    const QString events = QDir(root.path()).filePath("events");
    QDir().mkpath(events);
    QMap<std::string, std::pair<mode_t, mode_t>> placed;  // the entry's type, its target's
    const QMap<QString, QByteArray> files = kitFiles(staging.path());
    for (auto file = files.begin(); file != files.end(); ++file) {
        const bool inRoot = !file.key().contains('.') || file.key().endsWith(".json");
        const std::string path = placeHostile(
            GetParam(), (inRoot ? root.path() : events).toStdString(), file.key().toStdString(),
            file.value().toStdString(), outside.path().toStdString());
        placed.insert(path, {entryType(path), targetType(path)});
    }

    test::TestHttpServer server;
    EVTConfiguration configuration;
    configuration.rootDirectory = root.path();
    configuration.eventsURL = server.url();
    configuration.apiKey = "key";
    auto kit = std::make_unique<EVTEventsController>(configuration);
    QSignalSpy finished(kit.get(), &EVTEventsController::uploadFinished);
    // Waits for this run's own file, sent with whatever the kit takes for its own.
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::DidBecomeActive));
    QByteArray sent;  // every event line the server got, and every body
    while (!sent.contains("app_became_active")) {
        ASSERT_TRUE(finished.wait(20'000)) << "the worker never got to this run's file";
        sent.clear();
        for (const test::ReceivedRequest &request : server.requests()) {
            const test::UnpackedUpload upload =
                test::unpack(request.body, request.headers.value("content-type"));
            ASSERT_FALSE(upload.lines.isEmpty()) << "not an event file: " << request.body.data();
            EXPECT_LE(test::linePayload(upload.lines.first())["install_id"].toString().size(), 64);
            sent += upload.lines.join() + request.body;
        }
    }
    kit.reset();
    EXPECT_FALSE(sent.contains(kForeignBytes));
    for (auto entry = placed.begin(); entry != placed.end(); ++entry) {
        EXPECT_EQ(std::pair(entryType(entry.key()), targetType(entry.key())), entry.value())
            << entry.key() << " was changed";
    }
    for (const QString &name : QDir(outside.path()).entryList(QDir::Files)) {
        const QString original = name.mid(QStringLiteral("foreign-").size());
        EXPECT_EQ(test::readAll(QDir(outside.path()).filePath(name)),
                  files[original] + kForeignBytes);
    }
}

INSTANTIATE_TEST_SUITE_P(Entries, HostileEventFiles, ::testing::ValuesIn(kHostileEntries),
                         hostileCaseName);

// 0 or less: no flush timer. A timer takes milliseconds as an int: 2147483 s at most.
TEST(KitIntervals, StayWithinWhatATimerHolds) {
    const auto stored = [](const char *key, double seconds) {
        return EVTSettings(QJsonObject{{"analytics", QJsonObject{{key, seconds}}}}, QUrl());
    };
    for (const auto &[seconds, inUse] :
         {std::pair{0.0, 0.0}, {-1.0, 0.0}, {0.0001, 1.0}, {1e300, 2147483.0}}) {
        EXPECT_EQ(stored("flush_interval_secs", seconds).flushInterval(), inUse) << seconds;
    }
    for (const auto &[seconds, inUse] : {std::pair{0.0, 1.0}, {1e12, 2147483.0}}) {
        EXPECT_EQ(stored("upload_timeout_secs", seconds).defaultUploadTimeout(), inUse) << seconds;
    }
}

TEST(EventsWorker, QuittingDoesNotWaitForAStuckTask) {
    auto gate = std::make_shared<QSemaphore>();
    EVTSerialQueue queue(std::chrono::milliseconds(200));
    queue.post([gate] { gate->acquire(); });
    QElapsedTimer clock;
    clock.start();
    EXPECT_FALSE(queue.stop({}));
    EXPECT_LT(clock.elapsed(), 5000);
    gate->release();  // lets the worker end
}

}  // namespace
}  // namespace tarnwell
