#pragma once

#include <array>

#include "app/CleaningStatistics.h"
#include "app/Localizer.h"
#include "app/QRMMenu.h"
#include "memory/QRMNumber.h"

namespace tarnwell {

// The status item's drop-down menu: the items in their fixed order, kept as
// named outlets, and their titles filled from a statistics record. Refreshing
// only changes titles and images; nothing is added, removed or disabled.
class QRMStatusMenu {
public:
    // The cleaning figures shown in the statistics submenu.
    struct CleaningFigures {
        uint64_t lastTimeCleaned = 0;
        uint64_t maxCleaned = 0;
        QString totallyCleaned;
    };

    QRMStatusMenu();

    QRMMenu *menu() { return &statusMenu_; }
    const QRMMenu *menu() const { return &statusMenu_; }

    // Titles that only change with the language.
    void setStaticTitles(const Localizer &localized);
    // Every figure's title, from the record (a missing value reads as zero).
    void refreshTitles(const QRMStatisticsRecord &record, const CleaningFigures &figures,
                       const Localizer &localized);
    // The colour circles beside the byte figures that match the colour pie,
    // and blanks beside used and total so the titles line up.
    void showColorLegends();

    QRMMenuItem *cleanMemoryNow;
    // Bytes, per cent and pages: free, inactive, active, wired, compressed,
    // used, total.
    static constexpr int kFigureCount = 7;
    std::array<QRMMenuItem *, kFigureCount> bytesItems;
    std::array<QRMMenuItem *, kFigureCount> percentItems;
    std::array<QRMMenuItem *, kFigureCount> pagesItems;
    QRMMenuItem *swapInfoMenuItem;
    QRMMenuItem *swapTotalMenuItem;
    QRMMenuItem *swapAvailMenuItem;
    QRMMenuItem *swapUsedMenuItem;
    QRMMenuItem *swapPagesizeMenuItem;
    QRMMenuItem *swapEncryptedMenuItem;
    QRMMenuItem *additionalInfoMenuItem;
    QRMMenuItem *pageSizeMenuItem;
    QRMMenuItem *userMemoryMenuItem;
    QRMMenuItem *physicalMemoryMenuItem;
    // Misspelt in the historic outlet name; kept.
    QRMMenuItem *statiaticsMenuItem;
    QRMMenuItem *lastTimeCleanedMenuItem;
    QRMMenuItem *maxCleanedMenuItem;
    QRMMenuItem *totallyCleanedMenuItem;
    QRMMenuItem *preferences;
    QRMMenuItem *checkForUpdates;
    QRMMenuItem *customerSupportPage;
    QRMMenuItem *learnMorePage;
    QRMMenuItem *productPage;
    QRMMenuItem *privacyPage;
    QRMMenuItem *welcomePage;
    QRMMenuItem *quit;

private:
    QRMMenuItem *addSubmenuItem(QRMMenuItem *header);

    QRMMenu statusMenu_;
};

}  // namespace tarnwell
