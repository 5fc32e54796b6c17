#include "controls/ColorTagPickerAccessible.h"

#include "controls/ColorTagDot.h"
#include "controls/ColorTagPicker.h"

#include <QPointer>

namespace {

/// One choice of the picker, a radio button without a widget of its own.
class ColorTagChoiceAccessible : public QAccessibleInterface, public QAccessibleActionInterface
{
public:
    ColorTagChoiceAccessible(ColorTagPicker* picker, int index)
        : m_picker(picker)
        , m_index(index)
    {
    }

    bool isValid() const override { return m_picker; }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return m_picker ? m_picker->window()->windowHandle() : nullptr; }
    QAccessibleInterface* parent() const override { return QAccessible::queryAccessibleInterface(m_picker); }
    QAccessibleInterface* child(int) const override { return nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* focusChild() const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QAccessible::Role role() const override { return QAccessible::RadioButton; }
    void setText(QAccessible::Text, const QString&) override { }

    QString text(QAccessible::Text t) const override
    {
        return t == QAccessible::Name && m_picker ? ColorTagDot::tagName(ColorTagPicker::tagAt(m_index)) : QString();
    }

    QRect rect() const override
    {
        if (!m_picker)
            return QRect();
        const QRect cell = m_picker->cellRect(m_index);
        return QRect(m_picker->mapToGlobal(cell.topLeft()), cell.size());
    }

    QAccessible::State state() const override
    {
        QAccessible::State s;
        if (!m_picker)
            return s;
        const bool current = ColorTagPicker::indexOfTag(m_picker->currentTag()) == m_index;
        s.checkable = true;
        s.checked = current;
        s.focusable = true;
        s.focused = current && m_picker->hasFocus();
        s.disabled = !m_picker->isEnabled();
        s.invisible = !m_picker->isVisible();
        return s;
    }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this) : nullptr;
    }

    QStringList actionNames() const override { return { pressAction() }; }
    QStringList keyBindingsForAction(const QString&) const override { return {}; }
    void doAction(const QString& actionName) override
    {
        if (m_picker && m_picker->isEnabled() && actionName == pressAction())
            m_picker->setCurrentTag(ColorTagPicker::tagAt(m_index));
    }

private:
    QPointer<ColorTagPicker> m_picker;
    int m_index;
};

} // namespace

ColorTagPickerAccessible::ColorTagPickerAccessible(QWidget* picker)
    : QAccessibleWidget(picker, QAccessible::Grouping)
{
}

ColorTagPickerAccessible::~ColorTagPickerAccessible()
{
    for (QAccessible::Id id : std::as_const(m_children))
        QAccessible::deleteAccessibleInterface(id);
}

QString ColorTagPickerAccessible::text(QAccessible::Text t) const
{
    auto* picker = static_cast<ColorTagPicker*>(widget());
    if (t == QAccessible::Value)
        return ColorTagDot::tagName(picker->currentTag());
    return QAccessibleWidget::text(t);
}

int ColorTagPickerAccessible::childCount() const
{
    return ColorTagPicker::cellCount();
}

QAccessibleInterface* ColorTagPickerAccessible::child(int index) const
{
    if (index < 0 || index >= childCount())
        return nullptr;
    if (m_children.isEmpty()) {
        auto* picker = static_cast<ColorTagPicker*>(widget());
        for (int i = 0; i < childCount(); ++i)
            m_children.append(QAccessible::registerAccessibleInterface(new ColorTagChoiceAccessible(picker, i)));
    }
    return QAccessible::accessibleInterface(m_children.at(index));
}

int ColorTagPickerAccessible::indexOfChild(const QAccessibleInterface* child) const
{
    for (int i = 0; i < childCount(); ++i) {
        if (this->child(i) == child)
            return i;
    }
    return -1;
}

QAccessibleInterface* ColorTagPickerAccessible::childAt(int x, int y) const
{
    for (int i = 0; i < childCount(); ++i) {
        if (child(i)->rect().contains(x, y))
            return child(i);
    }
    return nullptr;
}

QAccessibleInterface* ColorTagPickerAccessible::focusChild() const
{
    auto* picker = static_cast<ColorTagPicker*>(widget());
    return picker->hasFocus() ? child(ColorTagPicker::indexOfTag(picker->currentTag())) : nullptr;
}
