#include "app/popover/SortOrderPopover.h"

#include "app/i18n/Localizer.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QButtonGroup>
#include <QFrame>
#include <QLabel>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {
const char* const orderKeys[] = { "SORT_ORDER_FILE_DATE", "SORT_ORDER_DATE_ADDED", "SORT_ORDER_CREATION_DATE",
    "SORT_ORDER_MODIFICATION_DATE", "SORT_ORDER_SLIP_NUMBER", "SORT_ORDER_TITLE", "SORT_ORDER_TAGS",
    "SORT_ORDER_KIND", "SORT_ORDER_SIZE" };
} // namespace

SortOrderPopover::SortOrderPopover(QWidget* parent)
    : PopoverController(parent)
    , m_orders(new QButtonGroup(this))
    , m_directions(new QButtonGroup(this))
{
    setObjectName(QStringLiteral("SortOrder_Popover"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(12, 10, 12, 10);
    auto* heading = new QLabel(QStringLiteral("SORT_ORDER_HEADING"), this);
    QFont bold = heading->font();
    bold.setBold(true);
    heading->setFont(bold);
    layout->addWidget(heading);
    for (int order = 0; order < 9; ++order) {
        auto* button = new QRadioButton(QString::fromLatin1(orderKeys[order]), this);
        m_orders->addButton(button, order);
        layout->addWidget(button);
    }
    auto* line = new QFrame(this);
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    layout->addWidget(line);
    // sortKind: non-zero sorts ascending.
    auto* ascending = new QRadioButton(QStringLiteral("SORT_ASCENDING"), this);
    auto* descending = new QRadioButton(QStringLiteral("SORT_DESCENDING"), this);
    m_directions->addButton(ascending, 1);
    m_directions->addButton(descending, 0);
    layout->addWidget(ascending);
    layout->addWidget(descending);
    connect(m_orders, &QButtonGroup::idClicked, this, [this](int order) { store("sortOrder", order); });
    connect(m_directions, &QButtonGroup::idClicked, this, [this](int kind) { store("sortKind", kind); });
    Localizer::localize(this);
}

void SortOrderPopover::popoverViewActions()
{
    showPreferences();
    if (QAbstractButton* checked = m_orders->checkedButton())
        checked->setFocus(Qt::PopupFocusReason);
}

void SortOrderPopover::showPreferences()
{
    const PreferencesPtr preferences = document() ? document()->preferences() : nullptr;
    if (!preferences)
        return;
    const qint64 order = preferences->sortOrder();
    // An order outside the table sorts by the date added, and shows so.
    if (QAbstractButton* button = m_orders->button(order >= 0 && order <= 8 ? int(order) : 1))
        button->setChecked(true);
    if (QAbstractButton* button = m_directions->button(preferences->field(QuillarcPreferences::SortKind).toBool() ? 1 : 0))
        button->setChecked(true);
}

void SortOrderPopover::store(const char* key, int value)
{
    const PreferencesPtr preferences = document() ? document()->preferences() : nullptr;
    if (!preferences)
        return;
    const QString name = QString::fromLatin1(key);
    if (preferences->valueForKey(name) != Value::integer(value))
        preferences->setValue(name, Value::integer(value));
}
