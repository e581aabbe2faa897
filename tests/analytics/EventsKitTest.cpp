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

#include "KitTestSupport.h"
#include "TestHttpServer.h"
#include "analytics/EVTEvent.h"
#include "analytics/EVTEventsController.h"

namespace tarnwell {
namespace {

using test::ScriptedReply;
using test::TestHttpServer;

constexpr char kApiKey[] = "test-account-key";
constexpr char kInstallId[] = "0e8a6ad2-6b1c-4b36-9d55-2f0e7c1e4a11";

class EventsKit : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(root.isValid());
        // An installation seen before, so no install event gets in the way.
        QDir().mkpath(eventPath(""));
        writeFile(QDir(root.path()).filePath("install_id"), kInstallId);
    }

    void start(const QUrl &url, std::shared_ptr<EVTDelayedRunner> retries = nullptr,
               bool collectionEnabled = true) {
        kit.reset();
        EVTConfiguration configuration;
        configuration.collectionEnabled = collectionEnabled;
        configuration.rootDirectory = root.path();
        configuration.eventsURL = url;
        configuration.apiKey = url.isEmpty() ? QString() : QString(kApiKey);
        configuration.bundleIdentifier = "app.tarnwell.Tarnwell";
        configuration.bundleVersion = "42";
        configuration.bundleShortVersion = "1.0.0";
        kit = std::make_unique<EVTEventsController>(configuration, retries ? retries : runner,
                                                    [] { return 0.5; });
        finished = std::make_unique<QSignalSpy>(kit.get(), &EVTEventsController::uploadFinished);
    }

    void writeSettings(const QJsonObject &analytics, const QJsonObject &features = {}) {
        writeFile(
            QDir(root.path()).filePath("settings.json"),
            QJsonDocument(QJsonObject{{"analytics", analytics}, {"features", features}}).toJson());
    }

    static void writeFile(const QString &path, const QByteArray &data,
                          const QDateTime &modified = {}) {
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(data);
        file.flush();  // else closing the file would stamp it again
        ASSERT_TRUE(!modified.isValid() ||
                    file.setFileTime(modified, QFileDevice::FileModificationTime));
    }

    QString eventPath(const QString &name) const { return root.filePath("events/" + name); }

    QStringList eventFiles(const QString &pattern) const {
        return QDir(eventPath("")).entryList({pattern}, QDir::Files, QDir::Name);
    }

    test::UnpackedUpload unpackRequest(int index) const {
        const test::ReceivedRequest &request = server.requests().at(index);
        return test::unpack(request.body, request.headers.value("content-type"));
    }

    // Whether each of the first `count` uploads to end was delivered.
    QList<bool> waitForUploads(int count) {
        while (finished->size() < count) {
            if (!finished->wait(10000)) {
                ADD_FAILURE() << "uploads seen: " << finished->size();
                break;
            }
        }
        QList<bool> delivered;
        for (const QVariantList &upload : *finished) {
            delivered << upload.at(1).toBool();
        }
        return delivered;
    }

    QTemporaryDir root;
    TestHttpServer server;
    std::shared_ptr<test::RecordingRunner> runner = std::make_shared<test::RecordingRunner>(true);
    std::unique_ptr<EVTEventsController> kit;
    std::unique_ptr<QSignalSpy> finished;
};

TEST_F(EventsKit, BecomingActiveOrTheFlushTimerSendsTheFileWithOneMetadataLineFirst) {
    writeSettings({{"flush_interval_secs", 0.05}});  // a second, the shortest a timer gets
    start(server.url());
    const EVTEvent login =
        EVTEvent::predefined("login", EVTAttributeDictionary(EVTAttributes{{"method", "Run"}}),
                             {{"Bundle Build", "42"}});
    kit->enqueueEvent(login);
    kit->enqueueEvent(EVTEvent::custom("Memory is Cleaned", {}));
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::DidBecomeActive));
    EXPECT_EQ(waitForUploads(1), QList<bool>{true});

    ASSERT_EQ(server.requests().size(), 1);
    const test::ReceivedRequest &request = server.requests().first();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "/api/v2/events");
    EXPECT_EQ(request.headers.value("x-telemetry-api-key"), kApiKey);
    EXPECT_TRUE(request.headers.value("content-type").startsWith("multipart/form-data; boundary="));

    const test::UnpackedUpload upload = unpackRequest(0);
    EXPECT_TRUE(upload.partHeaders.contains("Content-Type: application/vnd.telemetry.events"));
    EXPECT_EQ(
        test::lineNames(upload.lines),
        QStringList({"metadata", "predefined", "custom Memory is Cleaned", "app_became_active"}));

    const QJsonObject metadata = test::linePayload(upload.lines.value(0));
    EXPECT_EQ(metadata.value("api_key").toString(), kApiKey);
    EXPECT_EQ(metadata.value("install_id").toString(), kInstallId);
    EXPECT_EQ(metadata.value("started_at").toInteger(), static_cast<qint64>(login.timestamp()));
    EXPECT_EQ(metadata.value("bundle_id").toString(), "app.tarnwell.Tarnwell");
    EXPECT_FALSE(metadata.value("session_id").toString().isEmpty());

    kit->waitUntilIdle();
    EXPECT_TRUE(eventFiles("*.multipartmime").isEmpty());

    kit->enqueueEvent(EVTEvent::custom("timed", {}));
    EXPECT_EQ(waitForUploads(2), QList<bool>({true, true}));
    EXPECT_EQ(test::lineNames(unpackRequest(1).lines), QStringList({"metadata", "custom timed"}));
}

