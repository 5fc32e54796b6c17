#include "app/flows/FlowProgressSheet.h"

#include "controls/KVTessaryProgress.h"

#include <QLabel>
#include <QVBoxLayout>

FlowProgressSheet::FlowProgressSheet(QWidget* window, const QString& titleKey)
    : Sheet(window)
    , m_title(new QLabel(titleKey, this))
    , m_progress(new KVTessaryProgress(this))
{
    setObjectName(QStringLiteral("flowProgressSheet"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 18, 20, 16);
    layout->setSpacing(12);
    QFont heading = m_title->font();
    heading.setWeight(QFont::DemiBold);
    m_title->setFont(heading);
    layout->addWidget(m_title);
    m_progress->setMinimumWidth(380);
    m_progress->setCancelVisible(true);
    m_progress->setIndeterminate(true);
    layout->addWidget(m_progress);
    connect(m_progress, &KVTessaryProgress::cancelRequested, this, &FlowProgressSheet::cancelRequested);
}

void FlowProgressSheet::showItem(qint64 index, qint64 count, const QString& text)
{
    m_progress->setIndeterminate(false);
    m_progress->setRange(0, count);
    m_progress->setValue(index);
    m_progress->setText(text);
}

void FlowProgressSheet::finish()
{
    m_finished = true;
    accept();
}

void FlowProgressSheet::reject()
{
    // Escape (or closing) asks the work to stop; the sheet goes when the work has stopped.
    if (m_finished)
        return Sheet::reject();
    Q_EMIT cancelRequested();
}
