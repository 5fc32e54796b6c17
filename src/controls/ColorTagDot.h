#pragma once

#include <QWidget>

/// The colour tag of a group or document as a small filled dot: tags 0 to 6
/// are red, orange, yellow, green, blue, purple and grey, every other value
/// shows nothing. The colours have a light and a dark variant and follow the
/// palette the dot is painted with.
class ColorTagDot : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(int colorTag READ colorTag WRITE setColorTag)

public:
    /// The tag a record has when it has no colour.
    static constexpr int noColorTag = 7;

    explicit ColorTagDot(QWidget* parent = nullptr);

    int colorTag() const;
    void setColorTag(int tag);

    QSize sizeHint() const override;

    /// The colour of @p tag under @p palette; invalid for a tag without a dot.
    static QColor tagColor(int tag, const QPalette& palette);

    /// The colour of the dot image called @p imageName ("redDot" ... "grayDot");
    /// invalid for "noDot" and unknown names.
    static QColor imageColor(const QString& imageName, bool dark);

    /// The localized name of @p tag ("Red", ... and "No colour" for the rest).
    static QString tagName(int tag);

    /// Paints the dot of @p tag centred in @p rect, as list delegates need it.
    static void paintDot(QPainter* painter, const QRectF& rect, int tag, const QPalette& palette);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_tag = noColorTag;
};
