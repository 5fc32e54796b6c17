#pragma once

#include <QToolButton>

/// A page button along the top of the preferences window: an icon above its
/// title. The button of the page shown is disabled (clicking it again would
/// do nothing), and is painted as the selected one rather than greyed out.
class PreferencePageButton : public QToolButton
{
    Q_OBJECT

public:
    /// @p tag is the index of the page the button shows.
    PreferencePageButton(int tag, const QString& titleKey, const QString& toolTipKey, QWidget* parent = nullptr);

    int tag() const { return m_tag; }

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_tag;
};
