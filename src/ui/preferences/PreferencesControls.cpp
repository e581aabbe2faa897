#include "ui/preferences/PreferencesControls.h"

#include <QBoxLayout>
#include <QGroupBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>

namespace tarnwell {

void setLocalizedTexts(const Localizer &localized,
                       std::initializer_list<std::pair<QWidget *, const char *>> texts) {
    for (const auto &[widget, key] : texts) {
        const char *property = qobject_cast<QGroupBox *>(widget) ? "title" : "text";
        widget->setProperty(property, localized(QString::fromLatin1(key)));
    }
}

QGroupBox *addBox(QBoxLayout *page, QLayout *contents) {
    auto *box = new QGroupBox;
    box->setLayout(contents);
    page->addWidget(box);
    return box;
}

QString valueWithUnit(qint64 value, const QString &unit) {
    return QStringLiteral("%1 %2").arg(value).arg(unit);
}

void showSliderValue(QSlider *slider, QLabel *label, qint64 value, qint64 fallback,
                     const QString &unit) {
    if (value < slider->minimum() || value > slider->maximum()) {
        value = fallback;
    }
    const QSignalBlocker blocker(slider);
    slider->setValue(int(value));
    label->setText(valueWithUnit(value, unit));
}

}  // namespace tarnwell
