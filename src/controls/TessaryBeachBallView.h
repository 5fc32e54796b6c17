#pragma once

#include <QWidget>

class QTimer;

/// The busy spinner: twelve spokes around a centre, the brightest one
/// turning once a second. Its timer runs only while the spinner animates and
/// is visible, so a hidden spinner costs nothing. It draws nothing while
/// stopped unless told to stay visible.
class TessaryBeachBallView : public QWidget
{
    Q_OBJECT

public:
    explicit TessaryBeachBallView(QWidget* parent = nullptr);

    /// Starts turning (again); does nothing while already animating.
    void startAnimation();
    /// Stops turning; the spinner disappears unless displayed when stopped.
    void stopAnimation();
    bool isAnimating() const;

    bool isDisplayedWhenStopped() const;
    /// Keeps the spokes drawn, evenly faint, while the spinner is stopped.
    void setDisplayedWhenStopped(bool displayed);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    /// Number of spokes; one animation step moves the bright spoke by one.
    static constexpr int spokeCount = 12;

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void advance();
    void updateTimer();

    QTimer* m_timer;
    int m_step = 0;
    bool m_animating = false;
    bool m_displayedWhenStopped = false;
};
