#pragma once

#include "intake/ScannerBackend.h"

#include <QWidget>

class KVTessaryProgress;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QStackedWidget;

/// The controls column of the scanner window: the device list with its
/// refresh button, the chosen device's source, mode and resolution, the name
/// the scan is saved under, a message line, progress with Cancel
/// (KVTessaryProgress), and the
/// overview and scan buttons. It shows what it is given and reports clicks;
/// ScannerWindow decides what happens.
class ScannerControls : public QWidget
{
    Q_OBJECT

public:
    /// What the window is doing, for enabling and showing the controls.
    struct State
    {
        bool busy = false; ///< any scanner work runs
        bool scanning = false; ///< an overview or scan runs (Cancel is offered)
        bool ready = false; ///< the chosen device's options are shown: a scan may start
        bool listed = false; ///< the devices were listed at least once
    };

    explicit ScannerControls(QWidget* parent = nullptr);

    /// Lists the devices; the one chosen before stays chosen while it is listed.
    void setDevices(const QList<ScannerDevice>& devices);
    QString currentDevice() const;
    void setOptions(const ScannerOptions& options);
    ScanSettings settings() const;
    QString documentTitle() const;
    void setDocumentTitle(const QString& title);
    /// Selects the name so that typing replaces it.
    void focusDocumentTitle();

    void showMessage(const QString& text);
    QString message() const;
    /// Page 0 or percent -1: work without a figure (the spinner turns).
    void showProgress(bool scan, int page, int percent);
    void setState(const State& state);

Q_SIGNALS:
    void refreshRequested();
    void overviewRequested();
    void scanRequested();
    void cancelRequested();
    /// The user chose another device in the list.
    void deviceChosen();
    void documentTitleEdited();

private:
    QComboBox* m_deviceCombo = nullptr;
    QPushButton* m_refreshButton = nullptr;
    QStackedWidget* m_pages = nullptr;
    QLabel* m_emptyLabel = nullptr;
    QComboBox* m_sourceCombo = nullptr;
    QComboBox* m_modeCombo = nullptr;
    QComboBox* m_resolutionCombo = nullptr;
    QLineEdit* m_nameEdit = nullptr;
    QLabel* m_messageLabel = nullptr;
    KVTessaryProgress* m_progress = nullptr;
    QPushButton* m_overviewButton = nullptr;
    QPushButton* m_scanButton = nullptr;
    int m_deviceCount = 0;
};
