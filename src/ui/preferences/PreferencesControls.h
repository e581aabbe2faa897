#pragma once

#include <initializer_list>
#include <utility>

#include <QString>

#include "app/Localizer.h"

class QBoxLayout;
class QGroupBox;
class QLabel;
class QLayout;
class QSlider;
class QWidget;

namespace tarnwell {

// Sets each widget's text, or a group box's title, to its key's text in the
// current language. Check boxes and labels that name a control get a
// mnemonic, each a different letter; a page passes all of them in one call.
void setLocalizedTexts(const Localizer &localized,
                       std::initializer_list<std::pair<QWidget *, const char *>> texts);

// A titled box around contents, added to a tab's page.
QGroupBox *addBox(QBoxLayout *page, QLayout *contents);

// "5 sec", "10 min".
QString valueWithUnit(qint64 value, const QString &unit);

// Shows a stored value on a slider and its label without counting as a
// change; a value the slider cannot show (an edited file) shows as fallback.
void showSliderValue(QSlider *slider, QLabel *label, qint64 value, qint64 fallback,
                     const QString &unit);

}  // namespace tarnwell
