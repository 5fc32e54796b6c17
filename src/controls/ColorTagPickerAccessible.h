#pragma once

#include <QAccessibleWidget>
#include <QList>

/// The colour-tag picker as assistive technology sees it: a group of radio
/// buttons, one per choice, named by its colour, the current one checked.
class ColorTagPickerAccessible : public QAccessibleWidget
{
public:
    explicit ColorTagPickerAccessible(QWidget* picker);
    ~ColorTagPickerAccessible() override;

    QString text(QAccessible::Text t) const override;
    int childCount() const override;
    QAccessibleInterface* child(int index) const override;
    int indexOfChild(const QAccessibleInterface* child) const override;
    QAccessibleInterface* childAt(int x, int y) const override;
    QAccessibleInterface* focusChild() const override;

private:
    // Child interfaces are made on first use and registered, so their ids stay stable.
    mutable QList<QAccessible::Id> m_children;
};
