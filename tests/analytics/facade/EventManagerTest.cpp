#include <gtest/gtest.h>
#include <QDir>
#include <QJsonDocument>
#include <QTemporaryDir>

#include "KitTestSupport.h"
#include "analytics/EVTConfiguration.h"
#include "analytics/EVTEvents.h"
#include "analytics/EVTEventsController.h"
#include "analytics/facade/QRMEventManager.h"
#include "memory/FakeMemorySource.h"
#include "memory/QRMMemoryInfo.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell {
namespace {

constexpr uint64_t kInstalled = 17179869184;  // 16 GiB

class EventManager : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(folder.isValid());
        EVTConfiguration configuration;
        configuration.rootDirectory = folder.filePath("analytics");
        configuration.bundleIdentifier = "app.tarnwell.Tarnwell";
        // An installation seen before: only the manager's events get written.
        QDir().mkpath(configuration.rootDirectory + "/events");
        ASSERT_NE(EVTEvents::start(configuration), nullptr);
    }
    void TearDown() override { EVTEvents::stop(); }

    // Every event line written so far, metadata left out.
    QList<QJsonObject> recorded() {
        EVTEvents::controller()->waitUntilIdle();
        QList<QJsonObject> events;
        const QDir directory(folder.filePath("analytics/events"));
        for (const QString &name : directory.entryList({"*.log"}, QDir::Files)) {
            for (const QByteArray &line : test::lines(test::readAll(directory.filePath(name)))) {
                if (!line.contains("\tmetadata\t")) {
                    events.append(test::linePayload(line));
                }
            }
        }
        return events;
    }

    QStringList eventFiles() {
        EVTEvents::controller()->waitUntilIdle();
        return QDir(folder.filePath("analytics/events")).entryList(QDir::Files);
    }

    QTemporaryDir folder;
    QRMMemoryInfo memory{std::make_unique<test::FakeMemorySource>([] {
        auto machine = std::make_shared<test::FakeMemorySource::State>();
        machine->hardwareMemorySize = kInstalled;
        return machine;
    }())};
    QRMPreferencesManager preferences{folder.filePath("settings.ini"),
                                      [] { return std::optional<uint64_t>(kInstalled); }, QUrl()};
    QRMEventManager manager{memory, preferences, "1.2.3", "45"};
};

TEST_F(EventManager, LaunchesCleaningsAndWindowLoadsAreOneEventEach) {
    manager.firstRun();
    manager.run();
    manager.memoryCleaned();
    manager.memoryCleaned();
    manager.contentViewWithName("Preferences", "Window", "preferencesWindow");
    QStringList kinds;  // each event's type and predefined attributes
    for (const QJsonObject &event : recorded()) {
        const QJsonObject attributes = event.value("predefined_attributes").toObject();
        kinds << event.value("predefined_type").toString() + event.value("custom_type").toString() +
                     ' ' + QJsonDocument(attributes).toJson(QJsonDocument::Compact);
        // Installed memory with an abbreviated unit, no full name, no fixed width.
        EXPECT_EQ(event.value("custom_attributes").toObject(),
                  QJsonObject({{"Bundle Version", "1.2.3"},
                               {"Bundle Build", "45"},
                               {"Memory Installed", "16.00 GB"}}));
    }
    EXPECT_EQ(kinds, QStringList({R"(sign_up {"method":"First Run","success":"true"})",
                                  R"(login {"method":"Run","success":"true"})",
                                  "Memory is Cleaned {}", "Memory is Cleaned {}",
                                  R"(content_view {"content_id":"preferencesWindow",)"
                                  R"("content_name":"Preferences","content_type":"Window"})"}));
}

TEST_F(EventManager, SwitchedOffRecordsNothingAndRemovesTheFiles) {
    manager.run();
    manager.applicationWillResignActive();  // leaves a packaged file
    manager.memoryCleaned();
    ASSERT_EQ(eventFiles().size(), 2);

    preferences.setCollectUsageEvents(false);
    manager.memoryCleaned();
    manager.applicationDidBecomeActive();
    EXPECT_TRUE(eventFiles().isEmpty());

    preferences.setCollectUsageEvents(true);
    manager.memoryCleaned();
    EXPECT_EQ(recorded().size(), 1);
}

TEST(EventsKitStart, WithoutADataFolderNothingIsStarted) {
    EXPECT_EQ(EVTEvents::start(EVTConfiguration{}), nullptr);
    EXPECT_EQ(EVTEvents::controller(), nullptr);
    // Logging without a kit is dropped, not a crash.
    EVTEvents::logCustomEventWithName("dropped");
}

}  // namespace
}  // namespace tarnwell
