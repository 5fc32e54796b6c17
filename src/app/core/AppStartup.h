#pragma once

#include <QSettings>
#include <QString>

/// The process entry point of the application, kept in the library so that
/// tests and benchmarks run the same start.
///
/// Before the application object exists: cached network responses are
/// removed (news is never answered from a cache), the operating system's
/// version is logged as "\n\nVersion: %li\n\n" with its minor number, and the
/// update and printing defaults are written. Then the single-instance check:
/// a second process hands its arguments to the first and exits 0.
namespace AppStartup {

/// The minor number of the operating system's version (the kernel's when
/// the distribution's version has none).
int operatingSystemMinorVersion();
/// Automatic update checks off, a skipped version forgotten, print panels expanded.
void writeLaunchDefaults(QSettings& settings);
void removeCachedResponses();

/// The whole start: returns the process's exit status.
int run(int argc, char** argv);

} // namespace AppStartup
