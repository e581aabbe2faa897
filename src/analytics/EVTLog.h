#pragma once

#include <QLoggingCategory>

namespace tarnwell {

// The kit's log labels; each operation logs under its own so a reader can
// filter one step of the pipeline.
Q_DECLARE_LOGGING_CATEGORY(lcEvents)
Q_DECLARE_LOGGING_CATEGORY(lcWriteOperation)
Q_DECLARE_LOGGING_CATEGORY(lcCleanupOperation)

}  // namespace tarnwell
