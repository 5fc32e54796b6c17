#pragma once

#include "app/popover/PopoverController.h"

#include "store/IntegrityValidator.h"

#include <QPointer>

class KVButton;
class KVLinkButton;
class KVTessaryProgress;
class QLabel;
class QStackedWidget;
class TessaryBeachBallView;

/// The archive's information popover ("DocumentInfo_Popover"): where the
/// package lies (with a link that reveals it in the file manager) and the
/// state of the integrity validation that every showing starts.
///
/// The validation runs on the shared serial background queue through the
/// archive's one IntegrityValidator, which belongs to the archive and not to
/// the popover: closing the popover lets a run finish, so the archive's
/// integrityString always ends in a verdict. While a large archive is
/// checked, a bar shows how many files are done; after a failure the
/// integrity log is on disk and a button opens it.
class InfoPopover : public PopoverController
{
    Q_OBJECT

public:
    explicit InfoPopover(QWidget* parent = nullptr);
    ~InfoPopover() override;

    /// The archive's validator, made on first use and owned by the archive.
    static IntegrityValidator* validatorFor(Document* document);

    /// Shows the package path and starts a validation of the database bytes
    /// read at opening.
    void popoverViewActions() override;

    /// Reveals the package in the file manager, selected.
    void openPath();
    /// Opens the integrity log file in the text viewer.
    void openFailLog();

    QLabel* pathLabel() const { return m_path; }
    QLabel* stateLabel() const { return m_state; }
    KVTessaryProgress* progressView() const { return m_progress; }
    KVButton* failLogButton() const { return m_failLog; }
    IntegrityValidator* validator() const { return m_validator; }

private Q_SLOTS:
    void showProgress(qint64 checked, qint64 total);

private:
    void buildLayout();
    void showState();
    void fitPopover();

    QPointer<IntegrityValidator> m_validator;
    QLabel* m_path = nullptr;
    KVLinkButton* m_reveal = nullptr;
    QStackedWidget* m_stateIcon = nullptr;
    TessaryBeachBallView* m_spinner = nullptr;
    QLabel* m_stateImage = nullptr;
    QLabel* m_state = nullptr;
    KVTessaryProgress* m_progress = nullptr;
    KVButton* m_failLog = nullptr;
    bool m_lastRunFailed = false;
};
