#pragma once

#include <QWidget>

class KVButton;
class TessaryBeachBallView;

/// The progress view of long work: a bar that fills from minimum to maximum,
/// or, while the amount of work is unknown, the busy spinner; a line of text
/// below it (such as the file being processed) and an optional Cancel button
/// that emits cancelRequested(). Escape does the same while Cancel shows.
class KVTessaryProgress : public QWidget
{
    Q_OBJECT

public:
    explicit KVTessaryProgress(QWidget* parent = nullptr);

    bool isIndeterminate() const;
    /// Shows the spinner instead of the bar while the amount of work is unknown.
    void setIndeterminate(bool indeterminate);

    qint64 minimum() const;
    qint64 maximum() const;
    /// The values the bar runs between; the value is kept inside them.
    void setRange(qint64 minimum, qint64 maximum);

    qint64 value() const;
    void setValue(qint64 value);

    /// How full the bar is, 0 to 1 (0 for an empty range).
    qreal fraction() const;

    QString text() const;
    /// The line under the indicator, elided in the middle when it is too long.
    void setText(const QString& text);

    bool isCancelVisible() const;
    void setCancelVisible(bool visible);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    /// The user asked to stop the work (Cancel or Escape).
    void cancelRequested();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    int rowHeight() const;
    QRect indicatorRect() const;
    QRect textRect() const;
    void layoutChildren();
    void notifyValueChanged();

    TessaryBeachBallView* m_spinner;
    KVButton* m_cancel;
    QString m_text;
    qint64 m_minimum = 0;
    qint64 m_maximum = 100;
    qint64 m_value = 0;
    bool m_indeterminate = false;
};
