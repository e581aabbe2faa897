#include "ui/preferences/CleaningTab.h"

#include <limits>

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QVBoxLayout>

#include "app/MemoryEngine.h"
#include "app/QRMAppDelegate.h"
#include "app/RecordValues.h"
#include "preferences/QRMPreferencesManager.h"
#include "preferences/QRMSettingRange.h"
#include "ui/preferences/PreferencesControls.h"
#include "ui/preferences/QRMStepper.h"

namespace tarnwell {

namespace {

constexpr int kMinInterval = 1;    // minutes
constexpr int kMaxInterval = 120;  // minutes

// The number a text field holds, read the way a person typing expects from
// a number field: leading blanks skipped, an optional sign, the digits up to
// the first other character; no digits read as 0, and a number too large for
// 64 bits as the largest one of its sign.
qint64 integerValue(const QString &text) {
    qsizetype i = 0;
    while (i < text.size() && text[i].isSpace()) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) {
        negative = text[i] == u'-';
        ++i;
    }
    uint64_t magnitude = 0;
    const uint64_t limit = negative ? uint64_t(std::numeric_limits<qint64>::max()) + 1
                                    : uint64_t(std::numeric_limits<qint64>::max());
    for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
        const uint64_t digit = text[i].unicode() - u'0';
        magnitude = magnitude > (limit - digit) / 10 ? limit : magnitude * 10 + digit;
    }
    return negative ? qint64(0 - magnitude) : qint64(magnitude);
}

// The designed clamp: the value is compared with the stepper's bounds in
// double precision, and a bound taken over is converted back to an integer.
uint64_t clampToStepper(uint64_t value, const QRMStepper &stepper) {
    if (stepper.minimum() > double(value)) {
        value = uint64_t(stepper.minimum());
    }
    if (double(value) > stepper.maximum()) {
        value = uint64_t(stepper.maximum());
    }
    return value;
}

QLabel *infoLabel() {
    auto *label = new QLabel;
    label->setWordWrap(true);
    return label;
}

}  // namespace

CleaningTab::CleaningTab(PreferencesServices &services, QWidget *parent)
    : QWidget(parent), services_(services) {
    auto *page = new QVBoxLayout(this);

    autoCleanByFreeSizeChecked = new QCheckBox;
    autoCleanByFreeSizeTextField = new QLineEdit;
    autoCleanByFreeSizeStepper = new QRMStepper;
    autoCleanByFreeSizeTextFieldInfo = infoLabel();
    autoCleanByInactiveSizeChecked = new QCheckBox;
    autoCleanByInactiveSizeTextField = new QLineEdit;
    autoCleanByInactiveSizeStepper = new QRMStepper;
    autoCleanByInactiveSizeTextFieldInfo = infoLabel();
    free_ = {autoCleanByFreeSizeTextField, autoCleanByFreeSizeStepper,
             &QRMPreferencesManager::autoCleanByFreeSize,
             &QRMPreferencesManager::setAutoCleanByFreeSize,
             &QRMPreferencesManager::setAutoCleanByFreeSizeChecked};
    inactive_ = {autoCleanByInactiveSizeTextField, autoCleanByInactiveSizeStepper,
                 &QRMPreferencesManager::autoCleanByInactiveSize,
                 &QRMPreferencesManager::setAutoCleanByInactiveSize,
                 &QRMPreferencesManager::setAutoCleanByInactiveSizeChecked};

    auto *basic = new QGridLayout;
    int row = 0;
    for (const auto &[checkBox, threshold, info] :
         {std::tuple{autoCleanByFreeSizeChecked, &free_, autoCleanByFreeSizeTextFieldInfo},
          std::tuple{autoCleanByInactiveSizeChecked, &inactive_,
                     autoCleanByInactiveSizeTextFieldInfo}}) {
        threshold->textField->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        threshold->textField->setMaximumWidth(
            threshold->textField->fontMetrics().horizontalAdvance(QStringLiteral("0000000000")));
        threshold->textField->installEventFilter(this);
        auto *value = new QHBoxLayout;
        value->setSpacing(0);
        value->addWidget(threshold->textField);
        value->addWidget(threshold->stepper);
        basic->addWidget(checkBox, row, 0);
        basic->addLayout(value, row++, 1);
        basic->addWidget(info, row++, 0, 1, 2);
    }
    basic->setColumnStretch(0, 1);
    cleaningBasic = addBox(page, basic);

    autoCleanEveryTimeChecked = new QCheckBox;
    autoCleanEveryTimeSlider = new QSlider(Qt::Horizontal);
    autoCleanEveryTimeSlider->setRange(kMinInterval, kMaxInterval);
    autoCleanEveryTimeSlider->setPageStep(10);
    min = new QLabel;
    min->setMinimumWidth(min->fontMetrics().horizontalAdvance(QStringLiteral("000 0000")));
    auto *advanced = new QHBoxLayout;
    advanced->addWidget(autoCleanEveryTimeChecked);
    advanced->addWidget(autoCleanEveryTimeSlider, 1);
    advanced->addWidget(min);
    cleaningAdvanced = addBox(page, advanced);
    page->addStretch(1);

    QRMPreferencesManager &preferences = services_.preferences;
    autoCleanByFreeSizeChecked->setChecked(preferences.autoCleanByFreeSizeChecked());
    autoCleanByInactiveSizeChecked->setChecked(preferences.autoCleanByInactiveSizeChecked());
    autoCleanEveryTimeChecked->setChecked(preferences.autoCleanEveryTimeChecked());

    // Half the installed memory, in MB; 0 while there is no record yet.
    const uint64_t bound = unsignedValue(services_.engine.info(), keys::hardwareMemorySize) >> 21;
    for (Threshold *threshold : {&free_, &inactive_}) {
        threshold->stepper->setMinimum(1);
        threshold->stepper->setMaximum(double(bound));
        // A threshold from a larger machine is lowered before anyone looks.
        if (uint64_t((preferences.*threshold->value)()) > bound) {
            (preferences.*threshold->setValue)(qint64(bound));
        }
        const qint64 stored = (preferences.*threshold->value)();
        threshold->stepper->setValue(double(stored));
        threshold->textField->setText(QString::number(stored));
    }
    showInterval(preferences.autoCleanEveryTime());

    for (Threshold *threshold : {&free_, &inactive_}) {
        connect(threshold->textField, &QLineEdit::editingFinished, this, [this, threshold] {
            storeThreshold(*threshold, uint64_t(integerValue(threshold->textField->text())));
        });
        connect(threshold->stepper, &QRMStepper::stepped, this, [this, threshold] {
            storeThreshold(*threshold, uint64_t(threshold->stepper->integerValue()));
        });
    }
    connect(autoCleanByFreeSizeChecked, &QCheckBox::clicked, this,
            [this](bool on) { onThresholdChecked(free_, on); });
    connect(autoCleanByInactiveSizeChecked, &QCheckBox::clicked, this,
            [this](bool on) { onThresholdChecked(inactive_, on); });
    connect(autoCleanEveryTimeChecked, &QCheckBox::clicked, this,
            &CleaningTab::onAutoCleanEveryTimeChecked);
    connect(autoCleanEveryTimeSlider, &QSlider::valueChanged, this,
            &CleaningTab::autoCleanEveryTime);
}

