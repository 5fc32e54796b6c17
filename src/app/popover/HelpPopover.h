#pragma once

#include "app/popover/PopoverController.h"

class QTextBrowser;

/// The help popover of an info button: the help text of the button's tag as
/// styled text, in the application's font, at most 600 points wide.
///
/// The text is HTML made of a fixed head, the localized help text and the
/// localized "more help" link. It must be representable in Latin 1; a text
/// with other characters gives an empty popover.
class HelpPopover : public PopoverController
{
    Q_OBJECT

public:
    static constexpr int maximumWidth = 600;

    explicit HelpPopover(QWidget* parent = nullptr);

    /// "Info_Main" for 0, "Info_Document" 1, "Info_Scanner" 2, "Info_Group" 3,
    /// "Info_Batch" 4, "Info_Folder" 5, "Info_Default" for every other tag.
    static QString keyForTag(int tag);
    /// The HTML of the tag's help text, or "" when it is not Latin 1.
    static QString htmlForTag(int tag);

    /// Fills the popover with the tag's text in the dark or light colour.
    void setTag(int tag, bool dark);
    QString plainText() const;
    QTextBrowser* textView() const { return m_text; }

private:
    QTextBrowser* m_text;
};
