#include "EVTLog.h"

namespace tarnwell {

// Progress (settings in use, files sent, retries scheduled) is information a
// user running the program does not need on the terminal; enable it with
// QT_LOGGING_RULES="tarnwell.events*.info=true". Problems are always shown.

Q_LOGGING_CATEGORY(lcEvents, "tarnwell.events", QtWarningMsg)
Q_LOGGING_CATEGORY(lcWriteOperation, "tarnwell.events.WriteOperation", QtWarningMsg)
Q_LOGGING_CATEGORY(lcCleanupOperation, "tarnwell.events.CleanupOperation", QtWarningMsg)

}  // namespace tarnwell
