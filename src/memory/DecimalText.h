#pragma once

#include <string>

namespace tarnwell {

// "%.2f" with a point as the decimal separator whatever the process locale:
// Qt applications switch LC_NUMERIC to the user's locale, which would turn
// printf's point into a comma in Russian and Ukrainian.
std::string twoDecimals(double value);

}  // namespace tarnwell
