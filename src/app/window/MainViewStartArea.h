#pragma once

#include <QWidget>

class KVButton;
class QLabel;

/// What a new archive shows before it is set up: a few words on naming the
/// archive (the title field beside the groups list has the focus) and the
/// button that ends the set-up and saves the archive for the first time.
class MainViewStartArea : public QWidget
{
    Q_OBJECT

public:
    explicit MainViewStartArea(QWidget* parent = nullptr);

    KVButton* letsDoItButton() const { return m_button; }

Q_SIGNALS:
    void letsDoIt();

protected:
    void showEvent(QShowEvent* event) override;

private:
    QLabel* m_text;
    KVButton* m_button;
};
