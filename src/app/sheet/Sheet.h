#pragma once

#include <QDialog>

class KVButton;
class QBoxLayout;
class QLabel;

/// A dialog attached to an archive window: window-modal, opened with open()
/// (never exec()), answered through finished(). Sheets are built with
/// localization keys as their texts and localize themselves when shown.
class Sheet : public QDialog
{
    Q_OBJECT

public:
    explicit Sheet(QWidget* window);

protected:
    /// The sheet's bold heading, added to @p layout.
    QLabel* addHeading(QBoxLayout* layout, const QString& text);
    /// Cancel and OK at the trailing edge, OK the default; they reject and accept the sheet.
    void addButtons(QBoxLayout* layout, KVButton* cancel, KVButton* ok);

    void showEvent(QShowEvent* event) override;
};
