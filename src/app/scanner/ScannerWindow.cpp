#include "app/scanner/ScannerWindow.h"

#include "app/i18n/Localizer.h"
#include "app/scanner/ScanPreviewView.h"
#include "app/scanner/ScannerControls.h"
#include "intake/SaneBackend.h"
#include "model/QuillarcContainer.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QHBoxLayout>
#include <QHash>
#include <QScreen>
#include <QSettings>
#include <QThread>

namespace {

QSettings userDefaults()
{
    return QSettings(QStringLiteral("Tessary"), QStringLiteral("Quillarc"));
}

/// The scanner window of each open archive.
QHash<const Document*, QPointer<ScannerWindow>>& windows()
{
    static QHash<const Document*, QPointer<ScannerWindow>> byArchive;
    return byArchive;
}

} // namespace

ScannerWindow::ScannerWindow(std::shared_ptr<ScannerBackend> backend, QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_backend(backend ? std::move(backend) : std::make_shared<SaneBackend>())
{
    setObjectName(QStringLiteral("ScannerWindow"));
    m_controls = new ScannerControls;
    m_preview = new ScanPreviewView;
    m_preview->setObjectName(QStringLiteral("preview"));
    m_preview->setPlaceholderKey(QStringLiteral("SCANNER_PREVIEW_HINT"));
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(m_controls, 0);
    layout->addWidget(m_preview, 1);
    connect(m_controls, &ScannerControls::refreshRequested, this, &ScannerWindow::refreshDevices);
    connect(m_controls, &ScannerControls::overviewRequested, this, &ScannerWindow::scanOverview);
    connect(m_controls, &ScannerControls::scanRequested, this, &ScannerWindow::scan);
    connect(m_controls, &ScannerControls::cancelRequested, this, &ScannerWindow::cancelScan);
    connect(m_controls, &ScannerControls::deviceChosen, this, &ScannerWindow::deviceSelected);
    connect(m_controls, &ScannerControls::documentTitleEdited, this, &ScannerWindow::documentTitleChanged);
    Localizer::localize(this);
    setDocumentTitle(localizedString(QStringLiteral("Untitled")));
    updateControls();
    resize(sizeHint().expandedTo(QSize(760, 540)));
}

ScannerWindow::~ScannerWindow()
{
    // A worker still running ends at its next read; its thread must not outlive the backend's users.
    if (m_thread) {
        m_thread->requestInterruption();
        m_thread->wait();
    }
}

ScannerWindow* ScannerWindow::showScannerSheet(
    Document* archive, QWidget* archiveWindow, std::shared_ptr<ScannerBackend> backend)
{
    // The scanner's download location, as scanner software on the desk expects it.
    userDefaults().setValue(QLatin1String(downloadURLKey), QStringLiteral("~/Pictures"));
    if (archive)
        archive->checkForFilesWrapper();
    QPointer<ScannerWindow>& window = windows()[archive];
    if (!window) {
        window = new ScannerWindow(std::move(backend), archiveWindow);
        if (archive) {
            connect(archive, &QObject::destroyed, window, &QObject::deleteLater);
            connect(archive, &QObject::destroyed, [archive] { windows().remove(archive); });
        }
    }
    window->setWindowOpacity(1.0);
    window->setMainDocument(archive);
    const QString archiveTitle = archive && archive->container() ? archive->container()->containerTitle() : QString();
    window->setTitleLabel(QStringLiteral("%1 (%2)").arg(localizedString(QStringLiteral("Scanner")), archiveTitle));
    window->setDocumentTitle(localizedString(QStringLiteral("Untitled")));

    const QRect over = archiveWindow ? archiveWindow->frameGeometry() : window->screen()->availableGeometry();
    window->move(over.center() - window->rect().center());
    window->show();
    window->raise();
    window->startBrowser();
    // The name field exists from the start, so the title is given once.
    window->provideDocumentTitle();
    return window;
}

QString ScannerWindow::downloadFolder()
{
    QString folder = userDefaults().value(QLatin1String(downloadURLKey), QStringLiteral("~/Pictures")).toString();
    if (folder == QLatin1String("~") || folder.startsWith(QLatin1String("~/")))
        folder = QDir::homePath() + folder.mid(1);
    QDir().mkpath(folder);
    return folder;
}

QString ScannerWindow::documentTitle() const
{
    return m_controls->documentTitle();
}

void ScannerWindow::setDocumentTitle(const QString& title)
{
    m_controls->setDocumentTitle(title);
    Q_EMIT documentTitleChanged();
}

void ScannerWindow::setTitleLabel(const QString& title)
{
    m_titleLabel = title;
    setWindowTitle(title);
    Q_EMIT documentTitleChanged();
}

void ScannerWindow::provideDocumentTitle()
{
    m_controls->setDocumentTitle(documentTitle());
    m_controls->focusDocumentTitle();
}

QString ScannerWindow::message() const
{
    return m_controls->message();
}

void ScannerWindow::startBrowser()
{
    m_browsing = true;
    refreshDevices();
}

void ScannerWindow::stopBrowser()
{
    m_browsing = false;
    m_refreshPending = false;
    cancelScan();
}

void ScannerWindow::refreshDevices()
{
    if (isBusy()) {
        m_refreshPending = true; // after the running work, which uses the same library
        return;
    }
    m_controls->showMessage(QString());
    startJob({ ScanWorker::Job::ListDevices, {}, {}, {}, 1, {} });
}

void ScannerWindow::scanOverview()
{
    m_controls->showMessage(QString());
    startJob({ ScanWorker::Job::Preview, m_controls->currentDevice(), m_controls->settings(), {}, 1, {} });
}

void ScannerWindow::scan()
{
    m_controls->showMessage(QString());
    const ScanSettings settings = m_controls->settings();
    const QString path = ScanSession::scanFilePath(downloadFolder(), documentTitle());
    // A flatbed gives one page per scan; a feeder gives every sheet it holds.
    const int pages = ScanSession::isFeeder(settings.source) ? 0 : 1;
    startJob({ ScanWorker::Job::Scan, m_controls->currentDevice(), settings, path, pages, documentTitle() });
}

void ScannerWindow::cancelScan()
{
    if (m_thread)
        m_thread->requestInterruption();
}

void ScannerWindow::hideWindow()
{
    stopBrowser();
    hide();
    if (QWidget* archiveWindow = parentWidget()) {
        archiveWindow->raise();
        archiveWindow->activateWindow();
    }
}

void ScannerWindow::closeEvent(QCloseEvent* event)
{
    stopBrowser();
    QWidget::closeEvent(event);
}

bool ScannerWindow::startJob(ScanWorker::Request request)
{
    if (isBusy()
        || ((request.job == ScanWorker::Job::Preview || request.job == ScanWorker::Job::Scan)
            && request.device.isEmpty()))
        return false;
    auto* worker = new ScanWorker(m_backend, request);
    QThread* thread = worker->moveToOwnThread();
    m_thread = thread;
    m_job = request.job;
    connect(worker, &ScanWorker::devicesListed, this, &ScannerWindow::setDevices);
    connect(worker, &ScanWorker::optionsRead, this, &ScannerWindow::setOptions);
    connect(worker, &ScanWorker::previewScanned, m_preview, &ScanPreviewView::setImage);
    connect(worker, &ScanWorker::scanned, this, &ScannerWindow::scanFinished);
    connect(worker, &ScanWorker::progressed, this, &ScannerWindow::showProgress);
    connect(worker, &ScanWorker::failed, this, &ScannerWindow::didEncounterError);
    connect(worker, &ScanWorker::cancelled, this,
        [this] { m_controls->showMessage(localizedString(QStringLiteral("SCANNER_CANCELLED"))); });
    connect(thread, &QThread::finished, this, [this] {
        m_thread = nullptr;
        updateControls();
        if (m_refreshPending && m_browsing) {
            m_refreshPending = false;
            refreshDevices();
        } else if (!m_devices.isEmpty() && m_optionsDevice != m_controls->currentDevice()) {
            deviceSelected();
        }
    });
    thread->start();
    showProgress(0, -1);
    updateControls();
    return true;
}

void ScannerWindow::setDevices(const QList<ScannerDevice>& devices)
{
    m_devices = devices;
    m_listedOnce = true;
    m_controls->setDevices(devices);
    if (devices.isEmpty())
        m_optionsDevice.clear();
    Q_EMIT devicesChanged();
}

void ScannerWindow::deviceSelected()
{
    const QString device = m_controls->currentDevice();
    if (device.isEmpty() || !startJob({ ScanWorker::Job::ReadOptions, device, {}, {}, 1, {} }))
        return;
    m_preview->setImage(QImage());
}

void ScannerWindow::setOptions(const QString& device, const ScannerOptions& options)
{
    m_optionsDevice = device;
    m_controls->setOptions(options);
    Q_EMIT devicesChanged();
}

void ScannerWindow::scanFinished(const QString& pdfPath)
{
    Q_EMIT scannedToURL(pdfPath);
    hideWindow();
}

void ScannerWindow::didEncounterError(ScanSession::Result result, const QString& error)
{
    qCWarning(lcQuillarc).noquote() << QStringLiteral("scannerDeviceView didEncounterError: %1").arg(error);
    qCWarning(lcQuillarc).noquote() << QStringLiteral("scannerDeviceView URL: %1").arg(downloadFolder());
    qCWarning(lcQuillarc).noquote()
        << QStringLiteral("scannerDeviceView App: %1").arg(QCoreApplication::applicationFilePath());
    const char* key = result == ScanSession::Result::NoDocuments ? "SCANNER_NO_DOCUMENTS"
        : result == ScanSession::Result::NoScanner               ? "SCANNER_NOT_ANSWERING"
                                                                 : "SCANNER_ERROR";
    m_controls->showMessage(QStringLiteral("%1\n%2").arg(localizedString(QLatin1String(key)), error));
}

void ScannerWindow::showProgress(int page, int percent)
{
    m_controls->showProgress(m_job == ScanWorker::Job::Scan, page, percent);
}

void ScannerWindow::updateControls()
{
    ScannerControls::State state;
    state.busy = isBusy();
    state.scanning = state.busy && (m_job == ScanWorker::Job::Preview || m_job == ScanWorker::Job::Scan);
    state.ready = !state.busy && !m_optionsDevice.isEmpty() && m_optionsDevice == m_controls->currentDevice();
    state.listed = m_listedOnce;
    m_controls->setState(state);
}
