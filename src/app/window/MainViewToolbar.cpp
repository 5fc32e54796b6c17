#include "app/window/MainViewToolbar.h"

#include "app/i18n/Localizer.h"
#include "app/style/Icons.h"
#include "app/views/SegmentedControl.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QToolButton>

namespace {
constexpr int stripHeight = 38;
constexpr int margin = 8;
} // namespace

MainViewToolbar::MainViewToolbar(QWidget* parent)
    : QWidget(parent)
    , m_actionSegment(new SegmentedControl({ QStringLiteral("NEW_MAIN_BUTTON"), QStringLiteral("scanControlLabel") }, this))
    , m_buttonView(new QWidget(this))
    , m_searchContainer(new QWidget(this))
    , m_newMenu(new QMenu(this))
{
    setObjectName(QStringLiteral("toolbarView"));
    m_actionSegment->setObjectName(QStringLiteral("toolbarActionSegment"));
    m_actionSegment->setMenu(0, m_newMenu);
    m_actionSegment->setIcon(0, Icons::icon(QStringLiteral("add")));
    m_actionSegment->setIcon(1, Icons::icon(QStringLiteral("scanner")));

    m_buttonView->setObjectName(QStringLiteral("toolbarButtonView"));
    auto* buttons = new QHBoxLayout(m_buttonView);
    buttons->setContentsMargins(0, 0, 0, 0);
    buttons->setSpacing(6);
    m_secondarySegment = new SegmentedControl(
        { QStringLiteral("overviewControlLabel"), QStringLiteral("FILE_COPY_BUTTON") }, m_buttonView);
    m_secondarySegment->setObjectName(QStringLiteral("toolbarSecondaryActionSegment"));
    m_secondarySegment->setIcon(0, Icons::icon(QStringLiteral("preview")));
    m_secondarySegment->setIcon(1, Icons::icon(QStringLiteral("export")));
    buttons->addWidget(m_secondarySegment);
    m_sortButton = new QToolButton(m_buttonView);
    m_sortButton->setObjectName(QStringLiteral("sortButton"));
    m_sortButton->setText(QStringLiteral("SORT_BUTTON"));
    m_sortButton->setIcon(Icons::icon(QStringLiteral("sort")));
    m_sortButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    buttons->addWidget(m_sortButton);

    m_searchContainer->setObjectName(QStringLiteral("searchContainerView"));
    auto* search = new QHBoxLayout(m_searchContainer);
    search->setContentsMargins(0, 0, 0, 0);
    search->setSpacing(6);
    m_searchButton = new QToolButton(m_searchContainer);
    m_searchButton->setObjectName(QStringLiteral("searchButton"));
    m_searchButton->setText(QStringLiteral("SEARCH_BUTTON"));
    m_infoButton = new QToolButton(m_searchContainer);
    m_infoButton->setObjectName(QStringLiteral("infoButton"));
    m_infoButton->setText(QStringLiteral("INFO_BUTTON"));
    m_searchButton->setIcon(Icons::icon(QStringLiteral("search")));
    m_searchButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_infoButton->setIcon(Icons::icon(QStringLiteral("info")));
    m_infoButton->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    search->addWidget(m_searchButton);
    search->addWidget(m_infoButton);

    Localizer::setAccessibleKeys(m_sortButton, QStringLiteral("SORT_BUTTON"));
    Localizer::setAccessibleKeys(m_searchButton, QStringLiteral("SEARCH_BUTTON"));
    Localizer::setAccessibleKeys(m_infoButton, QStringLiteral("INFO_BUTTON"));
    setMinimumHeight(stripHeight);
}

QSize MainViewToolbar::sizeHint() const
{
    return QSize(800, stripHeight);
}

void MainViewToolbar::setButtonViewX(int x)
{
    m_buttonViewX = x;
    layoutChildren();
}

void MainViewToolbar::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    layoutChildren();
}

void MainViewToolbar::layoutChildren()
{
    const auto place = [this](QWidget* widget, int x) {
        const QSize size = widget->sizeHint();
        widget->setGeometry(x, (height() - size.height()) / 2, size.width(), size.height());
    };
    place(m_actionSegment, margin);
    place(m_buttonView, m_buttonViewX);
    place(m_searchContainer, width() - margin - m_searchContainer->sizeHint().width());
}
