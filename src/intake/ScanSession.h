#pragma once

#include "intake/ScannerBackend.h"

#include <QImage>
#include <QString>
#include <functional>

class ScanLineAssembler;
class ScanPdfWriter;

/// One use of a scanner from start to end: open the device, apply the
/// settings, read the frames, close the device. Pages go line by line into a
/// PDF (ScanPdfWriter) or, for an overview, into a small image. The same code
/// serves the command line and the scanner window.
///
/// Runs on the calling thread and blocks until done; a worker thread calls it
/// and passes an interruption check, which is asked between reads. Whatever
/// ends the scan (completion, cancel, device error), the device is cancelled
/// and closed, and a PDF that was not completed is removed.
class ScanSession
{
public:
    enum class Result {
        Finished,
        Cancelled,
        NoScanner, ///< the device could not be opened
        NoDocuments, ///< the feeder held no page
        Failed ///< a device or file error; errorString() says which
    };

    /// Receives the page being scanned (from 1) and how far it is, 0-100, or -1
    /// when the device cannot tell the page's length.
    using ProgressHandler = std::function<void(int page, int percent)>;
    using InterruptCheck = std::function<bool()>;

    explicit ScanSession(ScannerBackend& backend);

    void setProgressHandler(ProgressHandler handler) { m_progress = std::move(handler); }
    void setInterruptCheck(InterruptCheck check) { m_interrupted = std::move(check); }

    /// Scans into a PDF at pdfPath. maxPages 0 scans until the feeder is empty
    /// (a flatbed would scan the same page forever: pass 1 for it).
    Result scanDocument(const QString& deviceName, const ScanSettings& settings, const QString& pdfPath, int maxPages,
        const QString& title = QString());
    /// An overview of the whole area at low resolution; settings.preview is set for it.
    Result scanPreview(const QString& deviceName, ScanSettings settings, QImage* image);
    /// The options of a device (opened and closed again).
    Result readDeviceOptions(const QString& deviceName, ScannerOptions* options);

    QString errorString() const { return m_errorString; }
    int pageCount() const { return m_pageCount; }

    /// The offered resolution nearest to 75 dpi, or 0 when none is known.
    static int previewResolution(const ScannerOptions& options);
    /// Whether a source feeds sheets (several pages per scan) rather than a flatbed.
    static bool isFeeder(const QString& source);
    /// "folder/title.pdf", or "title 2.pdf", "title 3.pdf"... when taken; the
    /// title is made safe for a file name first.
    static QString scanFilePath(const QString& folder, const QString& title);

private:
    /// Reads one started frame to its end, handing each line to sink.
    Result readFrame(const ScanFrame& frame, ScanLineAssembler& assembler,
        const std::function<bool(const unsigned char*)>& sink, int page);
    Result scanPage(const ScanFrame& frame, ScanPdfWriter& writer, int page);
    Result open(const QString& deviceName, const ScanSettings* settings);
    Result finish(Result result);
    bool interrupted() const { return m_interrupted && m_interrupted(); }

    ScannerBackend& m_backend;
    ProgressHandler m_progress;
    InterruptCheck m_interrupted;
    QString m_errorString;
    int m_pageCount = 0;
};
