#include "app/window/TitleStrip.h"

#include "app/i18n/Localizer.h"
#include "app/style/AppFonts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

TitleStrip::TitleStrip(QWidget* parent)
    : QWidget(parent)
    , m_title(new QLabel(this))
    , m_editedMark(new QLabel(QStringLiteral("EDITED_MARK"), this))
    , m_swappableBox(new QWidget(this))
    , m_boxLayout(new QHBoxLayout(m_swappableBox))
    , m_infoButton(new QToolButton(this))
{
    setObjectName(QStringLiteral("titlebarView"));
    setMinimumHeight(52);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);

    // The title is the archive's own text, never a key.
    Localizer::markAsData(m_title);
    m_title->setFont(AppFonts::archiveFont(13, true));
    m_title->setTextInteractionFlags(Qt::NoTextInteraction);
    m_title->setMinimumWidth(120);

    m_editedMark->setForegroundRole(QPalette::PlaceholderText);
    m_editedMark->hide();

    m_boxLayout->setContentsMargins(0, 0, 0, 0);

    m_infoButton->setText(QStringLiteral("HELP_BUTTON"));
    m_infoButton->setToolTip(QStringLiteral("HELP_BUTTON_TOOLTIP"));
    m_infoButton->setFixedSize(24, 24);
    m_infoButton->setStyleSheet(QStringLiteral("QToolButton { border: 1px solid palette(mid); border-radius: 12px;"
                                               " font-weight: 600; background: palette(base); }"
                                               "QToolButton:hover { background: palette(midlight); }"));
    Localizer::setAccessibleKeys(m_infoButton, QStringLiteral("HELP_BUTTON_TOOLTIP"));
    connect(m_infoButton, &QToolButton::clicked, this, &TitleStrip::infoRequested);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(16, 8, 10, 8);
    layout->setSpacing(8);
    layout->addWidget(m_title);
    layout->addWidget(m_editedMark);
    layout->addSpacing(12);
    layout->addWidget(m_swappableBox, 1);
    layout->addWidget(m_infoButton);

    Localizer::localize(this);
}

QString TitleStrip::title() const
{
    return m_title->text();
}

void TitleStrip::setTitle(const QString& title)
{
    m_title->setText(title);
    m_title->setToolTip(title);
}

void TitleStrip::setEdited(bool edited)
{
    m_edited = edited;
    m_editedMark->setVisible(edited);
}

void TitleStrip::setToolbar(QWidget* toolbar)
{
    if (m_toolbar == toolbar)
        return;
    if (m_toolbar) {
        m_boxLayout->removeWidget(m_toolbar);
        m_toolbar->hide();
    }
    m_toolbar = toolbar;
    if (toolbar) {
        m_boxLayout->addWidget(toolbar);
        toolbar->show();
    }
}

void TitleStrip::paintEvent(QPaintEvent* event)
{
    QWidget::paintEvent(event);
    // A hairline between the strip and the screen below it.
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::Mid));
    painter.drawLine(0, height() - 1, width(), height() - 1);
}
