#pragma once

#include "app/util/FileDialog.h"

#include <QObject>
#include <functional>

class ArchiveWindow;
class QTimer;

/// Saving and closing of one archive window: Save (with the save dialog for
/// a new archive), the auto-save timer, and the closing that always saves
/// first and lets the window go only once the save has completed.
class ArchiveSaving : public QObject
{
    Q_OBJECT

public:
    using Done = std::function<void(bool saved)>;

    explicit ArchiveSaving(ArchiveWindow* window);

    /// Saves to the archive's package; a new archive asks for its place first.
    /// @p done runs once the save completed (true) or failed or was cancelled
    /// (false). Failures are alerted when @p alertOnFailure is set.
    void saveDocument(Done done = {}, bool alertOnFailure = true);
    /// Save As: only for a new archive, which has no package yet.
    void saveDocumentAs(Done done = {}, bool alertOnFailure = true);

    /// Fills in the archive's title as the proposed name when none is set.
    bool prepareSavePanel(FileDialog::Options& options) const;
    /// The name a new archive is saved under unless the user changes it: its title.
    QString defaultDraftName() const;

    /// Saves the archive every 360 seconds while the window exists.
    void startAutoSaveTimer();
    QTimer* autoSaveTimer() const { return m_autoSaveTimer; }

    /// Closing: 0.36 s later the open mark is cleared, validation allowed and
    /// the archive saved; closeDecided() follows the save's completion.
    void shouldCloseWindow();
    /// The reason of the last failed save ("" after a cancelled dialog).
    QString lastError() const { return m_lastError; }

Q_SIGNALS:
    /// The archive was written to @p packagePath.
    void saved(const QString& packagePath);
    /// The closing save ended: true lets the window close.
    void closeDecided(bool close);

private:
    void savePanelEnded(const QString& chosen, const Done& done, bool alertOnFailure);
    void saveTo(const QString& packagePath, Done done, bool alertOnFailure);
    void askAfterFailedCloseSave();

    ArchiveWindow* m_window;
    QTimer* m_autoSaveTimer = nullptr;
    QString m_lastError;
};
