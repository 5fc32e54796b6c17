#include "model/Logging.h"

Q_LOGGING_CATEGORY(lcQuillarc, "quillarc")
