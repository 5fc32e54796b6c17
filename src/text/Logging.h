#pragma once

#include <QLoggingCategory>

/// The system's log: every line the archive writes for itself ("SKIP FILE: %@",
/// "ERROR SAVING: %@", ...) goes through this category, to stderr or the journal.
Q_DECLARE_LOGGING_CATEGORY(lcQuillarc)
