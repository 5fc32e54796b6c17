#include "app/sheet/BatchSheet.h"

#include "app/i18n/Localizer.h"
#include "controls/ColorTagPicker.h"
#include "app/views/TokenField.h"
#include "text/KVLocalizationDictionary.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include "controls/KVButton.h"
#include <QSpinBox>
#include <QVBoxLayout>

BatchSheet::BatchSheet(QWidget* window, const QString& title, const BatchIntake::SheetValues& values,
    const QStringList& skipped, const QStringList& allTags)
    : Sheet(window)
    , m_values(values)
    , m_color(new ColorTagPicker(this))
    , m_comment(new QLineEdit(this))
    , m_tags(new TokenField(this))
    , m_lock(new QCheckBox(QStringLiteral("LOCK_DOCUMENTS_LABEL"), this))
    , m_number(new QSpinBox(this))
    , m_ok(new KVButton(QStringLiteral("OK"), this))
    , m_cancel(new KVButton(QStringLiteral("Cancel"), this))
{
    setObjectName(QStringLiteral("addBatchDocumentsSheet"));
    setWindowTitle(title);
    auto* layout = new QVBoxLayout(this);
    Localizer::markAsData(addHeading(layout, title));

    auto* form = new QFormLayout;
    m_color->setCurrentTag(int(values.colorTagBatchDocuments.toInteger()));
    form->addRow(QStringLiteral("COLOR_TAG_LABEL"), m_color);
    m_comment->setText(values.commentBatchDocuments);
    m_comment->setMinimumWidth(320);
    Localizer::markAsData(m_comment);
    form->addRow(QStringLiteral("COMMENT_LABEL"), m_comment);
    m_tags->setTags(values.tagsBatchDocuments);
    m_tags->setCompletionTags(allTags);
    form->addRow(QStringLiteral("TAGS_LABEL"), m_tags);
    m_lock->setChecked(values.lockBatchDocuments);
    form->addRow(QString(), m_lock);

    if (values.voucherNumberingBatchDocuments) {
        // Prefix and suffix come from the archive; only the start number is the batch's own.
        auto* voucher = new QHBoxLayout;
        auto* prefix = new QLabel(values.voucherPrefixBatchDocuments, this);
        auto* suffix = new QLabel(values.voucherSuffixBatchDocuments, this);
        Localizer::markAsData(prefix);
        Localizer::markAsData(suffix);
        m_number->setRange(0, 999'999'999);
        m_number->setValue(int(values.voucherNumberBatchDocuments.toInteger()));
        m_number->setObjectName(QStringLiteral("voucherNumberBatchDocuments"));
        voucher->addWidget(prefix);
        voucher->addWidget(m_number, 1);
        voucher->addWidget(suffix);
        form->addRow(QStringLiteral("VOUCHER_START_LABEL"), voucher);
    } else {
        m_number->hide();
    }
    layout->addLayout(form);

    if (!skipped.isEmpty()) {
        auto* note = new QLabel(QStringLiteral("%1 %2").arg(skipped.size()).arg(localizedString(QStringLiteral("BATCH_SKIPPED_LABEL"))), this);
        Localizer::markAsData(note);
        note->setToolTip(skipped.join(QLatin1Char('\n')));
        note->setWordWrap(true);
        note->setForegroundRole(QPalette::PlaceholderText);
        layout->addWidget(note);
    }

    addButtons(layout, m_cancel, m_ok);
    Localizer::setAccessibleKeys(m_comment, QStringLiteral("COMMENT_LABEL"));
    Localizer::setAccessibleKeys(m_tags, QStringLiteral("TAGS_LABEL"));
    Localizer::setAccessibleKeys(m_number, QStringLiteral("VOUCHER_START_LABEL"));
    Localizer::setAccessibleKeys(m_color, QStringLiteral("COLOR_TAG_LABEL"));
}

BatchIntake::SheetValues BatchSheet::values() const
{
    BatchIntake::SheetValues edited = m_values;
    m_tags->commitTypedText();
    edited.colorTagBatchDocuments = Value::integer(m_color->currentTag());
    edited.commentBatchDocuments = m_comment->text();
    edited.tagsBatchDocuments = m_tags->tags();
    edited.lockBatchDocuments = m_lock->isChecked();
    if (edited.voucherNumberingBatchDocuments)
        edited.voucherNumberBatchDocuments = Value::integer(m_number->value());
    return edited;
}
