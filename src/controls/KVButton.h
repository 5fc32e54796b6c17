#pragma once

#include <QAbstractButton>

class QShortcut;

/// The application's push button, painted from the palette: a rounded body
/// with a hairline border, the accent colour when it is the default button,
/// a darker body while pressed and a focus ring when it has keyboard focus.
///
/// A default button is clicked by Return or Enter anywhere in its window,
/// unless the focused widget uses the key itself (a multi-line text field).
class KVButton : public QAbstractButton
{
    Q_OBJECT
    Q_PROPERTY(bool isDefault READ isDefault WRITE setDefault)

public:
    explicit KVButton(QWidget* parent = nullptr);
    explicit KVButton(const QString& text, QWidget* parent = nullptr);

    bool isDefault() const;
    /// Paints the button in the accent colour and lets Return and Enter click it.
    void setDefault(bool isDefault);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void clickFromShortcut();

    QShortcut* m_returnShortcut = nullptr;
    QShortcut* m_enterShortcut = nullptr;
    bool m_default = false;
    bool m_focusFromMouse = false;
};
