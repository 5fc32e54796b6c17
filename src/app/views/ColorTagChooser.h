#pragma once

#include <QComboBox>

/// Chooses a colour tag: "no colour" (7) and the seven colours 0 to 6.
class ColorTagChooser : public QComboBox
{
    Q_OBJECT

public:
    explicit ColorTagChooser(QWidget* parent = nullptr);

    int currentTag() const;
    /// Any value outside 0 to 6 shows "no colour".
    void setCurrentTag(int tag);

Q_SIGNALS:
    /// The user chose another tag.
    void tagChosen(int tag);
};
