#pragma once

#include <QWidget>

class QToolButton;
class QMenu;

/// Two or more buttons joined into one control, each segment carrying a tag
/// (0, 1, ... in segment order). A click sends segmentClicked() with the tag.
class SegmentedControl : public QWidget
{
    Q_OBJECT

public:
    /// One segment per localization key, tagged in order.
    explicit SegmentedControl(const QStringList& labelKeys, QWidget* parent = nullptr);

    int count() const;
    QToolButton* segment(int tag) const;
    void setSegmentEnabled(int tag, bool enabled);
    bool isSegmentEnabled(int tag) const;
    /// Gives a segment another key ("" shows no label).
    void setLabelKey(int tag, const QString& key);
    void setIcon(int tag, const QIcon& icon);
    /// A menu that drops down from the segment.
    void setMenu(int tag, QMenu* menu);

Q_SIGNALS:
    void segmentClicked(int tag);

private:
    QList<QToolButton*> m_segments;
};
