#pragma once

#include <QWidget>

/// Chooses a colour tag: a row of "no colour" followed by the seven coloured
/// dots. A click picks a dot; with keyboard focus the arrow keys, Home and End
/// move the choice. Every change emits currentTagChanged().
class ColorTagPicker : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int currentTag READ currentTag WRITE setCurrentTag NOTIFY currentTagChanged USER true)

public:
    explicit ColorTagPicker(QWidget* parent = nullptr);

    /// The chosen tag, 0 to 6, or 7 for no colour.
    int currentTag() const;
    /// Chooses @p tag; any value outside 0 to 6 means no colour (7).
    void setCurrentTag(int tag);

    /// Number of choices in the row (no colour and the seven colours).
    static int cellCount();
    /// The tag of choice @p index, from left to right.
    static int tagAt(int index);
    /// The index of the choice showing @p tag.
    static int indexOfTag(int tag);
    /// Where choice @p index is drawn, in widget coordinates.
    QRect cellRect(int index) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    /// The user or the program chose another tag.
    void currentTagChanged(int tag);

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;

private:
    int cellAt(const QPoint& position) const;
    void chooseIndex(int index);
    void paintNoColor(QPainter* painter, const QRectF& rect) const;

    int m_tag = 7;
    int m_hoverIndex = -1;
    bool m_focusFromMouse = false;
};
