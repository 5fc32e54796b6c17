#include "app/scanner/ScanWorker.h"

#include <QThread>

ScanWorker::ScanWorker(std::shared_ptr<ScannerBackend> backend, Request request)
    : m_backend(std::move(backend))
    , m_request(std::move(request))
{
}

QThread* ScanWorker::moveToOwnThread()
{
    auto* thread = new QThread;
    thread->setObjectName(QStringLiteral("ScanWorker"));
    moveToThread(thread);
    connect(thread, &QThread::started, this, &ScanWorker::run);
    connect(this, &ScanWorker::finished, thread, &QThread::quit);
    connect(thread, &QThread::finished, this, &QObject::deleteLater);
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    return thread;
}

void ScanWorker::report(ScanSession::Result result, const QString& error)
{
    if (result == ScanSession::Result::Cancelled)
        Q_EMIT cancelled();
    else if (result != ScanSession::Result::Finished)
        Q_EMIT failed(result, error);
}

void ScanWorker::run()
{
    ScanSession session(*m_backend);
    session.setInterruptCheck([] { return QThread::currentThread()->isInterruptionRequested(); });
    session.setProgressHandler([this](int page, int percent) { Q_EMIT progressed(page, percent); });
    switch (m_request.job) {
    case Job::ListDevices: {
        QList<ScannerDevice> devices;
        QString error;
        if (m_backend->listDevices(&devices, &error))
            Q_EMIT devicesListed(devices);
        else
            Q_EMIT failed(ScanSession::Result::Failed, error);
        break;
    }
    case Job::ReadOptions: {
        ScannerOptions options;
        const ScanSession::Result result = session.readDeviceOptions(m_request.device, &options);
        if (result == ScanSession::Result::Finished)
            Q_EMIT optionsRead(m_request.device, options);
        report(result, session.errorString());
        break;
    }
    case Job::Preview: {
        QImage image;
        const ScanSession::Result result = session.scanPreview(m_request.device, m_request.settings, &image);
        if (result == ScanSession::Result::Finished)
            Q_EMIT previewScanned(image);
        report(result, session.errorString());
        break;
    }
    case Job::Scan: {
        const ScanSession::Result result = session.scanDocument(
            m_request.device, m_request.settings, m_request.pdfPath, m_request.maxPages, m_request.title);
        if (result == ScanSession::Result::Finished)
            Q_EMIT scanned(m_request.pdfPath, session.pageCount());
        report(result, session.errorString());
        break;
    }
    }
    Q_EMIT finished();
}