TEST_F(EventsKit, RetriesABusyOrSilentServiceUntilItTakesTheFile) {
    writeSettings({{"upload_timeout_secs", 0.2}});
    server.script(ScriptedReply::respond(503, {{"Retry-After", "3"}}));
    server.script(ScriptedReply::respond(429, {{"Retry-After", "7"}}));
    // Qt resends once by itself after a connection closed without an answer.
    server.script(ScriptedReply::drop());
    server.script(ScriptedReply::drop());
    server.script(ScriptedReply::stall());
    start(server.url());
    kit->enqueueEvent(EVTEvent::custom("Memory is Cleaned", {}));
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::WillResignActive));
    EXPECT_EQ(waitForUploads(1), QList<bool>{true});
    ASSERT_EQ(server.requests().size(), 6);
    EXPECT_EQ(server.requests().last().body, server.requests().first().body);
    // The first failure's Retry-After is the base of every later delay.
    EXPECT_EQ(runner->delays, (std::vector<double>{3, 9, 27, 81}));
}

TEST_F(EventsKit, RefusedFileIsDroppedAndExhaustedOneWaitsForTheNextStart) {
    // 400: refused for good. 503 twelve times: eleven retries, then given up, and the
    // file kept for the next start (which sends it, as the offline test shows).
    for (const auto &[status, attempts, kept] : {std::tuple{400, 1, 0}, {503, 12, 1}}) {
        for (int i = 0; i < attempts; ++i) {
            server.script(ScriptedReply::respond(status));
        }
        const qsizetype before = server.requests().size();
        start(server.url());
        kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::DidBecomeActive));
        EXPECT_EQ(waitForUploads(1), QList<bool>{false}) << status;
        EXPECT_EQ(server.requests().size() - before, attempts);
        kit->waitUntilIdle();
        EXPECT_EQ(eventFiles("*.multipartmime").size(), kept) << status;
    }
}

TEST_F(EventsKit, EventsAreKeptAcrossARestartWhileOffline) {
    QTcpServer closed;
    ASSERT_TRUE(closed.listen(QHostAddress::LocalHost, 0));
    const QUrl offline(
        QStringLiteral("http://127.0.0.1:%1/api/v2/events").arg(closed.serverPort()));
    closed.close();
    start(offline, std::make_shared<test::RecordingRunner>(false));  // retries never come
    kit->enqueueEvent(EVTEvent::custom("before flush", {}));
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::WillResignActive));
    kit->enqueueEvent(EVTEvent::custom("after flush", {}));
    kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::WillTerminate));
    kit.reset();
    // The flush packaged the first file, quitting the second.
    EXPECT_EQ(eventFiles("*.multipartmime").size(), 2);
    EXPECT_TRUE(eventFiles("*.log").isEmpty());

    start(server.url());
    EXPECT_EQ(waitForUploads(2), QList<bool>({true, true}));
    QStringList sent = test::lineNames(unpackRequest(0).lines + unpackRequest(1).lines);
    sent.sort();
    EXPECT_EQ(sent, QStringList({"app_became_inactive", "app_terminated", "custom after flush",
                                 "custom before flush", "metadata", "metadata"}));
    kit->waitUntilIdle();
    EXPECT_TRUE(eventFiles("*").isEmpty());
}

