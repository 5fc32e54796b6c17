#pragma once

#include <QObject>
#include <QPointer>

#include <functional>

class Document;
class QWidget;

/// The log report from an archive window ("exportLogAction"): the popover
/// closes, the lists give way to the progress indicator while the report is
/// laid out, then a save dialog titled "COMPLETE_LOG" (PDF only) asks where
/// the PDF goes.
///
/// The archive is read on the main thread in one go; checking the documents'
/// files, laying out the pages and writing the PDF happen on another thread,
/// so even a log of many thousands of entries leaves the window responsive.
/// A cancelled dialog discards the report; a PDF that cannot be written is
/// reported with the path and the system's reason.
class LogReportFlow : public QObject
{
    Q_OBJECT

public:
    /// What the window does around the layout.
    struct Hooks
    {
        std::function<void()> closePopover;
        /// Hides the split view and starts the progress indicator.
        std::function<void()> beginProgress;
        /// Shows the split view again and stops the progress indicator.
        std::function<void()> endProgress;
    };

    LogReportFlow(Document* archive, QWidget* window, QObject* parent = nullptr);

    void setHooks(Hooks hooks) { m_hooks = std::move(hooks); }

    void exportLogAction();
    bool isRunning() const { return m_running; }

Q_SIGNALS:
    /// The report was laid out (the save dialog is about to be asked).
    void laidOut(int pageCount);
    /// The run ended: @p path is where the PDF was written ("" when the
    /// dialog was cancelled or writing failed, then @p error says why).
    void finished(const QString& path, const QString& error);

private:
    void save(const QByteArray& pdf);

    QPointer<Document> m_archive;
    QPointer<QWidget> m_window;
    Hooks m_hooks;
    bool m_running = false;
};
