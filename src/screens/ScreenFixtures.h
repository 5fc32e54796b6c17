#pragma once

#include <QString>

class ArchiveWindow;
class ScreenContext;
class QWidget;

/// Archives and archive windows made for pictures: real packages written
/// through the engine, opened as the application opens them.
namespace ScreenFixtures {

/// A saved archive titled @p title with @p groups groups of @p documents
/// records each (records without files: enough for lists and titles).
QString archive(ScreenContext& context, const QString& title, int groups, int documents);

/// The window of the archive at @p path, shown at 1120×720 and set up; with
/// @p mainView it waits until the main view has replaced the welcome screen.
ArchiveWindow* openWindow(ScreenContext& context, const QString& path, bool mainView);

/// The alert shown last (a window-modal one on @p window, or a free one), once visible.
QWidget* shownAlert(QWidget* window = nullptr);

} // namespace ScreenFixtures
