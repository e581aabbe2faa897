#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTemporaryDir>

#include "EventFiles.h"
#include "TestHttpServer.h"
#include "analytics/EVTEvent.h"
#include "analytics/EVTEventsController.h"
#include "analytics/EVTEventsPipeline.h"

#include "CaseName.h"

namespace tarnwell {
namespace {

using test::ScriptedReply;
using test::TestHttpServer;

// Lets every backoff delay pass at once, recording it.
class ImmediateRunner : public EVTDelayedRunner {
public:
    void runAfter(std::chrono::nanoseconds delay, std::function<void()> block) override {
        delays.push_back(std::chrono::duration<double>(delay).count());
        block();
    }
    std::vector<double> delays;
};

// Keeps every retry waiting, as a machine that stays offline would.
class NeverRunner : public EVTDelayedRunner {
public:
    void runAfter(std::chrono::nanoseconds, std::function<void()>) override {}
};

constexpr char kApiKey[] = "test-account-key";
constexpr char kInstallId[] = "0e8a6ad2-6b1c-4b36-9d55-2f0e7c1e4a11";

class EventsKit : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        // An installation seen before, so no install event gets in the way.
        QDir().mkpath(eventsDirectory());
        writeFile(QDir(root.path()).filePath("install_id"), kInstallId);
    }

    std::unique_ptr<EVTEventsController> start(const QUrl &url,
                                               std::shared_ptr<EVTDelayedRunner> retries = nullptr,
                                               bool collectionEnabled = true) {
        EVTConfiguration configuration;
        configuration.collectionEnabled = collectionEnabled;
        configuration.rootDirectory = root.path();
        configuration.eventsURL = url;
        configuration.apiKey = url.isEmpty() ? QString() : QString(kApiKey);
        configuration.bundleIdentifier = "app.tarnwell.Tarnwell";
        configuration.bundleVersion = "42";
        configuration.bundleShortVersion = "1.0.0";
        return std::make_unique<EVTEventsController>(configuration, retries ? retries : runner,
                                                     [] { return 0.5; });
    }

    void writeSettings(const QJsonObject &analytics, const QJsonObject &features = {}) {
        writeFile(
            QDir(root.path()).filePath("settings.json"),
            QJsonDocument(QJsonObject{{"analytics", analytics}, {"features", features}}).toJson());
    }

    static void writeFile(const QString &path, const QByteArray &data) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(data);
    }

    QString eventsDirectory() const { return QDir(root.path()).filePath("events"); }

    QStringList eventFiles(const QString &pattern) const {
        return QDir(eventsDirectory()).entryList({pattern}, QDir::Files, QDir::Name);
    }

    test::UnpackedUpload unpackRequest(int index) const {
        const test::ReceivedRequest &request = server.requests().at(index);
        return test::unpack(request.body, test::boundaryOf(request.headers.value("content-type")));
    }

    static void waitForUploads(QSignalSpy &spy, int count) {
        while (spy.size() < count) {
            ASSERT_TRUE(spy.wait(10000)) << "uploads seen: " << spy.size();
        }
    }

    QTemporaryDir root;
    TestHttpServer server;
    std::shared_ptr<ImmediateRunner> runner = std::make_shared<ImmediateRunner>();
};

TEST_F(EventsKit, BecomingActiveSendsTheFileWithOneMetadataLineFirst) {
    auto kit = start(server.url());
    QSignalSpy finished(kit.get(), &EVTEventsController::uploadFinished);
    const EVTEvent login =
        EVTEvent::predefined("login", EVTAttributeDictionary(EVTAttributes{{"method", "Run"}}),
                             {{"Bundle Build", "42"}});
    kit->enqueueEvent(login);
    kit->enqueueEvent(EVTEvent::custom("Memory is Cleaned", {}));
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::DidBecomeActive));
    waitForUploads(finished, 1);
    EXPECT_TRUE(finished.first().at(1).toBool());

    ASSERT_EQ(server.requests().size(), 1);
    const test::ReceivedRequest &request = server.requests().first();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/api/v2/events");
    for (const auto &[header, value] : {std::pair{"x-telemetry-api-key", kApiKey},
                                        {"x-telemetry-api-client-display-version", "1.0.0"},
                                        {"x-telemetry-api-client-build-version", "42"}}) {
        EXPECT_EQ(request.headers.value(header), value) << header;
    }
    EXPECT_TRUE(request.headers.value("content-type").startsWith("multipart/form-data; boundary="));

    const test::UnpackedUpload upload = unpackRequest(0);
    EXPECT_TRUE(upload.partHeaders.contains("Content-Type: application/vnd.telemetry.events"));
    EXPECT_EQ(
        test::lineNames(upload.lines),
        QStringList({"metadata", "predefined", "custom Memory is Cleaned", "app_became_active"}));
    // The lines are the ones the events format, byte for byte.
    EXPECT_EQ(upload.lines.value(1), login.line());

    const QJsonObject metadata = test::linePayload(upload.lines.value(0));
    EXPECT_EQ(metadata.value("api_key").toString(), kApiKey);
    EXPECT_EQ(metadata.value("install_id").toString(), kInstallId);
    EXPECT_EQ(metadata.value("started_at").toInteger(), static_cast<qint64>(login.timestamp()));
    EXPECT_EQ(metadata.value("bundle_id").toString(), "app.tarnwell.Tarnwell");
    EXPECT_FALSE(metadata.value("session_id").toString().isEmpty());

    kit->waitUntilIdle();
    EXPECT_TRUE(eventFiles("*.multipartmime").isEmpty());
}

