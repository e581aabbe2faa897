// The menu and the status texts in each interface language, through the real
// string tables.
#include <QTemporaryDir>
#include <array>

#include <gtest/gtest.h>

#include "AppFakes.h"
#include "localization/QRMLanguageNotifier.h"
#include "localization/QRMLocalization.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell::testing {
namespace {

class Languages : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(dir.isValid());
        preferences = std::make_unique<QRMPreferencesManager>(
            dir.filePath("settings.ini"), [] { return std::optional<uint64_t>(); },
            QUrl("https://example.invalid/feed.xml"));
        localization = std::make_unique<QRMLocalization>(
            *preferences, QStringLiteral(":/translations"), [] { return QStringList{"en-US"}; });
        rig.localized = [this](const QString &key) { return localization->localized(key); };
        rig.settings.textWithInfo = true;
        rig.settings.textType = 1;
    }

    QTemporaryDir dir;
    std::unique_ptr<QRMPreferencesManager> preferences;
    std::unique_ptr<QRMLocalization> localization;
    ControllerRig rig;
};

// The language is switched as `tarnwell settings AppleLanguages ru` does it,
// from another process, which this one hears of at its next refresh: every
// title follows then, not only the figures (the commands and submenu titles
// once stayed in the old language until a restart).
TEST_F(Languages, EveryTitleAndAddressFollowASwitchAtTheNextRefresh) {
    preferences->setAppleLanguages(QStringList{"en"});
    auto delegate = rig.start();
    preferences->setAppleLanguages(QStringList{"ru-RU"});
    delegate->refreshMemoryInfo();
    QRMStatusMenu &menu = delegate->statusMenu();

    const std::array<QRMMenuItem *, 12> items{
        menu.cleanMemoryNow,      menu.swapInfoMenuItem, menu.additionalInfoMenuItem,
        menu.statiaticsMenuItem,  menu.preferences,      menu.checkForUpdates,
        menu.customerSupportPage, menu.learnMorePage,    menu.productPage,
        menu.privacyPage,         menu.welcomePage,      menu.quit};
    const std::array<const char *, 12> titles{"Очистить память",
                                              "Файл подкачки",
                                              "Дополнительная информация",
                                              "Статистика",
                                              "Настройки",
                                              "Проверить обновления…",
                                              "Поддержка",
                                              "Подробнее",
                                              "Сайт Tarnwell",
                                              "Политика конфиденциальности",
                                              "Добро пожаловать в Tarnwell",
                                              "Выйти"};
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i]->title(), QString::fromUtf8(titles[i])) << "item " << i;
    }
    // Two decimals and a point whatever the language.
    EXPECT_EQ(menu.percentItems[0]->title(), "Свободно: 0.00 %");
    EXPECT_EQ(rig.statusItem.titles.back(), "Свободно: 0.00 %");
    EXPECT_EQ(rig.statusItem.toolTip, "Свободная память: 0.00 B (0.00 %)");
    EXPECT_EQ(menu.swapEncryptedMenuItem->title(), "Зашифровано: Нет");

    delegate->cleanMemoryNow();
    EXPECT_EQ(menu.cleanMemoryNow->title(), "Очистка...");

    menu.privacyPage->trigger();
    ASSERT_EQ(rig.urlOpener.opened.size(), 1u);
    EXPECT_EQ(rig.urlOpener.opened[0].path(), "/privacy/ru/");
}

TEST_F(Languages, SwitchRetitlesTheOpenMenuAtOnce) {
    auto delegate = rig.start();
    QRMLanguageNotifier notifier;
    QObject::connect(&notifier, &QRMLanguageNotifier::languageDidChanged, delegate.get(),
                     &QRMAppDelegate::languageDidChanged, Qt::DirectConnection);
    ASSERT_EQ(delegate->statusMenu().statiaticsMenuItem->title(), "Statistics");

    changeLanguage(*preferences, notifier, 3);
    EXPECT_EQ(delegate->statusMenu().statiaticsMenuItem->title(), "Статистика");
    EXPECT_EQ(delegate->statusMenu().cleanMemoryNow->title(), "Очистити пам’ять");
    EXPECT_EQ(rig.statusItem.titles.back(), "Вільно: 0.00 %");
}

}  // namespace
}  // namespace tarnwell::testing
