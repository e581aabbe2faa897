#include "EVTLog.h"

namespace tarnwell {

Q_LOGGING_CATEGORY(lcEvents, "tarnwell.events")
Q_LOGGING_CATEGORY(lcWriteOperation, "tarnwell.events.WriteOperation")
Q_LOGGING_CATEGORY(lcCleanupOperation, "tarnwell.events.CleanupOperation")

}  // namespace tarnwell
