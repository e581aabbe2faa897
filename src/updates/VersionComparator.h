#pragma once

#include <QStringView>

namespace tarnwell {

// Orders version strings the way release feeds write them: "1.0" < "1.0.1" <
// "1.1" < "1.10", and a letter suffix marks a pre-release ("1.0b2" < "1.0").
// Numbers compare by value at any length, trailing ".0" parts do not count
// ("1.0" == "1.0.0"), and anything that is neither digit nor letter only
// separates parts. Returns <0, 0 or >0 like strcmp.
int compareVersions(QStringView left, QStringView right);

}  // namespace tarnwell
