// The events kit's folders as someone else may have filled them: only what the
// kit wrote itself is ever sent, and nothing found there is changed or hangs it.
#include <gtest/gtest.h>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTemporaryDir>

#include "CaseName.h"
#include "EventFiles.h"
#include "TestHttpServer.h"
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
    // This run's own file is sent (with whatever the kit finds its own); the test
    // waits for it.
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::DidBecomeActive));
    QByteArray sent;  // every event line the server got, and every body
    while (!sent.contains("app_became_active")) {
        ASSERT_TRUE(finished.wait(20'000)) << "the worker never got to this run's file";
        sent.clear();
        for (const test::ReceivedRequest &request : server.requests()) {
            const test::UnpackedUpload upload =
                test::unpack(request.body, test::boundaryOf(request.headers.value("content-type")));
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

struct IntervalCase {
    const char *name;
    const char *key;
    double stored;
    double inUse;
};

class KitIntervals : public ::testing::TestWithParam<IntervalCase> {};

// 0 or less: no flush timer. A timer takes milliseconds as an int: 2147483 s at most.
TEST_P(KitIntervals, StayWithinWhatATimerHolds) {
    const IntervalCase &c = GetParam();
    const EVTSettings settings(QJsonObject{{"analytics", QJsonObject{{c.key, c.stored}}}}, QUrl());
    const double inUse = QString(c.key) == "flush_interval_secs" ? settings.flushInterval()
                                                                 : settings.defaultUploadTimeout();
    EXPECT_EQ(inUse, c.inUse);
}

INSTANTIATE_TEST_SUITE_P(
    BothEdges, KitIntervals,
    ::testing::Values(IntervalCase{"FlushOff", "flush_interval_secs", 0, 0},
                      IntervalCase{"FlushNegative", "flush_interval_secs", -1, 0},
                      IntervalCase{"FlushSpinning", "flush_interval_secs", 0.0001, 1},
                      IntervalCase{"FlushLongest", "flush_interval_secs", 2147483, 2147483},
                      IntervalCase{"FlushBeyondATimer", "flush_interval_secs", 1e300, 2147483},
                      IntervalCase{"UploadNoTimeout", "upload_timeout_secs", 0, 1},
                      IntervalCase{"UploadBeyondATimer", "upload_timeout_secs", 1e12, 2147483}),
    tarnwell::test::caseName);

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
