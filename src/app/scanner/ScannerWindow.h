#pragma once

#include "app/scanner/ScanWorker.h"

#include <QPointer>
#include <QWidget>
#include <memory>

class Document;
class ScannerControls;
class ScanPreviewView;

/// The scanner window of one archive: it finds the scanners that answer,
/// shows the chosen one's sources, modes and resolutions, makes an overview
/// scan, then scans to a PDF file and hands the file on with scannedToURL().
///
/// Every call into the scanner runs in a ScanWorker on a thread of its own,
/// one at a time, so the window never waits on a device; a running overview
/// or scan stops at Cancel. Errors are logged and shown in the window, which
/// stays open.
class ScannerWindow : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString documentTitle READ documentTitle WRITE setDocumentTitle NOTIFY documentTitleChanged)
    Q_PROPERTY(QString titleLabel READ titleLabel WRITE setTitleLabel NOTIFY documentTitleChanged)
    Q_PROPERTY(int scanTag READ scanTag WRITE setScanTag)

public:
    /// User default naming the folder scans are written to ("~/Pictures").
    static constexpr const char* downloadURLKey = "IK_Scanner_downloadURL";

    /// A window over @p backend; SANE's scanners when none is given.
    explicit ScannerWindow(std::shared_ptr<ScannerBackend> backend = {}, QWidget* parent = nullptr);
    ~ScannerWindow() override;

    /// Opens the archive's scanner window, made on first use and reused after:
    /// sets the download folder default, makes sure the archive's Files folder
    /// exists, titles the window after the archive, proposes "Untitled" as the
    /// document title, shows the window centred and starts looking for scanners.
    static ScannerWindow* showScannerSheet(Document* archive, QWidget* archiveWindow = nullptr,
        std::shared_ptr<ScannerBackend> backend = {});
    /// The folder of the download default with "~" expanded, created when missing.
    static QString downloadFolder();

    Document* mainDocument() const { return m_mainDocument; }
    void setMainDocument(Document* document) { m_mainDocument = document; }
    QString documentTitle() const;
    void setDocumentTitle(const QString& title);
    QString titleLabel() const { return m_titleLabel; }
    void setTitleLabel(const QString& title);
    int scanTag() const { return m_scanTag; }
    void setScanTag(int tag) { m_scanTag = tag; }

    /// Lists the scanners now and keeps the list current on refresh.
    void startBrowser();
    /// Stops listing and cancels a running overview or scan.
    void stopBrowser();
    /// Puts documentTitle into the name field the scan is saved under.
    void provideDocumentTitle();

    bool isBusy() const { return !m_thread.isNull(); }
    QList<ScannerDevice> devices() const { return m_devices; }
    /// The message the window shows (an error, a cancel), "" when none.
    QString message() const;

public Q_SLOTS:
    void refreshDevices();
    void scanOverview();
    void scan();
    void cancelScan();
    /// Hides the window and brings the archive window to the front.
    void hideWindow();

Q_SIGNALS:
    /// A scan was saved as the PDF at @p pdfPath. The archive window passes it
    /// to MainView::addScanDocumentWithURL(), which archives it like a single
    /// file and opens the record's sheet.
    void scannedToURL(const QString& pdfPath);
    void documentTitleChanged();
    /// The device list or the chosen device's options changed.
    void devicesChanged();

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    bool startJob(ScanWorker::Request request);
    void setDevices(const QList<ScannerDevice>& devices);
    void deviceSelected();
    void setOptions(const QString& device, const ScannerOptions& options);
    void scanFinished(const QString& pdfPath);
    void didEncounterError(ScanSession::Result result, const QString& error);
    void showProgress(int page, int percent);
    void updateControls();

    std::shared_ptr<ScannerBackend> m_backend;
    QPointer<QThread> m_thread;
    ScanWorker::Job m_job = ScanWorker::Job::ListDevices;
    Document* m_mainDocument = nullptr;
    QString m_titleLabel;
    int m_scanTag = 0;
    QList<ScannerDevice> m_devices;
    QString m_optionsDevice; ///< the device whose options the controls show
    bool m_browsing = false;
    bool m_listedOnce = false;
    bool m_refreshPending = false;

    ScannerControls* m_controls = nullptr;
    ScanPreviewView* m_preview = nullptr;
};
