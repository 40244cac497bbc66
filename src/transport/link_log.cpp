#include "transport/link_log.h"

Q_LOGGING_CATEGORY(lcLink, "talvenne.link", QtWarningMsg)
