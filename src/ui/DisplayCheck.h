#pragma once

#include <QString>

namespace tarnwell {

// Why the session's display cannot be used, or an empty text when it can (or
// when there is none to try). Qt aborts when its platform cannot connect, so
// the display is tried first and the program falls back to the terminal.
QString displayProblem();

}  // namespace tarnwell