TEST_F(EventsKit, RetriesABusyOrSilentServiceUntilItTakesTheFile) {
    writeSettings({{"upload_timeout_secs", 0.2}});
    server.script(ScriptedReply::respond(503, {{"Retry-After", "3"}}));
    server.script(ScriptedReply::respond(429, {{"Retry-After", "7"}}));
    // Qt resends once by itself after a connection closed without an answer.
    server.script(ScriptedReply::drop());
    server.script(ScriptedReply::drop());
    server.script(ScriptedReply::stall());
    auto kit = start(server.url());
    QSignalSpy finished(kit.get(), &EVTEventsController::uploadFinished);
    kit->enqueueEvent(EVTEvent::custom("Memory is Cleaned", {}));
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::WillResignActive));
    waitForUploads(finished, 1);
    EXPECT_TRUE(finished.first().at(1).toBool());
    ASSERT_EQ(server.requests().size(), 6);
    for (const test::ReceivedRequest &request : server.requests()) {
        EXPECT_EQ(request.body, server.requests().first().body);
    }
    // The first failure's Retry-After is the base of every later delay.
    EXPECT_EQ(runner->delays, (std::vector<double>{3, 9, 27, 81}));
}

TEST_F(EventsKit, FlushTimerSendsTheCurrentFile) {
    writeSettings({{"flush_interval_secs", 0.05}});
    auto kit = start(server.url());
    QSignalSpy finished(kit.get(), &EVTEventsController::uploadFinished);
    kit->enqueueEvent(EVTEvent::custom("timed", {}));
    waitForUploads(finished, 1);
    EXPECT_EQ(test::lineNames(unpackRequest(0).lines), QStringList({"metadata", "custom timed"}));
}

struct GiveUpCase {
    const char *name;
    int status;
    int attempts;
    bool keptForTheNextStart;
};

class UploadGivenUp : public EventsKit, public testing::WithParamInterface<GiveUpCase> {};

TEST_P(UploadGivenUp, RefusedFileIsDroppedAndExhaustedOneWaitsForTheNextStart) {
    const GiveUpCase &c = GetParam();
    for (int i = 0; i < c.attempts; ++i) {
        server.script(ScriptedReply::respond(c.status));
    }
    auto kit = start(server.url());
    QSignalSpy finished(kit.get(), &EVTEventsController::uploadFinished);
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::DidBecomeActive));
    waitForUploads(finished, 1);
    EXPECT_FALSE(finished.first().at(1).toBool());
    EXPECT_EQ(server.requests().size(), c.attempts);
    kit->waitUntilIdle();
    // A kept file is sent by the next start, as the offline test shows.
    EXPECT_EQ(eventFiles("*.multipartmime").size(), c.keptForTheNextStart ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Answers, UploadGivenUp,
                         testing::Values(GiveUpCase{"refused", 400, 1, false},
                                         GiveUpCase{"elevenRetriesExhausted", 503, 12, true}),
                         tarnwell::test::caseName);

TEST_F(EventsKit, EventsAreKeptAcrossARestartWhileOffline) {
    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
    const QUrl offline(
        QStringLiteral("http://127.0.0.1:%1/api/v2/events").arg(closed.serverPort()));
    closed.close();
    {
        auto kit = start(offline, std::make_shared<NeverRunner>());
        kit->enqueueEvent(EVTEvent::custom("before flush", {}));
        kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::WillResignActive));
        kit->enqueueEvent(EVTEvent::custom("after flush", {}));
        kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::WillTerminate));
    }
    // The flush packaged the first file, quitting the second.
    EXPECT_EQ(eventFiles("*.multipartmime").size(), 2);
    EXPECT_TRUE(eventFiles("*.log").isEmpty());

    auto kit = start(server.url());
    QSignalSpy finished(kit.get(), &EVTEventsController::uploadFinished);
    waitForUploads(finished, 2);
    QStringList sent = test::lineNames(unpackRequest(0).lines + unpackRequest(1).lines);
    sent.sort();
    EXPECT_EQ(sent, QStringList({"app_became_inactive", "app_terminated", "custom after flush",
                                 "custom before flush", "metadata", "metadata"}));
    kit->waitUntilIdle();
    EXPECT_TRUE(eventFiles("*").isEmpty());
}

