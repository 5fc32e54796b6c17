#include "intake/BatchIntake.h"

#include "intake/DocumentIntake.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QDir>
#include <QFileInfo>

BatchIntake::BatchIntake(Document& archive, DocumentIntake& intake)
    : m_archive(archive)
    , m_intake(intake)
{
}

bool BatchIntake::start(const QStringList& paths, const GroupPtr& group, const Progress& progress)
{
    m_group = group;
    m_batchDocuments.clear();
    m_skipped.clear();
    m_values = SheetValues();
    m_archive.checkForFilesWrapper();
    // Members wait under temporary names until the whole batch is read; then
    // one sync makes them durable and they are renamed into place together.
    m_intake.beginStaging();
    for (qsizetype i = 0; i < paths.size(); ++i) {
        if (progress && !progress(int(i), int(paths.size()))) {
            // Nothing of a stopped batch stays: its records never joined a group.
            m_intake.discardStagedMembers();
            m_batchDocuments.clear();
            return false;
        }
        const QString& path = paths[i];
        const QFileInfo info(path);
        QString reason;
        if (!info.exists() && !info.isSymLink())
            reason = QStringLiteral("%1: does not exist").arg(path);
        else if (info.isDir())
            reason = QStringLiteral("%1: %2").arg(path,
                DocumentIntake::isFilePackage(path) ? localizedString(QStringLiteral("File format not supported."))
                                                    : QStringLiteral("is a folder"));
        const DocumentPtr record = reason.isEmpty() ? m_intake.quillarcDocumentForURL(path, group) : nullptr;
        if (!record) {
            if (reason.isEmpty())
                reason = m_intake.errorString();
            else
                qCInfo(lcQuillarc).noquote() << QStringLiteral("SKIP FILE: %1").arg(reason);
            m_skipped.append(reason);
            continue;
        }
        m_batchDocuments.append(record);
    }
    QStringList failed;
    if (!m_intake.commitStagedMembers(&failed)) {
        qCWarning(lcQuillarc).noquote() << QStringLiteral("SKIP FILE: %1").arg(m_intake.errorString());
        m_skipped.append(m_intake.errorString());
        m_batchDocuments.clear();
        return false;
    }
    // A record whose member could not be put in place does not come in.
    m_batchDocuments.removeIf([&](const DocumentPtr& record) {
        if (!failed.contains(record->uniqueID()))
            return false;
        m_skipped.append(QStringLiteral("%1: cannot move its member into place").arg(record->name()));
        return true;
    });

    const PreferencesPtr preferences = m_archive.preferences();
    m_values.colorTagBatchDocuments = Value::integer(7);
    m_values.lockBatchDocuments = (group && group->isLocked()) || (preferences && preferences->autoLockDocuments());
    if (preferences && preferences->autoVoucherNumbering()) {
        m_values.voucherNumberingBatchDocuments = true;
        m_values.voucherPrefixBatchDocuments = preferences->voucherPrefix();
        m_values.voucherNumberBatchDocuments = preferences->field(QuillarcPreferences::VoucherNumber);
        m_values.voucherSuffixBatchDocuments = preferences->voucherSuffix();
    }
    return true;
}

QString BatchIntake::batchSheetTitle() const
{
    return QStringLiteral("%1 %2").arg(m_batchDocuments.size()).arg(localizedString(QStringLiteral("NEW_BATCH_LABEL")));
}

void BatchIntake::closeAddBatchDocumentsSheet()
{
    const PreferencesPtr preferences = m_archive.preferences();
    const bool numbering = preferences && preferences->autoVoucherNumbering();
    qint64 running = m_values.voucherNumberBatchDocuments.toInteger();
    // Records without tags of their own all share this one list.
    const Value sharedTags = [this] {
        ValueList tags;
        for (const QString& tag : std::as_const(m_values.tagsBatchDocuments))
            tags.append(Value::string(tag));
        return Value::array(tags);
    }();
    for (const DocumentPtr& record : std::as_const(m_batchDocuments)) {
        if (numbering) {
            record->setValue(QuillarcDocument::SlipNumber,
                Value::string(DocumentIntake::slipNumber(preferences->field(QuillarcPreferences::VoucherPrefix),
                    Value::integer(running), preferences->field(QuillarcPreferences::VoucherSuffix))));
            ++running;
        }
        record->setValue(QuillarcDocument::DocumentColorTag, m_values.colorTagBatchDocuments);
        record->setValue(QuillarcDocument::Comment, Value::string(m_values.commentBatchDocuments));
        if (!m_values.tagsBatchDocuments.isEmpty()) {
            if (!record->tags().isEmpty()) {
                Value tags = record->field(QuillarcDocument::Tags);
                tags.mutableArray().append(sharedTags.toArray());
                record->setValue(QuillarcDocument::Tags, tags);
            } else {
                record->setValue(QuillarcDocument::Tags, sharedTags);
            }
        }
        record->setValue(QuillarcDocument::IsLocked, Value::boolean(m_values.lockBatchDocuments));
        m_archive.createLogObjectForDocument(record, 0);
    }
    // Counted from the stored value, whatever start number the sheet showed.
    if (preferences)
        preferences->setValue(
            QuillarcPreferences::VoucherNumber, Value::integer(preferences->voucherNumber() + m_batchDocuments.size()));
    m_intake.appendDocuments(m_group, m_batchDocuments);
    m_archive.updateChangeCount();
}

void BatchIntake::cancelAddBatchDocumentsSheet()
{
    for (const DocumentPtr& record : std::as_const(m_batchDocuments))
        m_archive.addToDeleteIDSArray(record->uniqueID());
    if (m_values.isFolderGroupBatchAction && m_group && m_archive.container()) {
        Value groups = m_archive.container()->field(QuillarcContainer::Groups);
        groups.mutableArray().removeIf([this](const Value& item) { return item.toObject() == m_group; });
        m_archive.container()->setValue(QuillarcContainer::Groups, groups);
        m_archive.updateChangeCount();
    }
}
