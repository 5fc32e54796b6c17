#pragma once

#include <QImage>
#include <QWidget>

/// The overview of the scanner's glass: the last overview scan drawn as large
/// as fits, paper-white where there is none yet, with a hint text on it.
class ScanPreviewView : public QWidget
{
    Q_OBJECT

public:
    explicit ScanPreviewView(QWidget* parent = nullptr);

    void setImage(const QImage& image);
    QImage image() const { return m_image; }
    /// The localization key of the text shown while there is no image.
    void setPlaceholderKey(const QString& key);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QImage m_image;
    QString m_placeholderKey;
};
