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

struct LanguageCase {
    const char *name;
    const char *from;  // the language at start
    const char *override;
    std::array<const char *, 12> staticTitles;  // in menu order
    const char *freePercent;
    const char *toolTip;
    const char *cleaning;
    const char *encrypted;
    const char *segment;
};

class MenuInLanguage : public Languages, public ::testing::WithParamInterface<LanguageCase> {};

// The language is switched as `tarnwell settings AppleLanguages ru` does it,
// from another process: the figures followed at once, the commands and
// submenu titles stayed in the old language until a restart.
TEST_P(MenuInLanguage, EveryTitleAndAddressAfterASwitch) {
    const LanguageCase &c = GetParam();
    preferences->setAppleLanguages(QStringList{QString::fromLatin1(c.from)});
    auto delegate = rig.start();
    preferences->setAppleLanguages(QStringList{QString::fromLatin1(c.override)});
    delegate->refreshMemoryInfo();
    QRMStatusMenu &menu = delegate->statusMenu();

    const std::array<QRMMenuItem *, 12> items{
        menu.cleanMemoryNow,      menu.swapInfoMenuItem, menu.additionalInfoMenuItem,
        menu.statiaticsMenuItem,  menu.preferences,      menu.checkForUpdates,
        menu.customerSupportPage, menu.learnMorePage,    menu.productPage,
        menu.privacyPage,         menu.welcomePage,      menu.quit};
    for (size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i]->title(), QString::fromUtf8(c.staticTitles[i])) << "item " << i;
    }
    // Two decimals and a point whatever the language.
    EXPECT_EQ(menu.percentItems[0]->title(), QString::fromUtf8(c.freePercent));
    EXPECT_EQ(rig.statusItem.titles.back(), QString::fromUtf8(c.freePercent));
    EXPECT_EQ(rig.statusItem.toolTip, QString::fromUtf8(c.toolTip));
    EXPECT_EQ(menu.swapEncryptedMenuItem->title(), QString::fromUtf8(c.encrypted));

    delegate->cleanMemoryNow();
    EXPECT_EQ(menu.cleanMemoryNow->title(), QString::fromUtf8(c.cleaning));

    menu.privacyPage->trigger();
    ASSERT_EQ(rig.urlOpener.opened.size(), 1u);
    EXPECT_EQ(rig.urlOpener.opened[0].path(), QStringLiteral("/privacy/%1/").arg(c.segment));
}

INSTANTIATE_TEST_SUITE_P(
    Tables, MenuInLanguage,
    ::testing::Values(
        LanguageCase{"English",
                     "uk",
                     "en-GB",
                     {"Clean Memory Now", "Swap", "Additional Information", "Statistics",
                      "Preferences", "Check for Updates…", "Support", "Learn More",
                      "Tarnwell Website", "Privacy Policy", "Welcome to Tarnwell", "Quit"},
                     "Free: 0.00 %",
                     "Free memory: 0.00 B (0.00 %)",
                     "Cleaning...",
                     "Encrypted: No",
                     "en"},
        LanguageCase{
            "Russian",
            "en",
            "ru-RU",
            {"Очистить память", "Файл подкачки", "Дополнительная информация", "Статистика",
             "Настройки", "Проверить обновления…", "Поддержка", "Подробнее", "Сайт Tarnwell",
             "Политика конфиденциальности", "Добро пожаловать в Tarnwell", "Выйти"},
            "Свободно: 0.00 %",
            "Свободная память: 0.00 B (0.00 %)",
            "Очистка...",
            "Зашифровано: Нет",
            "ru"},
        LanguageCase{
            "Ukrainian",
            "ru",
            "ukr",
            {"Очистити пам’ять", "Файл підкачки", "Додаткова інформація", "Статистика",
             "Налаштування", "Перевірити оновлення…", "Підтримка", "Докладніше", "Сайт Tarnwell",
             "Політика конфіденційності", "Ласкаво просимо до Tarnwell", "Вийти"},
            "Вільно: 0.00 %",
            "Вільна пам’ять: 0.00 B (0.00 %)",
            "Очищення...",
            "Зашифровано: Ні",
            "uk"}),
    caseName);

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
