// The menu and the status texts in each interface language, through the real
// string tables.
#include <QTemporaryDir>

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
    const char *override;
    const char *quit;
    const char *freePercent;
    const char *cleaning;
    const char *encrypted;
    const char *segment;
};

class MenuInLanguage : public Languages, public ::testing::WithParamInterface<LanguageCase> {};

TEST_P(MenuInLanguage, TitlesAndAddresses) {
    const LanguageCase &c = GetParam();
    preferences->setAppleLanguages(QStringList{QString::fromLatin1(c.override)});
    auto delegate = rig.start();
    QRMStatusMenu &menu = delegate->statusMenu();

    EXPECT_EQ(menu.quit->title(), QString::fromUtf8(c.quit));
    // Two decimals and a point whatever the language.
    EXPECT_EQ(menu.percentItems[0]->title(), QString::fromUtf8(c.freePercent));
    EXPECT_EQ(rig.statusItem.titles.back(), QString::fromUtf8(c.freePercent));
    EXPECT_EQ(menu.swapEncryptedMenuItem->title(), QString::fromUtf8(c.encrypted));

    delegate->cleanMemoryNow();
    EXPECT_EQ(menu.cleanMemoryNow->title(), QString::fromUtf8(c.cleaning));

    menu.privacyPage->trigger();
    ASSERT_EQ(rig.urlOpener.opened.size(), 1u);
    EXPECT_EQ(rig.urlOpener.opened[0].path(), QStringLiteral("/privacy/%1/").arg(c.segment));
}

INSTANTIATE_TEST_SUITE_P(
    Tables, MenuInLanguage,
    ::testing::Values(LanguageCase{"English", "en", "Quit", "Free: 0.00 %", "Cleaning...",
                                   "Encrypted: No", "en"},
                      LanguageCase{"Russian", "ru-RU", "Выйти", "Свободно: 0.00 %", "Очистка...",
                                   "Зашифровано: Нет", "ru"},
                      LanguageCase{"Ukrainian", "ukr", "Вийти", "Вільно: 0.00 %", "Очищення...",
                                   "Зашифровано: Ні", "uk"}),
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
