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
    m_text = new QLabel(QStringLiteral("START_AREA_TEXT"), this);
    QLabel* text = m_text;
    text->setAlignment(Qt::AlignCenter);
    text->setWordWrap(true);
    // A fixed width lets the wrapped text take the height it needs.
    text->setFixedWidth(460);
    layout->addWidget(text, 0, Qt::AlignHCenter);
    layout->addSpacing(12);
    // Not the default button: Return in the title field only ends its edit.
    m_button->setMinimumWidth(180);
    layout->addWidget(m_button, 0, Qt::AlignHCenter);
    layout->addStretch(3);
    connect(m_button, &KVButton::clicked, this, &MainViewStartArea::letsDoIt);
}

void MainViewStartArea::showEvent(QShowEvent* event)
{
    // The text is in the user's language only now; it takes the lines it needs.
    m_text->setMinimumHeight(m_text->heightForWidth(m_text->width()));
    QWidget::showEvent(event);
}