void CleaningTab::languageDidChanged() {
    setLocalizedTexts(services_.localized,
                      {{cleaningBasic, "Basic"},
                       {cleaningAdvanced, "Advanced"},
                       {autoCleanByFreeSizeChecked, "autoCleanByFreeSize"},
                       {autoCleanByInactiveSizeChecked, "autoCleanByInactiveSize"},
                       {autoCleanEveryTimeChecked, "autoCleanEveryTime"},
                       {autoCleanByFreeSizeTextFieldInfo, "autoCleanByFreeSizeInfo"},
                       {autoCleanByInactiveSizeTextFieldInfo, "autoCleanByInactiveSizeInfo"}});
    showInterval(services_.preferences.autoCleanEveryTime());
}

bool CleaningTab::eventFilter(QObject *watched, QEvent *event) {
    if (event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        for (const Threshold *threshold : {&free_, &inactive_}) {
            if (watched == threshold->textField && (key == Qt::Key_Up || key == Qt::Key_Down)) {
                threshold->stepper->stepBy(key == Qt::Key_Up ? 1 : -1);
                return true;
            }
        }
    }
    return QWidget::eventFilter(watched, event);
}

void CleaningTab::storeThreshold(const Threshold &threshold, uint64_t value) {
    QRMPreferencesManager &preferences = services_.preferences;
    (preferences.*threshold.setValue)(qint64(clampToStepper(value, *threshold.stepper)));
    const qint64 stored = (preferences.*threshold.value)();
    threshold.stepper->setValue(double(stored));
    threshold.textField->setText(QString::number(stored));
    if (!services_.appDelegate.memoryCleaningInProgress()) {
        services_.appDelegate.checkToAutoClean();
    }
}

void CleaningTab::onThresholdChecked(const Threshold &threshold, bool on) {
    (services_.preferences.*threshold.setChecked)(on);
    if (on && !services_.appDelegate.memoryCleaningInProgress()) {
        services_.appDelegate.checkToAutoClean();
    }
}

void CleaningTab::restartAutoCleanEveryTimeTimer() {
    services_.appDelegate.invalidateAutoCleanEveryTimeTimer();
    services_.appDelegate.setupAutoCleanEveryTimeTimer();
}

void CleaningTab::onAutoCleanEveryTimeChecked(bool on) {
    services_.preferences.setAutoCleanEveryTimeChecked(on);
    // The timer follows the box at once rather than at the next start.
    if (on) {
        restartAutoCleanEveryTimeTimer();
    } else {
        services_.appDelegate.invalidateAutoCleanEveryTimeTimer();
    }
}

void CleaningTab::showInterval(qint64 minutes) {
    showSliderValue(autoCleanEveryTimeSlider, min, minutes,
                    services_.preferences.defaultValue(Setting::AutoCleanEveryTime).toLongLong(),
                    services_.localized(QStringLiteral("min")));
}

void CleaningTab::autoCleanEveryTime(int minutes) {
    services_.preferences.setAutoCleanEveryTime(minutes);
    min->setText(valueWithUnit(services_.preferences.autoCleanEveryTime(),
                               services_.localized(QStringLiteral("min"))));
    // Also while a cleaning runs: this timer is not stopped during one.
    if (services_.preferences.autoCleanEveryTimeChecked()) {
        restartAutoCleanEveryTimeTimer();
    }
}

}  // namespace tarnwell
