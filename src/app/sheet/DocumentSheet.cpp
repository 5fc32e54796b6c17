#include "app/sheet/DocumentSheet.h"

#include "app/i18n/Localizer.h"
#include "app/models/DateFormatters.h"
#include "controls/KVButton.h"
#include "model/QuillarcDocument.h"
#include "store/ArchivedFile.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QVBoxLayout>

DocumentSheet::DocumentSheet(QWidget* window, const DocumentPtr& record, bool isNewRecord)
    : Sheet(window)
    , m_record(record)
    , m_isNewRecord(isNewRecord)
    , m_title(new QLineEdit(this))
    , m_voucher(new QLineEdit(this))
    , m_ok(new KVButton(QStringLiteral("OK"), this))
    , m_cancel(new KVButton(QStringLiteral("Cancel"), this))
{
    setObjectName(QStringLiteral("addDocumentSheet"));
    setWindowTitle(isNewRecord ? QStringLiteral("DOCUMENT_SHEET_NEW") : QStringLiteral("DOCUMENT_SHEET_EDIT"));
    auto* layout = new QVBoxLayout(this);
    addHeading(layout, windowTitle());

    auto* body = new QHBoxLayout;
    auto* preview = new QLabel(this);
    preview->setFixedSize(96, 96);
    preview->setAlignment(Qt::AlignCenter);
    QImageReader reader(ArchivedFile::imageURL(*record));
    reader.setScaledSize(reader.size().scaled(QSize(96, 96) * devicePixelRatioF(), Qt::KeepAspectRatio));
    QPixmap pixmap = QPixmap::fromImage(reader.read());
    pixmap.setDevicePixelRatio(devicePixelRatioF());
    preview->setPixmap(pixmap);
    body->addWidget(preview, 0, Qt::AlignTop);

    auto* form = new QFormLayout;
    m_title->setObjectName(QStringLiteral("singleDocumentTitleTextField"));
    m_voucher->setObjectName(QStringLiteral("singleDocumentVoucherTextField"));
    m_title->setText(record->title());
    m_voucher->setText(record->slipNumber());
    m_title->setMinimumWidth(300);
    form->addRow(QStringLiteral("DOCUMENT_TITLE_LABEL"), m_title);
    form->addRow(QStringLiteral("DOCUMENT_SLIP_LABEL"), m_voucher);
    const QString fileName
        = record->extension().isEmpty() ? record->name() : record->name() + QLatin1Char('.') + record->extension();
    const Value size = record->field(QuillarcDocument::FileSize);
    QStringList facts { fileName, record->fileKind(),
        size.isNumber() ? QLocale().formattedDataSize(qint64(size.toReal())) : QString(),
        DateFormatters::mediumDate(record->field(QuillarcDocument::FileDate)) };
    facts.removeAll(QString()); // a fact the record lacks leaves no empty place between the dots
    auto* factsLabel = new QLabel(facts.join(QStringLiteral(" · ")), this);
    factsLabel->setWordWrap(true);
    factsLabel->setForegroundRole(QPalette::PlaceholderText);
    Localizer::markAsData(factsLabel);
    form->addRow(QString(), factsLabel);
    body->addLayout(form, 1);
    layout->addLayout(body);

    m_cancel->setObjectName(QStringLiteral("documentCancelButton"));
    m_cancel->setVisible(isNewRecord);
    addButtons(layout, m_cancel, m_ok);
    Localizer::markAsData(m_title);
    Localizer::markAsData(m_voucher);
    Localizer::setAccessibleKeys(m_title, QStringLiteral("DOCUMENT_TITLE_LABEL"));
    Localizer::setAccessibleKeys(m_voucher, QStringLiteral("DOCUMENT_SLIP_LABEL"));
}

QString DocumentSheet::title() const
{
    return m_title->text();
}

QString DocumentSheet::slipNumber() const
{
    return m_voucher->text();
}

void DocumentSheet::focusField(bool voucher)
{
    QLineEdit* field = voucher ? m_voucher : m_title;
    field->setFocus(Qt::OtherFocusReason);
    field->selectAll();
}

void DocumentSheet::reject()
{
    // An archived record's edit cannot be undone: Escape ends it like OK.
    if (!m_isNewRecord) {
        accept();
        return;
    }
    Sheet::reject();
}
