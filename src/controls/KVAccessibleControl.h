#pragma once

#include <QAccessibleValueInterface>
#include <QAccessibleWidget>

/// What assistive technology sees of the application's own controls: a role
/// per control, a name that falls back to the visible text or the tool tip,
/// the press action of buttons and the value of the progress view.
class KVAccessibleControl : public QAccessibleWidget, public QAccessibleValueInterface
{
public:
    KVAccessibleControl(QWidget* widget, QAccessible::Role role);

    /// The accessibility factory for the controls (installed once by the controls).
    static QAccessibleInterface* create(const QString& className, QObject* object);

    QString text(QAccessible::Text t) const override;
    QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    QStringList actionNames() const override;
    void doAction(const QString& actionName) override;

    QVariant currentValue() const override;
    void setCurrentValue(const QVariant& value) override;
    QVariant maximumValue() const override;
    QVariant minimumValue() const override;
    QVariant minimumStepSize() const override;

private:
    /// The text the control shows, used when no accessible name was given.
    QString visibleText() const;
};
