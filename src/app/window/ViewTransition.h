#pragma once

class QStackedWidget;
class QWidget;

/// The animated change from one screen of an archive window to the next:
/// the old screen's picture fades out over the new one (and, zooming, grows
/// a little as it goes). Instant when the setting "prefs_DisableAnimation"
/// is on or the duration is 0.
namespace ViewTransition {

enum class Kind
{
    Fade,
    Zoom
};

/// Makes @p to the current widget of @p stack (adding it when needed).
void swap(QStackedWidget* stack, QWidget* to, Kind kind, int durationMs);
bool animationsDisabled();

} // namespace ViewTransition
