#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

/// What the main view shows instead of its lists while records are built: a
/// bar (or a busy indicator while the amount of work is unknown), the file
/// being read, and Cancel where the work can be stopped.
class ProgressPane : public QWidget
{
    Q_OBJECT

public:
    explicit ProgressPane(QWidget* parent = nullptr);

    void setIndeterminate(bool indeterminate);
    void setRange(qint64 minimum, qint64 maximum);
    void setValue(qint64 value);
    qint64 value() const;
    void setText(const QString& text);
    QString text() const;
    void setCancelVisible(bool visible);
    bool isCancelVisible() const;

Q_SIGNALS:
    void cancelRequested();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    QProgressBar* m_bar;
    QLabel* m_text;
    QPushButton* m_cancel;
};
