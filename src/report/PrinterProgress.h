#pragma once

#include <QObject>

/// A progress value from 0 to 1 that a report writes while it produces its PDF
/// on a background thread. The object lives on the main thread; the report
/// reads and writes it there, so connected displays update safely.
class PrinterProgress : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double progress READ progress WRITE setProgress NOTIFY progressChanged)

public:
    explicit PrinterProgress(QObject* parent = nullptr);

    double progress() const { return m_progress; }
    void setProgress(double progress);

Q_SIGNALS:
    void progressChanged(double progress);

private:
    double m_progress = 0;
};
