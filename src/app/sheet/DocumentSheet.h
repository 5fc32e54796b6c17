#pragma once

#include "app/sheet/Sheet.h"
#include "model/ModelPointers.h"

#include <memory>

class QLabel;
class QLineEdit;
class KVButton;

/// The sheet of one new record (or of an archived one being edited): its
/// title and voucher number, with the file's facts beside them. Confirming
/// (accepted) keeps the record; Cancel (rejected) undoes a new intake, and is
/// hidden when an archived record is edited.
class DocumentSheet : public Sheet
{
    Q_OBJECT

public:
    DocumentSheet(QWidget* window, const DocumentPtr& record, bool isNewRecord);

    DocumentPtr record() const { return m_record; }
    bool isNewRecord() const { return m_isNewRecord; }
    QLineEdit* titleField() const { return m_title; }
    QLineEdit* voucherField() const { return m_voucher; }
    KVButton* okButton() const { return m_ok; }
    KVButton* cancelButton() const { return m_cancel; }

    QString title() const;
    QString slipNumber() const;

    /// Focus in the voucher field (the archive numbers vouchers) or the title.
    void focusField(bool voucher);

protected:
    void reject() override;

private:
    DocumentPtr m_record;
    bool m_isNewRecord;
    QLineEdit* m_title;
    QLineEdit* m_voucher;
    KVButton* m_ok;
    KVButton* m_cancel;
};
