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

// The kit's other predefined kinds: nothing in the program sends them yet, but
// the service's dashboards know them by these types and keys.
TEST_F(EventManager, EveryPredefinedKindIsWrittenWithItsTypeAndKeys) {
    EVTEvents::logShareWithMethod("mail", "page", "text", "p1");
    EVTEvents::logInviteWithMethod("link");
    EVTEvents::logPurchaseWithPrice(2.5, "EUR", true, "pro", "licence", "l1");
    EVTEvents::logLevelStart("one");
    EVTEvents::logLevelEnd("one", 7, false);
    EVTEvents::logAddToCartWithPrice(0.25, "USD", "pro", "licence", "l1");
    EVTEvents::logStartCheckoutWithPrice(3, "EUR", 2);
    EVTEvents::logRating(4, "page", "text", "p1");
    EVTEvents::logSearchWithQuery("swap");
    QStringList kinds;
    for (const QJsonObject &event : recorded()) {
        kinds << event.value("predefined_type").toString() + ' ' +
                     QJsonDocument(event.value("predefined_attributes").toObject())
                         .toJson(QJsonDocument::Compact);
    }
    EXPECT_EQ(
        kinds,
        QStringList({
            R"(share {"content_id":"p1","content_name":"page","content_type":"text","method":"mail"})",
            R"(invite {"method":"link"})",
            R"(purchase {"currency":"EUR","item_id":"l1","item_name":"pro","item_price":2500000,"item_type":"licence","success":"true"})",
            R"(level_start {"level_name":"one"})",
            R"(level_end {"level_name":"one","score":7,"success":"false"})",
            R"(add_to_cart {"currency":"USD","item_id":"l1","item_name":"pro","item_price":250000,"item_type":"licence"})",
            R"(start_checkout {"currency":"EUR","item_count":2,"total_price":3000000})",
            R"(rating {"content_id":"p1","content_name":"page","content_type":"text","rating":4})",
            R"(search {"query":"swap"})",
        }));
}

TEST(EventsKitStart, WithoutADataFolderNothingIsStarted) {
    EXPECT_EQ(EVTEvents::start(EVTConfiguration{}), nullptr);
    EXPECT_EQ(EVTEvents::controller(), nullptr);
    // Logging without a kit is dropped, not a crash.
    EVTEvents::logCustomEventWithName("dropped");
}

}  // namespace
}  // namespace tarnwell
