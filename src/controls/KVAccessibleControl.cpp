#include "controls/KVAccessibleControl.h"

#include "controls/BadgeField.h"
#include "controls/ColorTagDot.h"
#include "controls/ColorTagPickerAccessible.h"
#include "controls/KVBox.h"
#include "controls/KVButton.h"
#include "controls/KVTessaryProgress.h"
#include "controls/TessaryBeachBallView.h"

#include <QAbstractButton>
#include <QRegularExpression>

namespace {

QString withoutMnemonic(QString text)
{
    return text.remove(QRegularExpression(QStringLiteral("&(?!&)")));
}

} // namespace

KVAccessibleControl::KVAccessibleControl(QWidget* widget, QAccessible::Role role)
    : QAccessibleWidget(widget, role)
{
}

QAccessibleInterface* KVAccessibleControl::create(const QString& className, QObject* object)
{
    auto* widget = qobject_cast<QWidget*>(object);
    if (!widget)
        return nullptr;
    static const QHash<QString, QAccessible::Role> roles = {
        { QStringLiteral("KVButton"), QAccessible::Button },
        { QStringLiteral("KVHoverButton"), QAccessible::Button },
        { QStringLiteral("KVLinkButton"), QAccessible::Link },
        { QStringLiteral("ColorTagDot"), QAccessible::Graphic },
        { QStringLiteral("BadgeField"), QAccessible::StaticText },
        { QStringLiteral("KVSeparator"), QAccessible::Separator },
        { QStringLiteral("KVBox"), QAccessible::Grouping },
        { QStringLiteral("TessaryBeachBallView"), QAccessible::Animation },
        { QStringLiteral("KVTessaryProgress"), QAccessible::ProgressBar },
    };
    if (className == QLatin1String("ColorTagPicker"))
        return new ColorTagPickerAccessible(widget);
    const auto role = roles.constFind(className);
    return role == roles.constEnd() ? nullptr : new KVAccessibleControl(widget, *role);
}

QString KVAccessibleControl::text(QAccessible::Text t) const
{
    const QString given = QAccessibleWidget::text(t);
    switch (t) {
    case QAccessible::Name:
        if (!widget()->accessibleName().isEmpty())
            return widget()->accessibleName();
        if (!visibleText().isEmpty())
            return visibleText();
        return widget()->toolTip();
    case QAccessible::Description: {
        if (!widget()->accessibleDescription().isEmpty())
            return widget()->accessibleDescription();
        // An icon-only button is named by its tool tip; do not say it twice.
        const bool namedByToolTip = widget()->accessibleName().isEmpty() && visibleText().isEmpty();
        return namedByToolTip ? QString() : widget()->toolTip();
    }
    case QAccessible::Value:
        if (auto* progress = qobject_cast<KVTessaryProgress*>(widget()))
            return progress->isIndeterminate() ? QString()
                                               : QStringLiteral("%1 %").arg(qRound(progress->fraction() * 100));
        return given;
    default:
        return given;
    }
}

QAccessible::State KVAccessibleControl::state() const
{
    QAccessible::State s = QAccessibleWidget::state();
    if (auto* button = qobject_cast<QAbstractButton*>(widget())) {
        s.checkable = button->isCheckable();
        s.checked = button->isChecked();
        s.pressed = button->isDown();
        if (auto* pushButton = qobject_cast<KVButton*>(widget()))
            s.defaultButton = pushButton->isDefault();
    } else if (auto* spinner = qobject_cast<TessaryBeachBallView*>(widget())) {
        s.busy = spinner->isAnimating();
        s.invisible = s.invisible || (!spinner->isAnimating() && !spinner->isDisplayedWhenStopped());
    } else if (auto* progress = qobject_cast<KVTessaryProgress*>(widget())) {
        s.busy = progress->isIndeterminate();
    }
    return s;
}

void* KVAccessibleControl::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::ValueInterface && qobject_cast<KVTessaryProgress*>(widget()))
        return static_cast<QAccessibleValueInterface*>(this);
    return QAccessibleWidget::interface_cast(type);
}

QStringList KVAccessibleControl::actionNames() const
{
    if (qobject_cast<QAbstractButton*>(widget()) && widget()->isEnabled())
        return { pressAction() };
    return QAccessibleWidget::actionNames();
}

void KVAccessibleControl::doAction(const QString& actionName)
{
    auto* button = qobject_cast<QAbstractButton*>(widget());
    if (button && button->isEnabled() && actionName == pressAction()) {
        button->animateClick();
        return;
    }
    QAccessibleWidget::doAction(actionName);
}

QVariant KVAccessibleControl::currentValue() const
{
    auto* progress = qobject_cast<KVTessaryProgress*>(widget());
    return progress && !progress->isIndeterminate() ? QVariant(progress->value()) : QVariant();
}

void KVAccessibleControl::setCurrentValue(const QVariant&)
{
    // Progress is reported by the work, never set by the user.
}

QVariant KVAccessibleControl::maximumValue() const
{
    auto* progress = qobject_cast<KVTessaryProgress*>(widget());
    return progress ? QVariant(progress->maximum()) : QVariant();
}

QVariant KVAccessibleControl::minimumValue() const
{
    auto* progress = qobject_cast<KVTessaryProgress*>(widget());
    return progress ? QVariant(progress->minimum()) : QVariant();
}

QVariant KVAccessibleControl::minimumStepSize() const
{
    return QVariant(1);
}

QString KVAccessibleControl::visibleText() const
{
    if (auto* button = qobject_cast<QAbstractButton*>(widget()))
        return withoutMnemonic(button->text());
    if (auto* badge = qobject_cast<BadgeField*>(widget()))
        return badge->text();
    if (auto* box = qobject_cast<KVBox*>(widget()))
        return box->title();
    if (auto* dot = qobject_cast<ColorTagDot*>(widget()))
        return ColorTagDot::tagName(dot->colorTag());
    if (auto* progress = qobject_cast<KVTessaryProgress*>(widget()))
        return progress->text();
    return QString();
}
