#pragma once

#include <QWidget>

class Document;
class KVTessaryProgress;
class QLabel;
class TessaryBeachBallView;

/// The screen an archive window shows while it opens: the application's
/// name, claim and copyright, a progress bar that fills while the welcome
/// lasts, and a busy spinner.
class WelcomeView : public QWidget
{
    Q_OBJECT

public:
    explicit WelcomeView(Document* document, QWidget* parent = nullptr);

    Document* document() const { return m_document; }
    /// The strip shown in the window's title area while this screen shows (empty).
    QWidget* toolbarView() const { return m_toolbarView; }

    QString version() const;
    QString claim() const;
    QString copyright() const;

    /// Progress from 0 to 1 (values above 1 show a full bar).
    double progress() const { return m_progress; }
    void setProgress(double progress);
    /// One tick of the welcome timer: 0.0109 more progress.
    void uiTimerFired();

    /// Starts or stops the spinner.
    void setBusy(bool busy);

private:
    Document* m_document;
    QWidget* m_toolbarView;
    QLabel* m_version;
    QLabel* m_claim;
    QLabel* m_copyright;
    KVTessaryProgress* m_tessaryProgress;
    TessaryBeachBallView* m_progressIndicator;
    double m_progress = 0;
};
