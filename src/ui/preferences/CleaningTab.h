#pragma once

#include <cstdint>

#include <QWidget>

#include "ui/preferences/PreferencesServices.h"

class QCheckBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QSlider;

namespace tarnwell {

class QRMPreferencesManager;
class QRMStepper;

// The three automatic-cleaning rules: below a free-memory threshold, above an
// inactive-memory threshold (both in MB, text field and stepper), and every
// so many minutes (slider).
class CleaningTab : public QWidget {
    Q_OBJECT
public:
    explicit CleaningTab(PreferencesServices &services, QWidget *parent = nullptr);

    void languageDidChanged();

    QGroupBox *cleaningBasic;
    QGroupBox *cleaningAdvanced;
    QCheckBox *autoCleanByFreeSizeChecked;
    QLineEdit *autoCleanByFreeSizeTextField;
    QRMStepper *autoCleanByFreeSizeStepper;
    QLabel *autoCleanByFreeSizeTextFieldInfo;
    QCheckBox *autoCleanByInactiveSizeChecked;
    QLineEdit *autoCleanByInactiveSizeTextField;
    QRMStepper *autoCleanByInactiveSizeStepper;
    QLabel *autoCleanByInactiveSizeTextFieldInfo;
    QCheckBox *autoCleanEveryTimeChecked;
    QSlider *autoCleanEveryTimeSlider;
    QLabel *min;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    struct Threshold {
        QLineEdit *textField;
        QRMStepper *stepper;
        qint64 (QRMPreferencesManager::*value)();
        void (QRMPreferencesManager::*setValue)(qint64);
        void (QRMPreferencesManager::*setChecked)(bool);
    };
    // Clamps value to the stepper's bounds, stores it and shows the stored value.
    void storeThreshold(const Threshold &threshold, uint64_t value);
    void onThresholdChecked(const Threshold &threshold, bool on);
    void onAutoCleanEveryTimeChecked(bool on);
    void autoCleanEveryTime(int minutes);
    void showInterval(qint64 minutes);
    void restartAutoCleanEveryTimeTimer();

    PreferencesServices &services_;
    Threshold free_;
    Threshold inactive_;
};

}  // namespace tarnwell
