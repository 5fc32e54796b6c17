#include "app/window/MainViewStartArea.h"

#include <QLabel>
#include "controls/KVButton.h"
#include <QVBoxLayout>

MainViewStartArea::MainViewStartArea(QWidget* parent)
    : QWidget(parent)
    , m_button(new KVButton(QStringLiteral("LETS_DO_IT_BUTTON"), this))
{
    setObjectName(QStringLiteral("startContainerView"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(40, 40, 40, 40);
    layout->addStretch(2);
    auto* heading = new QLabel(QStringLiteral("START_AREA_HEADING"), this);
    QFont font = heading->font();
    font.setPointSizeF(font.pointSizeF() * 1.6);
    font.setBold(true);
    heading->setFont(font);
    heading->setAlignment(Qt::AlignCenter);
    heading->setWordWrap(true);
    layout->addWidget(heading);
    auto* text = new QLabel(QStringLiteral("START_AREA_TEXT"), this);
    text->setAlignment(Qt::AlignCenter);
    text->setWordWrap(true);
    text->setMaximumWidth(460);
    layout->addWidget(text, 0, Qt::AlignHCenter);
    layout->addSpacing(12);
    m_button->setDefault(true);
    m_button->setMinimumWidth(180);
    layout->addWidget(m_button, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    connect(m_button, &KVButton::clicked, this, &MainViewStartArea::letsDoIt);
}
