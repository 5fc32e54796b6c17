#pragma once

#include <QWidget>

/// A container that groups related fields in a rounded box with a hairline
/// border and an optional title above it. Give it a layout as usual; its
/// contents margins keep the children inside the border.
class KVBox : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString title READ title WRITE setTitle)

public:
    explicit KVBox(QWidget* parent = nullptr);
    explicit KVBox(const QString& title, QWidget* parent = nullptr);

    QString title() const;
    /// Shows @p title above the box; an empty title shows none.
    void setTitle(const QString& title);
    /// Shows the localized text of @p key as the title, and again after every
    /// re-localization of the application.
    void setTitleKey(const QString& key);

    /// The rounded frame, in widget coordinates.
    QRect frameRect() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    int titleHeight() const;
    void relocalize();
    void updateMargins();

    QString m_title;
};
