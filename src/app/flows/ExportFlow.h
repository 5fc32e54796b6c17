#pragma once

#include "output/ExportJob.h"

#include <QObject>
#include <QPointer>

#include <functional>
#include <memory>

class Document;
class Exporter;
class FlowProgressSheet;
class QTimer;
class QWidget;

/// Export from an archive window: asks where to (a save dialog titled
/// "EXPORT_GROUP_TITLE" proposing the group's title, or "EXPORT_DOCUMENT_MENU"
/// proposing the archive's), then copies the files off the main thread while
/// a progress sheet names the document being copied.
///
/// A missing or corrupted archived file stops the run with its alert;
/// copies written before stay. A folder that cannot be created or written
/// (read-only, full) stops it with the path and the system's reason. Tags
/// are set 0.18 seconds after each file is written, on the main thread.
Q_DECLARE_METATYPE(ExportJob::Result)

class ExportFlow : public QObject
{
    Q_OBJECT

public:
    /// Work shorter than this shows no progress sheet (milliseconds).
    static constexpr int progressDelayMs = 300;

    ExportFlow(Document* archive, QWidget* window, QObject* parent = nullptr);
    ~ExportFlow() override;

    /// Exports the documents of @p group.
    void exportGroup(const GroupPtr& group);
    /// Exports every group's documents; the summary's footer names @p currentGroup.
    void exportDocument(const GroupPtr& currentGroup);

    bool isRunning() const { return m_running; }
    /// Stops a running export before its next file.
    void cancel();
    /// The progress sheet while one shows, else nullptr.
    FlowProgressSheet* progressSheet() const;

    /// Called on the worker thread before each copy with the entry's index;
    /// for tests that need the worker to wait at a known point.
    void setWorkerProbe(std::function<void(int index)> probe) { m_probe = std::move(probe); }

Q_SIGNALS:
    /// An export ran to its end (or stopped); not emitted when the dialog was cancelled.
    void finished(ExportJob::Result result, const QString& errorString);

private:
    struct Shared;

    void start(ExportJob job);
    void poll();
    void done(const ExportJob::Outcome& outcome, const ExportJob& job);
    void showAlert(const ExportJob::Outcome& outcome, const ExportJob& job);

    QPointer<Document> m_archive;
    QPointer<QWidget> m_window;
    Exporter* m_exporter;
    QTimer* m_poll;
    QPointer<FlowProgressSheet> m_sheet;
    std::shared_ptr<Shared> m_shared;
    std::function<void(int)> m_probe;
    qint64 m_startedAt = 0;
    bool m_running = false;
};
