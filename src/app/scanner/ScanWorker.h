#pragma once

#include "intake/ScanSession.h"
#include "intake/ScannerBackend.h"

#include <QImage>
#include <QObject>
#include <memory>

class QThread;

/// One piece of scanner work off the main thread: listing devices, reading a
/// device's options, an overview scan or a scan to PDF. start() gives the
/// worker a thread of its own; both end and delete themselves when the work
/// is done. A long scan stops at the next read once its thread is asked to
/// (QThread::requestInterruption()), and reports cancelled().
///
/// The backend is shared with the window but used by one worker at a time.
class ScanWorker : public QObject
{
    Q_OBJECT

public:
    enum class Job { ListDevices, ReadOptions, Preview, Scan };

    struct Request
    {
        Job job = Job::ListDevices;
        QString device;
        ScanSettings settings;
        QString pdfPath; ///< where a scan is written
        int maxPages = 1; ///< 0: until the feeder is empty
        QString title; ///< stored in the PDF
    };

    ScanWorker(std::shared_ptr<ScannerBackend> backend, Request request);

    /// Moves the worker to a new thread; connect to its signals, then start the thread.
    QThread* moveToOwnThread();

public Q_SLOTS:
    void run();

Q_SIGNALS:
    void devicesListed(const QList<ScannerDevice>& devices);
    void optionsRead(const QString& device, const ScannerOptions& options);
    void previewScanned(const QImage& image);
    void scanned(const QString& pdfPath, int pages);
    /// Page from 1, percent of it (-1 when the device cannot tell).
    void progressed(int page, int percent);
    void failed(ScanSession::Result result, const QString& error);
    void cancelled();
    /// Always the last signal, after any of the above.
    void finished();

private:
    void report(ScanSession::Result result, const QString& error);

    std::shared_ptr<ScannerBackend> m_backend;
    Request m_request;
};
