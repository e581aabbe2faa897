#include <memory>

#include <gtest/gtest.h>
#include <QDir>
#include <QTemporaryDir>

#include "EventFiles.h"
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
        preferences = std::make_unique<QRMPreferencesManager>(
            folder.filePath("settings.ini"), [] { return std::optional<uint64_t>(kInstalled); },
            QUrl());
        manager = std::make_unique<QRMEventManager>(memory, *preferences, "1.2.3", "45");
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
            for (const QByteArray &line : test::readAll(directory.filePath(name)).split('\n')) {
                if (!line.isEmpty() && !line.contains("\tmetadata\t")) {
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
    std::unique_ptr<QRMPreferencesManager> preferences;
    std::unique_ptr<QRMEventManager> manager;
};

TEST_F(EventManager, LaunchesCleaningsAndWindowLoadsAreOneEventEach) {
    manager->firstRun();
    manager->run();
    manager->memoryCleaned();
    manager->memoryCleaned();
    manager->contentViewWithName("Preferences", "Window", "preferencesWindow");
    const QList<QJsonObject> events = recorded();
    ASSERT_EQ(events.size(), 5);
    EXPECT_EQ(events[0].value("predefined_type").toString(), "sign_up");
    EXPECT_EQ(events[0].value("predefined_attributes").toObject(),
              QJsonObject({{"method", "First Run"}, {"success", "true"}}));
    EXPECT_EQ(events[1].value("predefined_type").toString(), "login");
    EXPECT_EQ(events[1].value("predefined_attributes").toObject(),
              QJsonObject({{"method", "Run"}, {"success", "true"}}));
    EXPECT_EQ(events[2].value("custom_type").toString(), "Memory is Cleaned");
    EXPECT_NE(events[2].value("eventId"), events[3].value("eventId"));
    // Installed memory with an abbreviated unit, no full name, no fixed width.
    for (const QJsonObject &event : events) {
        EXPECT_EQ(event.value("custom_attributes").toObject(),
                  QJsonObject({{"Bundle Version", "1.2.3"},
                               {"Bundle Build", "45"},
                               {"Memory Installed", "16.00 GB"}}));
    }
    EXPECT_EQ(events[4].value("predefined_attributes").toObject(),
              QJsonObject({{"content_name", "Preferences"},
                           {"content_type", "Window"},
                           {"content_id", "preferencesWindow"}}));
}

TEST_F(EventManager, SwitchedOffRecordsNothingAndRemovesTheFiles) {
    manager->run();
    manager->applicationWillResignActive();  // leaves a packaged file
    manager->memoryCleaned();
    ASSERT_EQ(eventFiles().size(), 2);

    preferences->setCollectUsageEvents(false);
    manager->memoryCleaned();
    manager->applicationDidBecomeActive();
    EXPECT_TRUE(eventFiles().isEmpty());

    preferences->setCollectUsageEvents(true);
    manager->memoryCleaned();
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
