#pragma once

#include <QLoggingCategory>

// The Bluetooth link's log: state changes, scan results, connection attempts,
// retries, discovery and failures. Quiet unless switched on with
// QT_LOGGING_RULES="talvenne.link.debug=true".
Q_DECLARE_LOGGING_CATEGORY(lcLink)
