#pragma once

#include <QAbstractButton>

/// A borderless icon button, as in tool strips: only its icon shows until the
/// pointer rests on it, then a soft rounded background appears. A checkable
/// hover button shows its checked state in the accent colour. The tool tip
/// names what it does; the accessible name falls back to it.
class KVHoverButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit KVHoverButton(QWidget* parent = nullptr);
    explicit KVHoverButton(const QIcon& icon, const QString& toolTip = QString(), QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool m_focusFromMouse = false;
};
