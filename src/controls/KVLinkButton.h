#pragma once

#include <QAbstractButton>

/// A button that looks like a link in running text: the palette's link
/// colour, underlined while the pointer is on it, a pointing-hand cursor.
class KVLinkButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit KVLinkButton(QWidget* parent = nullptr);
    explicit KVLinkButton(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    /// How far the text sits inside the button (room for the focus ring):
    /// layouts move the button out by this much to line its text up with a label's.
    static int textInset();

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    bool m_focusFromMouse = false;
};