TEST_F(EventsKit, FileOverTheSizeLimitIsRotatedWithTheEventThatFoundItFull) {
    auto kit = start(QUrl());  // no endpoint: files are kept
    const EVTAttributes padding{{"padding", QString(100, QLatin1Char('p'))}};
    qint64 size = 0;
    while (size <= 8000) {
        kit->enqueueEvent(EVTEvent::custom("filler", padding));
        kit->waitUntilIdle();
        ASSERT_EQ(eventFiles("*.log").size(), 1);
        size = QFileInfo(QDir(eventsDirectory()).filePath(eventFiles("*.log").first())).size();
    }
    EXPECT_TRUE(eventFiles("*.multipartmime").isEmpty());
    kit->enqueueEvent(EVTEvent::custom("last one in", {}));
    kit->waitUntilIdle();
    EXPECT_TRUE(eventFiles("*.log").isEmpty());
    const QStringList packaged = eventFiles("*.multipartmime");
    ASSERT_EQ(packaged.size(), 1);
    const test::UnpackedUpload upload =
        test::unpack(test::readAll(QDir(eventsDirectory()).filePath(packaged.first())),
                     QFileInfo(packaged.first()).completeBaseName().toLatin1());
    const QStringList names = test::lineNames(upload.lines);
    EXPECT_EQ(names.value(0), "metadata");
    EXPECT_EQ(names.value(names.size() - 1), "custom last one in");
}

TEST_F(EventsKit, OnlyTheNewestHundredPackagedFilesAreKept) {
    QDir().mkpath(eventsDirectory());
    const QDateTime yesterday = QDateTime::currentDateTime().addDays(-1);
    for (int i = 0; i < 105; ++i) {
        // Oldest first, so birth and modification times agree.
        const QString path =
            QDir(eventsDirectory())
                .filePath(
                    QStringLiteral("Boundary-%1.multipartmime").arg(i, 32, 10, QLatin1Char('0')));
        writeFile(path, "x");
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.setFileTime(yesterday.addSecs(i), QFileDevice::FileModificationTime));
    }
    auto kit = start(QUrl());
    kit->waitUntilIdle();
    const QStringList kept = eventFiles("*.multipartmime");
    ASSERT_EQ(kept.size(), 100);
    EXPECT_EQ(kept.first(), "Boundary-00000000000000000000000000000005.multipartmime");
    EXPECT_EQ(kept.last(), "Boundary-00000000000000000000000000000104.multipartmime");
}

struct SwitchedOffCase {
    const char *name;
    bool collectionEnabled;
    QJsonObject features;
};

class StartedSwitchedOff : public EventsKit, public testing::WithParamInterface<SwitchedOffCase> {};

TEST_P(StartedSwitchedOff, RemovesWhatItFindsAndRecordsAndSendsNothing) {
    QDir().mkpath(eventsDirectory());
    writeFile(
        QDir(eventsDirectory()).filePath("Boundary-0123456789abcdef0123456789abcdef.multipartmime"),
        "x");
    writeFile(QDir(eventsDirectory()).filePath("0123ABCD-0000-4000-8000-000000000001.log"), "x\n");
    writeSettings({}, GetParam().features);
    auto kit = start(server.url(), nullptr, GetParam().collectionEnabled);
    kit->enqueueEvent(EVTEvent::custom("ignored", {}));
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::DidBecomeActive));
    kit->waitUntilIdle();
    EXPECT_TRUE(eventFiles("*").isEmpty());
    EXPECT_TRUE(server.requests().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Switches, StartedSwitchedOff,
    testing::Values(SwitchedOffCase{"byTheUser", false, {}},
                    SwitchedOffCase{"bySettingsFile", true, {{"collect_analytics", false}}}),
    tarnwell::test::caseName);

TEST_F(EventsKit, FirstStartRecordsTheInstallationOnce) {
    QDir(eventsDirectory()).removeRecursively();
    {
        auto kit = start(QUrl());
        kit->waitUntilIdle();
    }
    ASSERT_EQ(eventFiles("*.multipartmime").size(), 1);
    auto kit = start(QUrl());
    kit->waitUntilIdle();
    EXPECT_EQ(eventFiles("*.multipartmime").size(), 1);
    EXPECT_TRUE(eventFiles("*.log").isEmpty());
}

TEST(Configuration, FolderUnderTheDataFolderAndEndpointFromTheEnvironment) {
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    qputenv("TARNWELL_EVENTS_URL", "http://127.0.0.1:9/api/v2/events");
    qputenv("TARNWELL_EVENTS_KEY", "from-environment");
    const EVTConfiguration configuration =
        EVTConfiguration::forApplication("org/example.App", "2.0", "7");
    qunsetenv("TARNWELL_EVENTS_URL");
    qunsetenv("TARNWELL_EVENTS_KEY");
    EXPECT_EQ(configuration.rootDirectory,
              dataHome + "/telemetry.data/org_example.App/analytics/v2");
    EXPECT_EQ(configuration.eventsURL, QUrl("http://127.0.0.1:9/api/v2/events"));
    EXPECT_EQ(configuration.apiKey, "from-environment");
    EXPECT_EQ(configuration.bundleShortVersion, "2.0");
    EXPECT_EQ(configuration.bundleVersion, "7");
}

}  // namespace
}  // namespace tarnwell
