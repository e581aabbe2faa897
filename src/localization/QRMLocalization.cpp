#include "localization/QRMLocalization.h"

#include <QLocale>
#include <array>

#include "localization/QRMLanguageNotifier.h"
#include "preferences/QRMPreferencesManager.h"

namespace tarnwell {

namespace {

constexpr char kContext[] = "Tarnwell";
constexpr char kEnglish[] = "en";

}  // namespace

QRMLocalization &QRMLocalization::sharedLocalization() {
    static QRMLocalization localization(QRMPreferencesManager::sharedPreferencesManager(),
                                        QStringLiteral(":/translations"),
                                        [] { return QLocale::system().uiLanguages(); });
    return localization;
}

QRMLocalization::QRMLocalization(QRMPreferencesManager &preferences, QString tableDirectory,
                                 SystemLanguages systemLanguages)
    : preferences_(preferences),
      tableDirectory_(std::move(tableDirectory)),
      systemLanguages_(std::move(systemLanguages)) {}

QRMLocalization::~QRMLocalization() = default;

QString QRMLocalization::languageCode(const QStringList &languages) {
    if (languages.isEmpty()) {
        return QString::fromLatin1(kEnglish);
    }
    // Only the prefix counts: "uk-UA" from the desktop and the "ukr" the
    // language pop-up stores both mean the "uk" table.
    const QString &first = languages.first();
    if (first.startsWith(u"ru")) {
        return QStringLiteral("ru");
    }
    if (first.startsWith(u"uk")) {
        return QStringLiteral("uk");
    }
    return QString::fromLatin1(kEnglish);
}

QString QRMLocalization::currentLanguageCode() {
    const std::optional<QStringList> override = preferences_.appleLanguages();
    return languageCode(override ? *override : systemLanguages_());
}

const QTranslator &QRMLocalization::tableFor(const QString &code) {
    auto found = tables_.find(code);
    if (found == tables_.end()) {
        auto table = std::make_unique<QTranslator>();
        if (!table->load(QStringLiteral("tarnwell_") + code, tableDirectory_)) {
            table.reset();
        }
        found = tables_.emplace(code, std::move(table)).first;
    }
    return found->second ? *found->second : emptyTable_;
}

const QTranslator &QRMLocalization::bundleForCurrentLanguage() {
    const QString code = currentLanguageCode();
    std::lock_guard lock(mutex_);
    const QTranslator &table = tableFor(code);
    return &table != &emptyTable_ ? table : tableFor(QString::fromLatin1(kEnglish));
}

QString QRMLocalization::localized(const QString &key) {
    const QString text = bundleForCurrentLanguage().translate(kContext, key.toUtf8().constData());
    return text.isEmpty() ? key : text;
}

QString localized(const QString &key) {
    return QRMLocalization::sharedLocalization().localized(key);
}

void changeLanguage(QRMPreferencesManager &preferences, QRMLanguageNotifier &notifier, int index) {
    // The Ukrainian override is stored as "ukr" while its table is "uk"; the
    // prefix rule of languageCode joins them, and both spellings are kept.
    static const std::array<QStringList, 4> kOverrides{
        QStringList{}, QStringList{QStringLiteral("en")}, QStringList{QStringLiteral("ru")},
        QStringList{QStringLiteral("ukr")}};
    if (index == 0) {
        preferences.setAppleLanguages(std::nullopt);
        preferences.setSelectedLanguage(0);
    } else if (index > 0 && index < int(kOverrides.size())) {
        preferences.setAppleLanguages(kOverrides[size_t(index)]);
        preferences.setSelectedLanguage(index);
    }
    notifier.postLanguageDidChanged();
}

void changeLanguage(int index) {
    changeLanguage(QRMPreferencesManager::sharedPreferencesManager(),
                   QRMLanguageNotifier::sharedNotifier(), index);
}

}  // namespace tarnwell
