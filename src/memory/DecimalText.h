#pragma once

#include <string>

namespace tarnwell {

// "%.2f" as C's printf writes it: exact binary ties round to even (12.125
// reads 12.12, where Qt's own formatting says 12.13), with a point as the
// decimal separator whatever the process locale (Qt applications switch
// LC_NUMERIC to the user's locale, which would turn printf's point into a
// comma in Russian and Ukrainian). Every two-decimal figure goes through it.
std::string twoDecimals(double value);

}  // namespace tarnwell
