#pragma once

/// The application's own font family for archive windows. Screens ask for
/// "WriteSans" (and the help texts for "WriteSans-Regular"); on Linux the
/// family is Inter from the system's fonts, DejaVu Sans where Inter is
/// missing, and the system font where both are. Nothing is copied anywhere.
namespace FontSetup {

/// Installs the family substitutions once; later calls do nothing.
void installApplicationFonts();

} // namespace FontSetup
