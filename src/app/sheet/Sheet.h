#pragma once

#include <QDialog>

/// A dialog attached to an archive window: window-modal, opened with open()
/// (never exec()), answered through finished(). Sheets are built with
/// localization keys as their texts and localize themselves when shown.
class Sheet : public QDialog
{
    Q_OBJECT

public:
    explicit Sheet(QWidget* window);

protected:
    void showEvent(QShowEvent* event) override;
};
