#include "text/Logging.h"

Q_LOGGING_CATEGORY(lcQuillarc, "quillarc")
