#include "ui/preferences/AppsTab.h"

#include <QCheckBox>
#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QProgressBar>
#include <QPushButton>
#include <QSaveFile>
#include <QSignalBlocker>
#include <QTableWidget>
#include <QThread>
#include <QVBoxLayout>

#include "app/QRMAppDelegate.h"
#include "platform/linux/QRMApplicationsInfo.h"
#include "preferences/QRMPreferencesManager.h"
#include "preferences/QRMSettingValue.h"
#include "threads/StartThread.h"
#include "ui/preferences/ButtonImages.h"
#include "ui/preferences/QRMPopUpButton.h"
#include "ui/preferences/QRMTextFieldCell.h"

namespace tarnwell {

namespace {

// Icon files are ours, but the folder may have been tampered with: anything
// that is not a plain, small file is not read.
constexpr qint64 kMaximumIconFileSize = 1 << 20;
constexpr int kStoredIconSize = 64;

QString idOf(const QVariantMap &record) {
    return record.value(QString::fromLatin1(monitoredApplicationKey::kID)).toString();
}

QString nameOf(const QVariantMap &record) {
    return record.value(QString::fromLatin1(monitoredApplicationKey::kName)).toString();
}

// An id that would leave the icon folder as a file name has no icon file.
QString iconFileName(const QString &id) {
    if (id.isEmpty() || id.contains(u'/') || id == u"." || id == u"..") {
        return {};
    }
    return id + QStringLiteral(".png");
}

QIcon letterIcon(const QString &name) {
    QImage image(kStoredIconSize, kStoredIconSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(QColor(0x8a, 0x8f, 0x98));
    painter.setPen(Qt::NoPen);
    painter.drawRoundedRect(image.rect().adjusted(4, 4, -4, -4), 12, 12);
    QFont font = painter.font();
    font.setPixelSize(kStoredIconSize / 2);
    painter.setFont(font);
    painter.setPen(Qt::white);
    painter.drawText(image.rect(), Qt::AlignCenter, name.left(1).toUpper());
    painter.end();
    return QIcon(QPixmap::fromImage(image));
}

// The icon theme's image for an entry's Icon value, an image file named by an
// absolute path, or a generic one.
QIcon iconFor(const ApplicationCandidate &candidate) {
    QIcon icon;
    if (QDir::isAbsolutePath(candidate.iconName)) {
        const QFileInfo file(candidate.iconName);
        if (file.isFile() && file.size() <= kMaximumIconFileSize) {
            icon = QIcon(candidate.iconName);
        }
    } else if (!candidate.iconName.isEmpty()) {
        icon = QIcon::fromTheme(candidate.iconName);
    }
    if (icon.isNull()) {
        icon = QIcon::fromTheme(QStringLiteral("application-x-executable"));
    }
    return icon.isNull() ? letterIcon(candidate.name) : icon;
}

bool byName(const QString &a, const QString &b) {
    return a.compare(b, Qt::CaseInsensitive) < 0;
}

}  // namespace

AppsTab::AppsTab(QRMPreferencesManager &preferences, QRMAppDelegate &appDelegate,
                 Localizer localized, AppsTabSources sources, QWidget *parent)
    : QWidget(parent),
      preferences_(preferences),
      appDelegate_(appDelegate),
      localized_(std::move(localized)),
      sources_(std::move(sources)) {
    appsTable = new QTableWidget(0, 1);
    appsTable->setItemDelegate(new QRMTextFieldCell(appsTable));
    appsTable->verticalHeader()->hide();
    appsTable->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    appsTable->verticalHeader()->setDefaultSectionSize(QRMTextFieldCell::kRowHeight);
    appsTable->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    appsTable->setSelectionBehavior(QAbstractItemView::SelectRows);
    appsTable->setSelectionMode(QAbstractItemView::SingleSelection);
    appsTable->setEditTriggers(QAbstractItemView::NoEditTriggers);
    appsTable->setIconSize(QSize(34, 34));
    connect(appsTable->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { setViewToRow(selectedRow()); });

    addButton = new QRMPopUpButton;
    addButton->setFixedSize(22, 22);
    addButton->setMenuForPopUp([this] { return menuForPopUp(); });
    addButton->setEnabled(false);
    removeButton = new QPushButton;
    removeButton->setFixedSize(22, 22);
    removeButton->setFlat(true);
    connect(removeButton, &QPushButton::clicked, this, &AppsTab::removeButtonAction);
    drawButtonImages();

    chooseApplication = new QLabel;
    applicationEventsNotAvailable = new QLabel;
    applicationEventsNotAvailable->setWordWrap(true);
    applicationEventsNotAvailable->setVisible(!sources_.applicationEventsAvailable);

    appsBasic = new QGroupBox;
    auto *basic = new QVBoxLayout(appsBasic);
    basic->addWidget(applicationEventsNotAvailable);
    basic->addWidget(appsTable, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(addButton);
    buttons->addWidget(removeButton);
    buttons->addWidget(chooseApplication, 1);
    basic->addLayout(buttons);

    appsBasicCleaning = new QGroupBox;
    appsBasicCleaningInfo = new QLabel;
    appsBasicCleaningInfo->setWordWrap(true);
    auto *cleaning = new QGridLayout(appsBasicCleaning);
    cleaning->addWidget(appsBasicCleaningInfo, 0, 0, 1, 2);
    buttonDidLaunch = new QCheckBox;
    buttonDidTerminate = new QCheckBox;
    buttonDidHide = new QCheckBox;
    buttonDidUnhide = new QCheckBox;
    buttonDidActivate = new QCheckBox;
    buttonDidDeactivate = new QCheckBox;
    const QList<QCheckBox *> events = eventButtons();
    for (int i = 0; i < events.size(); ++i) {
        cleaning->addWidget(events[i], 1 + i / 2, i % 2);
        // clicked, not toggled: setViewToRow sets the boxes without saving.
        connect(events[i], &QCheckBox::clicked, this, &AppsTab::saveCurrentData);
    }

    appsAdvanced = new QGroupBox;
    auto *advanced = new QVBoxLayout(appsAdvanced);
    showRunningApplicationsAndUtilities = new QCheckBox;
    showApplicationsFromApplicationsFolder = new QCheckBox;
    showUtilitiesFromApplicationsFolder = new QCheckBox;
    showRunningApplicationsAndUtilities->setChecked(
        preferences_.showRunningApplicationsAndUtilities());
    showApplicationsFromApplicationsFolder->setChecked(
        preferences_.showApplicationsFromApplicationsFolder());
    showUtilitiesFromApplicationsFolder->setChecked(
        preferences_.showUtilitiesFromApplicationsFolder());
    connect(showRunningApplicationsAndUtilities, &QCheckBox::clicked, this, [this](bool on) {
        preferences_.setShowRunningApplicationsAndUtilities(on);
        prepareMenuItems();
    });
    connect(showApplicationsFromApplicationsFolder, &QCheckBox::clicked, this, [this](bool on) {
        preferences_.setShowApplicationsFromApplicationsFolder(on);
        sources_.catalogue ? appDelegate_.searchApplicationsAndUtilities() : prepareMenuItems();
    });
    connect(showUtilitiesFromApplicationsFolder, &QCheckBox::clicked, this, [this](bool on) {
        preferences_.setShowUtilitiesFromApplicationsFolder(on);
        sources_.catalogue ? appDelegate_.searchApplicationsAndUtilities() : prepareMenuItems();
    });
    searchingIndicator = new QProgressBar;
    searchingIndicator->setRange(0, 0);
    searchingIndicator->setTextVisible(false);
    searchingIndicator->setMaximumHeight(8);
    searchingInProgressInfo = new QLabel;
    for (QWidget *widget : std::initializer_list<QWidget *>{
             showRunningApplicationsAndUtilities, showApplicationsFromApplicationsFolder,
             showUtilitiesFromApplicationsFolder, searchingIndicator, searchingInProgressInfo}) {
        advanced->addWidget(widget);
    }

    auto *page = new QVBoxLayout(this);
    page->addWidget(appsBasic, 1);
    page->addWidget(appsBasicCleaning);
    page->addWidget(appsAdvanced);

    languageDidChanged();
    setViewToRow(-1);
    if (sources_.catalogue) {
        // The catalogue announces from its searching thread.
        connect(sources_.catalogue,
                &QRMApplicationsInfo::searchApplicationsAndUtilitiesInProgressChanged, this,
                &AppsTab::searchApplicationsAndUtilitiesInProgressChanged, Qt::QueuedConnection);
    }
    searchApplicationsAndUtilitiesInProgressChanged();
    loadPreferences();
    appDelegate_.searchApplicationsAndUtilities();
}

AppsTab::~AppsTab() {
    // The preparation reads nothing of the tab, but its end is delivered here.
    if (preparation_) {
        preparation_->wait();
    }
}

QList<QCheckBox *> AppsTab::eventButtons() const {
    // In the order of the record's flags.
    return {buttonDidLaunch, buttonDidTerminate, buttonDidHide,
            buttonDidUnhide, buttonDidActivate,  buttonDidDeactivate};
}

void AppsTab::drawButtonImages() {
    addButton->setIcon(QPixmap::fromImage(imageForAddButton(palette(), devicePixelRatioF())));
    removeButton->setIcon(QPixmap::fromImage(imageForRemoveButton(palette(), devicePixelRatioF())));
}

void AppsTab::languageDidChanged() {
    appsTable->setHorizontalHeaderLabels({localized_(QStringLiteral("ApplicationsAndUtilities"))});
    appsBasic->setTitle(localized_(QStringLiteral("Basic")));
    appsBasicCleaning->setTitle(localized_(QStringLiteral("CleaningMemoryWhen")));
    appsAdvanced->setTitle(localized_(QStringLiteral("Advanced")));
    appsBasicCleaningInfo->setText(localized_(QStringLiteral("CleaningMemoryWhenInfo")));
    chooseApplication->setText(localized_(QStringLiteral("ChooseApplication")));
    applicationEventsNotAvailable->setText(
        localized_(QStringLiteral("ApplicationEventsNotAvailable")));
    const QList<QCheckBox *> events = eventButtons();
    for (size_t i = 0; i < monitoredApplicationKey::kEvents.size(); ++i) {
        events[qsizetype(i)]->setText(localized_(
            QStringLiteral("button") + QLatin1String(monitoredApplicationKey::kEvents[i])));
    }
    showRunningApplicationsAndUtilities->setText(
        localized_(QStringLiteral("showRunningApplicationsAndUtilities")));
    showApplicationsFromApplicationsFolder->setText(
        localized_(QStringLiteral("showApplicationsFromApplicationsFolder")));
    showUtilitiesFromApplicationsFolder->setText(
        localized_(QStringLiteral("showUtilitiesFromApplicationsFolder")));
    searchingInProgressInfo->setText(localized_(QStringLiteral("Searching")));
}

int AppsTab::selectedRow() const {
    const QModelIndexList rows = appsTable->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void AppsTab::selectRow(int row) {
    appsTable->selectRow(row);
    setViewToRow(row);
    appsTable->scrollTo(appsTable->model()->index(row, 0));
}

void AppsTab::reloadTable() {
    const QSignalBlocker blocker(appsTable->selectionModel());
    appsTable->clearSelection();
    appsTable->setRowCount(int(tableDataSource_.size()));
    for (int row = 0; row < tableDataSource_.size(); ++row) {
        auto *item =
            new QTableWidgetItem(tableDataSource_[row].icon, nameOf(tableDataSource_[row].record));
        item->setData(QRMTextFieldCell::kSubtitleRole, idOf(tableDataSource_[row].record));
        appsTable->setItem(row, 0, item);
    }
}

void AppsTab::loadPreferences() {
    tableDataSource_.clear();
    if (sources_.iconFolder.isEmpty()) {
        reloadTable();
        return;
    }
    const QDir folder(sources_.iconFolder);
    for (const QVariantMap &record :
         preferences_.applicationsAndUtilitiesToMonitoring().value_or(QList<QVariantMap>())) {
        const QString fileName = iconFileName(idOf(record));
        const QFileInfo file(folder.filePath(fileName));
        if (fileName.isEmpty() || file.isSymLink() || !file.isFile() ||
            file.size() > kMaximumIconFileSize) {
            continue;
        }
        const QImage image(file.filePath(), "PNG");
        if (image.isNull()) {
            continue;
        }
        tableDataSource_.append(Row{record, QIcon(QPixmap::fromImage(image))});
    }
    reloadTable();
}

void AppsTab::savePreferences() {
    // An empty path would be the working directory: without a folder no icon
    // is written, and the next opening shows none of the records.
    const bool withIcons = !sources_.iconFolder.isEmpty();
    if (withIcons) {
        const QFileInfo folder(sources_.iconFolder);
        // A link in place of our folder is removed, never followed.
        if (folder.isSymLink() || folder.isFile()) {
            QFile::remove(sources_.iconFolder);
        } else {
            QDir(sources_.iconFolder).removeRecursively();
        }
        QDir().mkpath(sources_.iconFolder);
    }
    QList<QVariantMap> records;
    for (const Row &row : tableDataSource_) {
        const QString fileName = iconFileName(idOf(row.record));
        if (withIcons && !fileName.isEmpty()) {
            QSaveFile file(QDir(sources_.iconFolder).filePath(fileName));
            if (file.open(QIODevice::WriteOnly) &&
                row.icon.pixmap(kStoredIconSize).toImage().save(&file, "PNG")) {
                file.commit();
            }
        }
        records.append(row.record);
    }
    preferences_.setApplicationsAndUtilitiesToMonitoring(records);
    appDelegate_.loadPreferences();
}

void AppsTab::saveCurrentData() {
    const int row = selectedRow();
    if (row < 0) {
        return;
    }
    QVariantMap record = tableDataSource_[row].record;
    const QList<QCheckBox *> events = eventButtons();
    for (size_t i = 0; i < monitoredApplicationKey::kEvents.size(); ++i) {
        record.insert(QString::fromLatin1(monitoredApplicationKey::kEvents[i]),
                      events[qsizetype(i)]->isChecked());
    }
    tableDataSource_[row].record = record;
    savePreferences();
}

void AppsTab::setViewToRow(int row) {
    const bool selected = row >= 0 && row < tableDataSource_.size();
    chooseApplication->setVisible(!selected);
    appsBasicCleaning->setVisible(selected);
    removeButton->setEnabled(selected);
    if (!selected) {
        return;
    }
    const QVariantMap &record = tableDataSource_[row].record;
    const QList<QCheckBox *> events = eventButtons();
    for (size_t i = 0; i < monitoredApplicationKey::kEvents.size(); ++i) {
        const QVariant flag =
            record.value(QString::fromLatin1(monitoredApplicationKey::kEvents[i]));
        events[qsizetype(i)]->setChecked(flag.typeId() == QMetaType::Bool && flag.toBool());
    }
}

void AppsTab::removeButtonAction() {
    const int row = selectedRow();
    if (row < 0) {
        return;
    }
    tableDataSource_.removeAt(row);
    reloadTable();
    savePreferences();
    setViewToRow(-1);
}

void AppsTab::selectApplicationFromPopUp(int index) {
    if (index < 0 || index >= menu_.size()) {
        return;
    }
    const Entry entry = menu_[index];
    for (int row = 0; row < tableDataSource_.size(); ++row) {
        if (idOf(tableDataSource_[row].record) == entry.ID) {
            selectRow(row);
            return;
        }
    }
    QVariantMap record{{QString::fromLatin1(monitoredApplicationKey::kName), entry.name},
                       {QString::fromLatin1(monitoredApplicationKey::kID), entry.ID}};
    for (const char *event : monitoredApplicationKey::kEvents) {
        record.insert(QString::fromLatin1(event), false);
    }
    tableDataSource_.append(Row{record, entry.icon});
    std::stable_sort(
        tableDataSource_.begin(), tableDataSource_.end(),
        [](const Row &a, const Row &b) { return byName(nameOf(a.record), nameOf(b.record)); });
    reloadTable();
    for (int row = 0; row < tableDataSource_.size(); ++row) {
        if (tableDataSource_[row].record == record) {
            selectRow(row);
            break;
        }
    }
    // The new row is selected, so the store now holds it.
    saveCurrentData();
}

void AppsTab::searchApplicationsAndUtilitiesInProgressChanged() {
    if (sources_.catalogue && sources_.catalogue->searchApplicationsAndUtilitiesInProgress()) {
        startSearching();
    } else {
        stopSearching();
    }
}

void AppsTab::startSearching() {
    searchingIndicator->show();
    searchingInProgressInfo->show();
    addButton->setEnabled(false);
}

void AppsTab::stopSearching() {
    searchingIndicator->hide();
    searchingInProgressInfo->hide();
    prepareMenuItems();
}

void AppsTab::prepareMenuItems() {
    if (prepareMenuItemsInProgress_) {
        return;
    }
    prepareMenuItemsInProgress_ = true;
    // Settings and lists are read here; the thread only reads files and the
    // display.
    const bool running = preferences_.showRunningApplicationsAndUtilities();
    QList<DesktopFile> files;
    if (sources_.catalogue) {
        if (preferences_.showApplicationsFromApplicationsFolder()) {
            files += sources_.catalogue->applicationList();
        }
        if (preferences_.showUtilitiesFromApplicationsFolder()) {
            files += sources_.catalogue->utilityList();
        }
    }
    auto candidates = std::make_shared<QList<ApplicationCandidate>>();
    const auto prepare = [candidates, running, files,
                          runningApplications = sources_.runningApplications,
                          locale = sources_.locale] {
        const auto append = [&](const ApplicationCandidate &candidate) {
            const bool listed = std::any_of(
                candidates->cbegin(), candidates->cend(), [&](const ApplicationCandidate &c) {
                    return c.id == candidate.id && c.name == candidate.name;
                });
            if (!candidate.id.isEmpty() && !candidate.name.isEmpty() && !listed) {
                candidates->append(candidate);
            }
        };
        if (running && runningApplications) {
            for (const ApplicationCandidate &candidate : runningApplications(locale)) {
                append(candidate);
            }
        }
        QStringList paths;
        for (const DesktopFile &file : files) {
            if (paths.contains(file.path)) {
                continue;
            }
            paths.append(file.path);
            if (const auto candidate = applicationCandidate(file, locale)) {
                append(*candidate);
            }
        }
        std::stable_sort(candidates->begin(), candidates->end(),
                         [](const ApplicationCandidate &a, const ApplicationCandidate &b) {
                             return byName(a.name, b.name);
                         });
    };
    preparation_ = QThread::create([prepare] { threads::runWithSignalStack(prepare); });
    connect(preparation_, &QThread::finished, this, [this, candidates] {
        preparation_->deleteLater();
        preparation_ = nullptr;
        makeMenuForPopUpButton(*candidates);
    });
    preparation_->start();
}

void AppsTab::makeMenuForPopUpButton(const QList<ApplicationCandidate> &candidates) {
    menu_.clear();
    for (const ApplicationCandidate &candidate : candidates) {
        menu_.append(Entry{candidate.name, candidate.id, iconFor(candidate)});
    }
    addButton->setEnabled(!menu_.isEmpty());
    prepareMenuItemsInProgress_ = false;
    emit menuItemsPrepared();
}

QMenu *AppsTab::menuForPopUp() {
    auto *popUp = new QMenu(QStringLiteral("menu"));
    if (menu_.isEmpty()) {
        popUp->addAction(QString())->setEnabled(false);
        return popUp;
    }
    for (int i = 0; i < menu_.size(); ++i) {
        connect(popUp->addAction(menu_[i].icon, menu_[i].name), &QAction::triggered, this,
                [this, i] { selectApplicationFromPopUp(i); });
    }
    return popUp;
}

}  // namespace tarnwell