TEST_F(EventsKit, FileOverTheSizeLimitIsRotatedWithTheEventThatFoundItFull) {
    start(QUrl());  // no endpoint: files are kept
    const EVTAttributes padding{{"padding", QString(100, QLatin1Char('p'))}};
    qint64 size = 0;
    while (size <= 8000) {
        kit->enqueueEvent(EVTEvent::custom("filler", padding));
        kit->waitUntilIdle();
        ASSERT_EQ(eventFiles("*.log").size(), 1);
        size = QFileInfo(eventPath(eventFiles("*.log").first())).size();
    }
    EXPECT_TRUE(eventFiles("*.multipartmime").isEmpty());
    kit->enqueueEvent(EVTEvent::custom("last one in", {}));
    kit->waitUntilIdle();
    const QStringList packaged = eventFiles("*.multipartmime");
    ASSERT_EQ(packaged.size(), 1);
    const test::UnpackedUpload upload = test::unpack(
        test::readAll(eventPath(packaged.first())), packaged.first().section('.', 0, 0).toLatin1());
    const QStringList names = test::lineNames(upload.lines);
    EXPECT_EQ(names.value(0), "metadata");
    EXPECT_EQ(names.value(names.size() - 1), "custom last one in");
}

TEST_F(EventsKit, OnlyTheNewestHundredPackagedFilesAreKept) {
    const QDateTime yesterday = QDateTime::currentDateTime().addDays(-1);
    for (int i = 0; i < 105; ++i) {
        // Oldest first, so birth and modification times agree.
        writeFile(eventPath(QStringLiteral("Boundary-%1.multipartmime").arg(i, 32, 10, QChar('0'))),
                  "x", yesterday.addSecs(i));
    }
    start(QUrl());
    kit->waitUntilIdle();
    const QStringList kept = eventFiles("*.multipartmime");
    ASSERT_EQ(kept.size(), 100);
    EXPECT_EQ(kept.first(), "Boundary-00000000000000000000000000000005.multipartmime");
    EXPECT_EQ(kept.last(), "Boundary-00000000000000000000000000000104.multipartmime");
}

TEST_F(EventsKit, StartedSwitchedOffRemovesWhatItFindsAndRecordsAndSendsNothing) {
    // Off by the user's choice, then by the downloaded settings.
    for (const bool byTheUser : {true, false}) {
        writeFile(eventPath("Boundary-0123456789abcdef0123456789abcdef.multipartmime"), "x");
        writeFile(eventPath("0123ABCD-0000-4000-8000-000000000001.log"), "x\n");
        writeSettings({}, {{"collect_analytics", byTheUser}});
        start(server.url(), nullptr, !byTheUser);
        kit->enqueueEvent(EVTEvent::custom("ignored", {}));
        kit->enqueueEvent(EVTEvent::lifecycle(EVTLifecycle::DidBecomeActive));
        kit->waitUntilIdle();
        EXPECT_TRUE(eventFiles("*").isEmpty()) << byTheUser;
        EXPECT_TRUE(server.requests().isEmpty()) << byTheUser;
    }
}

TEST_F(EventsKit, FirstStartRecordsTheInstallationOnce) {
    QDir(eventPath("")).removeRecursively();
    start(QUrl());
    kit->waitUntilIdle();
    kit.reset();
    ASSERT_EQ(eventFiles("*.multipartmime").size(), 1);
    start(QUrl());
    kit->waitUntilIdle();
    EXPECT_EQ(eventFiles("*.multipartmime").size(), 1);
    EXPECT_TRUE(eventFiles("*.log").isEmpty());
}

TEST(Configuration, FolderUnderTheDataFolderAndEndpointFromTheEnvironment) {
    qputenv("TARNWELL_EVENTS_URL", "http://127.0.0.1:9/api/v2/events");
    qputenv("TARNWELL_EVENTS_KEY", "from-environment");
    const EVTConfiguration configuration =
        EVTConfiguration::forApplication("org/example.App", "2.0", "7");
    qunsetenv("TARNWELL_EVENTS_URL");
    qunsetenv("TARNWELL_EVENTS_KEY");
    EXPECT_EQ(configuration.rootDirectory, qEnvironmentVariable("XDG_DATA_HOME") +
                                               "/telemetry.data/org_example.App/analytics/v2");
    EXPECT_EQ(configuration.eventsURL, QUrl("http://127.0.0.1:9/api/v2/events"));
    EXPECT_EQ(configuration.apiKey, "from-environment");
    EXPECT_EQ(configuration.bundleShortVersion + ' ' + configuration.bundleVersion, "2.0 7");
}

}  // namespace
}  // namespace tarnwell
