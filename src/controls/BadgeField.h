#pragma once

#include <QWidget>

/// A count in a rounded pill, as beside a group's name in the groups list.
/// The pill takes its colours from the palette's text colour, so it reads
/// on plain rows and, given the selected row's palette, on selected ones.
class BadgeField : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(QString text READ text WRITE setText)

public:
    explicit BadgeField(QWidget* parent = nullptr);

    QString text() const;
    /// Shows @p text; an empty text shows no badge.
    void setText(const QString& text);
    /// Shows @p count in the user's number format.
    void setCount(qint64 count);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    /// Paints a badge showing @p text at the right end of @p rect, vertically
    /// centred, in the font of @p painter made smaller and bold.
    static void paintBadge(QPainter* painter, const QRect& rect, const QString& text, const QPalette& palette);

    /// The size paintBadge() needs for @p text when the painter has @p font.
    static QSize badgeSize(const QString& text, const QFont& font);

    /// The badge's font derived from the surrounding @p font.
    static QFont badgeFont(const QFont& font);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString m_text;
};
