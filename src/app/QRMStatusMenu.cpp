#include "app/QRMStatusMenu.h"

#include "app/RecordValues.h"
#include "app/SizeText.h"
#include "app/StatusIcons.h"

namespace tarnwell {

namespace {

// The byte line of each figure is its page count times the page size, exact
// in 64 bits where the record's 32-bit byte figures wrap at 4 GiB.
struct Figure {
    std::string_view percentKey;
    std::string_view pagesKey;
    const char *label;
};

constexpr std::array<Figure, QRMStatusMenu::kFigureCount> kFigures{{
    {keys::freePercents, keys::freeCount, "Free"},
    {keys::inactivePercents, keys::inactiveCount, "Inactive"},
    {keys::activePercents, keys::activeCount, "Active"},
    {keys::wirePercents, keys::wireCount, "Wire"},
    {keys::compressorPagePercents, keys::compressorPageCount, "Compressed"},
    {keys::usedPercents, keys::usedCount, "Used"},
    {keys::totalPercents, keys::totalCount, "Total"},
}};

QString labelled(const QString &label, const QString &value) {
    return QStringLiteral("%1: %2").arg(label, value);
}

QString valueFirst(const QString &value, const QString &label) {
    return QStringLiteral("%1 %2").arg(value, label);
}

}  // namespace

QRMStatusMenu::QRMStatusMenu() {
    cleanMemoryNow = statusMenu_.addItem(QString());
    statusMenu_.addSeparator();
    for (auto &item : bytesItems) {
        item = statusMenu_.addItem(QString());
    }
    statusMenu_.addSeparator();
    for (auto &item : percentItems) {
        item = statusMenu_.addItem(QString());
    }
    statusMenu_.addSeparator();
    for (auto &item : pagesItems) {
        item = statusMenu_.addItem(QString());
    }
    statusMenu_.addSeparator();

    swapInfoMenuItem = statusMenu_.addItem(QString());
    swapTotalMenuItem = addSubmenuItem(swapInfoMenuItem);
    swapAvailMenuItem = addSubmenuItem(swapInfoMenuItem);
    swapUsedMenuItem = addSubmenuItem(swapInfoMenuItem);
    swapPagesizeMenuItem = addSubmenuItem(swapInfoMenuItem);
    swapEncryptedMenuItem = addSubmenuItem(swapInfoMenuItem);

    additionalInfoMenuItem = statusMenu_.addItem(QString());
    pageSizeMenuItem = addSubmenuItem(additionalInfoMenuItem);
    userMemoryMenuItem = addSubmenuItem(additionalInfoMenuItem);
    physicalMemoryMenuItem = addSubmenuItem(additionalInfoMenuItem);

    statiaticsMenuItem = statusMenu_.addItem(QString());
    lastTimeCleanedMenuItem = addSubmenuItem(statiaticsMenuItem);
    maxCleanedMenuItem = addSubmenuItem(statiaticsMenuItem);
    totallyCleanedMenuItem = addSubmenuItem(statiaticsMenuItem);
    statusMenu_.addSeparator();

    preferences = statusMenu_.addItem(QString());
    checkForUpdates = statusMenu_.addItem(QString());
    statusMenu_.addSeparator();
    customerSupportPage = statusMenu_.addItem(QString());
    learnMorePage = statusMenu_.addItem(QString());
    productPage = statusMenu_.addItem(QString());
    privacyPage = statusMenu_.addItem(QString());
    welcomePage = statusMenu_.addItem(QString());
    statusMenu_.addSeparator();
    quit = statusMenu_.addItem(QString());
}

QRMMenuItem *QRMStatusMenu::addSubmenuItem(QRMMenuItem *header) {
    if (!header->submenu()) {
        header->setSubmenu(new QRMMenu);
    }
    return header->submenu()->addItem(QString());
}

void QRMStatusMenu::setStaticTitles(const Localizer &localized) {
    const std::pair<QRMMenuItem *, const char *> titles[] = {
        {cleanMemoryNow, "CleanMemoryNow"},
        {swapInfoMenuItem, "SwapInfo"},
        {additionalInfoMenuItem, "AdditionalInfo"},
        {statiaticsMenuItem, "Statistics"},
        {preferences, "Preferences"},
        {checkForUpdates, "CheckForUpdates"},
        {customerSupportPage, "SupportPage"},
        {learnMorePage, "LearnMorePage"},
        {productPage, "ProductPage"},
        {privacyPage, "PrivacyPage"},
        {welcomePage, "WelcomeToTarnwell"},
        {quit, "Quit"},
    };
    for (const auto &[item, key] : titles) {
        item->setTitle(localized(QString::fromLatin1(key)));
    }
}

void QRMStatusMenu::refreshTitles(const QRMStatisticsRecord &record, const CleaningFigures &figures,
                                  const Localizer &localized) {
    const QString pages = localized(QStringLiteral("Pages"));
    for (size_t i = 0; i < kFigures.size(); ++i) {
        const Figure &figure = kFigures[i];
        const QString label = localized(QString::fromLatin1(figure.label));
        bytesItems[i]->setTitle(
            valueFirst(sizeText(exactBytes(record, figure.pagesKey), true), label));
        percentItems[i]->setTitle(
            labelled(label, percentText(floatValue(record, figure.percentKey))));
        pagesItems[i]->setTitle(QStringLiteral("%1: %2 %3")
                                    .arg(label)
                                    .arg(unsignedValue(record, figure.pagesKey))
                                    .arg(pages));
    }

    swapTotalMenuItem->setTitle(valueFirst(sizeText(unsignedValue(record, keys::xsuTotal), true),
                                           localized(QStringLiteral("CurrentSize"))));
    swapAvailMenuItem->setTitle(valueFirst(sizeText(unsignedValue(record, keys::xsuAvail), true),
                                           localized(QStringLiteral("Free"))));
    swapUsedMenuItem->setTitle(valueFirst(sizeText(unsignedValue(record, keys::xsuUsed), true),
                                          localized(QStringLiteral("Used"))));
    swapPagesizeMenuItem->setTitle(
        labelled(localized(QStringLiteral("PageSize")),
                 sizeText(unsignedValue(record, keys::xsuPageSize), false)));
    // The record stores this flag as "xsuEncripted"; reading the correctly
    // spelt key is historic behaviour, so the item always says "NO".
    const bool encrypted = unsignedValue(record, "xsuEncrypted") != 0;
    swapEncryptedMenuItem->setTitle(
        labelled(localized(QStringLiteral("Encrypted")),
                 localized(encrypted ? QStringLiteral("YES") : QStringLiteral("NO"))));

    pageSizeMenuItem->setTitle(labelled(localized(QStringLiteral("PageSize")),
                                        sizeText(unsignedValue(record, keys::pageSize), false)));
    userMemoryMenuItem->setTitle(
        labelled(localized(QStringLiteral("UserMemorySize")),
                 sizeText(unsignedValue(record, keys::userMemory), false)));
    physicalMemoryMenuItem->setTitle(
        labelled(localized(QStringLiteral("PhysicalMemorySize")),
                 sizeText(unsignedValue(record, keys::hardwareMemorySize), false)));

    lastTimeCleanedMenuItem->setTitle(labelled(localized(QStringLiteral("LastTimeCleaned")),
                                               sizeText(figures.lastTimeCleaned, false)));
    maxCleanedMenuItem->setTitle(
        labelled(localized(QStringLiteral("MaxCleaned")), sizeText(figures.maxCleaned, false)));
    totallyCleanedMenuItem->setTitle(
        labelled(localized(QStringLiteral("TotallyCleaned")), figures.totallyCleaned));
}

void QRMStatusMenu::showColorLegends() {
    // The legends never change, so they are drawn once; an unchanged image
    // costs the hosts no update either.
    static const std::array<QImage, StatusIcons::kSegmentCount> kLegends = [] {
        std::array<QImage, StatusIcons::kSegmentCount> legends;
        for (int segment = 0; segment < StatusIcons::kSegmentCount; ++segment) {
            legends[size_t(segment)] = StatusIcons::legendImage(StatusIcons::segmentColor(segment));
        }
        return legends;
    }();
    static const QImage kBlank = StatusIcons::blankImage();
    bytesItems[5]->setImage(kBlank);  // used
    bytesItems[6]->setImage(kBlank);  // total
    for (size_t segment = 0; segment < kLegends.size(); ++segment) {
        bytesItems[segment]->setImage(kLegends[segment]);
    }
}

}  // namespace tarnwell
