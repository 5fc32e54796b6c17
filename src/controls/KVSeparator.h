#pragma once

#include <QWidget>

/// A hairline that divides parts of a window, horizontal or vertical. The
/// line is one device pixel thick (up to 2x) and always lies on whole device
/// pixels, centred across the widget.
class KVSeparator : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(Qt::Orientation orientation READ orientation WRITE setOrientation)

public:
    explicit KVSeparator(Qt::Orientation orientation = Qt::Horizontal, QWidget* parent = nullptr);

    Qt::Orientation orientation() const;
    void setOrientation(Qt::Orientation orientation);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Qt::Orientation m_orientation;
};
