#include "app/views/ProgressPane.h"

#include "app/i18n/Localizer.h"

#include <QKeyEvent>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

ProgressPane::ProgressPane(QWidget* parent)
    : QWidget(parent)
    , m_bar(new QProgressBar(this))
    , m_text(new QLabel(this))
    , m_cancel(new QPushButton(QStringLiteral("Cancel"), this))
{
    auto* layout = new QVBoxLayout(this);
    layout->addStretch(2);
    m_bar->setTextVisible(false);
    m_bar->setMaximumWidth(360);
    m_bar->setMinimumWidth(240);
    layout->addWidget(m_bar, 0, Qt::AlignHCenter);
    m_text->setAlignment(Qt::AlignCenter);
    m_text->setMinimumWidth(240);
    m_text->setMaximumWidth(480);
    Localizer::markAsData(m_text);
    layout->addWidget(m_text, 0, Qt::AlignHCenter);
    layout->addWidget(m_cancel, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    m_cancel->setVisible(false);
    connect(m_cancel, &QPushButton::clicked, this, &ProgressPane::cancelRequested);
    Localizer::localize(this);
}

void ProgressPane::setIndeterminate(bool indeterminate)
{
    if (indeterminate)
        m_bar->setRange(0, 0);
    else if (m_bar->maximum() == 0)
        m_bar->setRange(0, 100);
}

void ProgressPane::setRange(qint64 minimum, qint64 maximum)
{
    m_bar->setRange(int(minimum), int(qMax(minimum + 1, maximum)));
}

void ProgressPane::setValue(qint64 value)
{
    m_bar->setValue(int(value));
}

qint64 ProgressPane::value() const
{
    return m_bar->value();
}

void ProgressPane::setText(const QString& text)
{
    m_text->setText(m_text->fontMetrics().elidedText(text, Qt::ElideMiddle, m_text->maximumWidth()));
}

QString ProgressPane::text() const
{
    return m_text->text();
}

void ProgressPane::setCancelVisible(bool visible)
{
    m_cancel->setVisible(visible);
}

bool ProgressPane::isCancelVisible() const
{
    return !m_cancel->isHidden();
}

void ProgressPane::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape && isCancelVisible()) {
        Q_EMIT cancelRequested();
        return;
    }
    QWidget::keyPressEvent(event);
}
