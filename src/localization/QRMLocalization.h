#pragma once

#include <QString>
#include <QStringList>
#include <QTranslator>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace tarnwell {

class QRMPreferencesManager;
class QRMLanguageNotifier;

// Finds the string table of the interface language and looks texts up in it.
// The language is chosen afresh on every lookup from the store's
// "AppleLanguages" override, or from the desktop's language order when there
// is none, so a change applies to the very next text.
class QRMLocalization {
public:
    // The desktop's preferred interface languages, most preferred first.
    using SystemLanguages = std::function<QStringList()>;

    // Over the shared store, the tables compiled into the program and
    // QLocale::system().uiLanguages().
    static QRMLocalization &sharedLocalization();

    // tableDirectory holds "tarnwell_<code>.qm" for the codes "en", "ru", "uk".
    QRMLocalization(QRMPreferencesManager &preferences, QString tableDirectory,
                    SystemLanguages systemLanguages);
    ~QRMLocalization();
    QRMLocalization(const QRMLocalization &) = delete;
    QRMLocalization &operator=(const QRMLocalization &) = delete;

    // "ru" or "uk" when the first entry starts with that prefix ("ru-RU",
    // "uk-UA" and the program's own "ukr" included), "en" otherwise and for an
    // empty list.
    static QString languageCode(const QStringList &languages);
    QString currentLanguageCode();

    // The table of the current language; English when that language has no
    // table. Never null: without any table it is an empty one.
    const QTranslator &bundleForCurrentLanguage();
    // The text of key in the current language; an unknown key comes back as is.
    QString localized(const QString &key);

private:
    const QTranslator &tableFor(const QString &code);

    QRMPreferencesManager &preferences_;
    QString tableDirectory_;
    SystemLanguages systemLanguages_;
    std::mutex mutex_;
    // Loaded tables by code; nothing when the file is missing. Tables never
    // change while the program runs, so each is read once.
    std::map<QString, std::unique_ptr<QTranslator>> tables_;
    QTranslator emptyTable_;
};

// The shared localization's lookup, the form every user-visible text goes through.
QString localized(const QString &key);

// The language pop-up's action: 0 automatic (removes the override), 1 English,
// 2 Russian, 3 Ukrainian; other indexes change nothing. Always posts
// "languageDidChanged" afterwards, and every listener has run when it returns.
void changeLanguage(QRMPreferencesManager &preferences, QRMLanguageNotifier &notifier, int index);
// The same over the shared store and notifier.
void changeLanguage(int index);

}  // namespace tarnwell
