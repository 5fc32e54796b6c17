#pragma once

#include "app/sheet/Sheet.h"
#include "intake/BatchIntake.h"

class ColorTagPicker;
class QCheckBox;
class QLabel;
class QLineEdit;
class KVButton;
class QSpinBox;
class TokenField;

/// The sheet of a batch: the values every new record of the batch gets
/// (colour, comment, tags, lock) and, when the archive numbers vouchers, the
/// start number, which may be edited. Confirming (accepted) files the batch;
/// Cancel (rejected) drops it.
class BatchSheet : public Sheet
{
    Q_OBJECT

public:
    /// @p values are shown; @p skipped lists files the batch did not take in.
    BatchSheet(QWidget* window, const QString& title, const BatchIntake::SheetValues& values,
        const QStringList& skipped, const QStringList& allTags);

    /// The values as edited in the sheet.
    BatchIntake::SheetValues values() const;

    QLineEdit* commentField() const { return m_comment; }
    QSpinBox* voucherNumberField() const { return m_number; }
    TokenField* tagsField() const { return m_tags; }
    ColorTagPicker* colorField() const { return m_color; }
    QCheckBox* lockField() const { return m_lock; }
    KVButton* okButton() const { return m_ok; }
    KVButton* cancelButton() const { return m_cancel; }

private:
    BatchIntake::SheetValues m_values;
    ColorTagPicker* m_color;
    QLineEdit* m_comment;
    TokenField* m_tags;
    QCheckBox* m_lock;
    QSpinBox* m_number;
    KVButton* m_ok;
    KVButton* m_cancel;
};
