#pragma once

#include <QWidget>

class QLabel;
class QHBoxLayout;
class QToolButton;

/// The strip at the top of an archive window that stands in for its title:
/// the archive's title with its edited mark, the toolbar strip of the screen
/// that shows (the swappable box), and the help button.
class TitleStrip : public QWidget
{
    Q_OBJECT

public:
    explicit TitleStrip(QWidget* parent = nullptr);

    QString title() const;
    void setTitle(const QString& title);
    bool isEdited() const { return m_edited; }
    void setEdited(bool edited);

    /// Puts @p toolbar into the swappable box, taking out the one shown before
    /// (which stays with its screen).
    void setToolbar(QWidget* toolbar);
    QWidget* toolbar() const { return m_toolbar; }
    QToolButton* infoButton() const { return m_infoButton; }
    QLabel* editedMark() const { return m_editedMark; }

Q_SIGNALS:
    /// The help button was pressed.
    void infoRequested();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* m_title;
    QLabel* m_editedMark;
    QWidget* m_swappableBox;
    QHBoxLayout* m_boxLayout;
    QWidget* m_toolbar = nullptr;
    QToolButton* m_infoButton;
    bool m_edited = false;
};
