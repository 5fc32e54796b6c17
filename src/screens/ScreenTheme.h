#pragma once

/// The light or dark look the screens are pictured in: the Fusion style with
/// a light or a dark palette.
namespace ScreenTheme {

void apply(bool dark);

} // namespace ScreenTheme
