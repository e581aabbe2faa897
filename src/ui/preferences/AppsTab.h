#pragma once

#include <functional>
#include <memory>

#include <QIcon>
#include <QList>
#include <QVariantMap>
#include <QWidget>

#include "app/Localizer.h"
#include "ui/preferences/AppsTabSources.h"

class QCheckBox;
class QGroupBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTableWidget;
class QThread;

namespace tarnwell {

class QRMAppDelegate;
class QRMPopUpButton;
class QRMPreferencesManager;

// The Apps tab: the monitored applications in a table, a "+" pull-down that
// offers running, installed and utility applications, a "-" button, and the
// six event check boxes of the selected row. Every change rewrites the stored
// list and the icon files, and the controller takes the list at once.
class AppsTab : public QWidget {
    Q_OBJECT
public:
    AppsTab(QRMPreferencesManager &preferences, QRMAppDelegate &appDelegate, Localizer localized,
            AppsTabSources sources, QWidget *parent = nullptr);
    ~AppsTab() override;

    void languageDidChanged();
    // Draws "+" and "-" in the palette's button text colour; called again
    // when the desktop's theme changes.
    void drawButtonImages();

    // One row of the table: the stored record and its icon.
    struct Row {
        QVariantMap record;
        QIcon icon;
    };
    // One choice of the "+" menu.
    struct Entry {
        QString name;
        QString ID;
        QIcon icon;
    };

    const QList<Row> &tableDataSource() const { return tableDataSource_; }
    const QList<Entry> &menu() const { return menu_; }

    // Fills the table from the store; a record whose icon file is missing or
    // unreadable is left out, and so leaves the store at the next save.
    void loadPreferences();
    void savePreferences();
    void saveCurrentData();
    void setViewToRow(int row);
    void removeButtonAction();
    // Adds the menu entry at index, or selects its row when already listed.
    void selectApplicationFromPopUp(int index);
    // Rebuilds the menu list in the background; a request while one runs is
    // dropped.
    void prepareMenuItems();
    QMenu *menuForPopUp();

    QTableWidget *appsTable;
    QRMPopUpButton *addButton;
    QPushButton *removeButton;
    QGroupBox *appsBasic;
    QGroupBox *appsBasicCleaning;
    QGroupBox *appsAdvanced;
    QLabel *appsBasicCleaningInfo;
    QLabel *chooseApplication;
    QLabel *applicationEventsNotAvailable;
    QCheckBox *buttonDidLaunch;
    QCheckBox *buttonDidTerminate;
    QCheckBox *buttonDidHide;
    QCheckBox *buttonDidUnhide;
    QCheckBox *buttonDidActivate;
    QCheckBox *buttonDidDeactivate;
    QCheckBox *showRunningApplicationsAndUtilities;
    QCheckBox *showApplicationsFromApplicationsFolder;
    QCheckBox *showUtilitiesFromApplicationsFolder;
    QProgressBar *searchingIndicator;
    QLabel *searchingInProgressInfo;

signals:
    // The "+" menu list was rebuilt (tests wait for it).
    void menuItemsPrepared();

private:
    QList<QCheckBox *> eventButtons() const;
    void searchApplicationsAndUtilitiesInProgressChanged();
    void startSearching();
    void stopSearching();
    void makeMenuForPopUpButton(const QList<ApplicationCandidate> &candidates);
    void reloadTable();
    void selectRow(int row);
    int selectedRow() const;

    QRMPreferencesManager &preferences_;
    QRMAppDelegate &appDelegate_;
    Localizer localized_;
    AppsTabSources sources_;
    QList<Row> tableDataSource_;
    QList<Entry> menu_;
    QThread *preparation_ = nullptr;
    bool prepareMenuItemsInProgress_ = false;
};

}  // namespace tarnwell
