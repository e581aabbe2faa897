#include "ui/preferences/PreferencesControls.h"

#include <QAbstractButton>
#include <QBoxLayout>
#include <QGroupBox>
#include <QLabel>
#include <QSignalBlocker>
#include <QSlider>

namespace tarnwell {

namespace {

// Alt plus the first letter of the text not yet taken by another control of
// the same page; a text with no such letter goes without.
QString withMnemonic(const QString &text, QString &taken) {
    QString escaped = text;
    escaped.replace(u'&', QStringLiteral("&&"));
    for (qsizetype i = 0; i < escaped.size(); ++i) {
        const QChar letter = escaped[i].toLower();
        if (letter.isLetter() && !taken.contains(letter)) {
            taken += letter;
            return escaped.insert(i, u'&');
        }
    }
    return escaped;
}

}  // namespace

void setLocalizedTexts(const Localizer &localized,
                       std::initializer_list<std::pair<QWidget *, const char *>> texts) {
    QString taken;
    for (const auto &[widget, key] : texts) {
        const QString text = localized(QString::fromLatin1(key));
        const auto *label = qobject_cast<QLabel *>(widget);
        if (qobject_cast<QGroupBox *>(widget)) {
            widget->setProperty("title", text);
        } else if (qobject_cast<QAbstractButton *>(widget) || (label && label->buddy())) {
            widget->setProperty("text", withMnemonic(text, taken));
        } else {
            widget->setProperty("text", text);
        }
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
