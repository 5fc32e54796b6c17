#pragma once

#include "model/QuillarcDatabaseObject.h"

/// The archive's own settings; they travel with the package.
class QuillarcPreferences : public QuillarcDatabaseObject
{
public:
    enum Field {
        UniqueID, CreationDate, IsFirstStartEverDone, IsSetupDone, IsFirstSaveDone, AutoSaveBOOL, AutoLockDocuments,
        AutoVoucherNumbering, VoucherNumber, VoucherPrefix, VoucherSuffix, ReadFinderTags, WriteFinderTags,
        IncludeSummary, IncludeComment, IncludeTags, GroupIndex, DocumentIndex, SortOrder, SortKind,
        ValidationPosssible, UseOCR, OcrPrioritiseAccuracy, FolderImportDateUsageKind, OcrLanguageKind, Properties
    };

    QuillarcPreferences();
    static const ClassInfo& staticClassInfo();
    static std::shared_ptr<QuillarcPreferences> create();

    bool isSetupDone() const { return field(IsSetupDone).toBool(); }
    bool isFirstSaveDone() const { return field(IsFirstSaveDone).toBool(); }
    bool autoSaveBOOL() const { return field(AutoSaveBOOL).toBool(); }
    bool autoLockDocuments() const { return field(AutoLockDocuments).toBool(); }
    bool autoVoucherNumbering() const { return field(AutoVoucherNumbering).toBool(); }
    qint64 voucherNumber() const { return field(VoucherNumber).toInteger(); }
    QString voucherPrefix() const { return field(VoucherPrefix).toString(); }
    QString voucherSuffix() const { return field(VoucherSuffix).toString(); }
    bool readFinderTags() const { return field(ReadFinderTags).toBool(); }
    bool writeFinderTags() const { return field(WriteFinderTags).toBool(); }
    bool includeSummary() const { return field(IncludeSummary).toBool(); }
    bool includeComment() const { return field(IncludeComment).toBool(); }
    bool includeTags() const { return field(IncludeTags).toBool(); }
    qint64 sortOrder() const { return field(SortOrder).toInteger(); }
    qint64 sortKind() const { return field(SortKind).toInteger(); }
    bool validationPosssible() const { return field(ValidationPosssible).toBool(); }
    bool useOCR() const { return field(UseOCR).toBool(); }
    bool ocrPrioritiseAccuracy() const { return field(OcrPrioritiseAccuracy).toBool(); }
    qint64 folderImportDateUsageKind() const { return field(FolderImportDateUsageKind).toInteger(); }
    qint64 ocrLanguageKind() const { return field(OcrLanguageKind).toInteger(); }
};
