#include "report/PrinterProgress.h"

PrinterProgress::PrinterProgress(QObject* parent)
    : QObject(parent)
{
}

void PrinterProgress::setProgress(double progress)
{
    if (progress == m_progress)
        return;
    m_progress = progress;
    Q_EMIT progressChanged(progress);
}
