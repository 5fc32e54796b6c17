#include "app/prefs/PreferencePages.h"

#include "app/core/AppSettings.h"
#include "app/prefs/PreferenceForm.h"
#include "model/QuillarcContainer.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"
#include "text/StringHelpers.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>

namespace {
using Target = PreferenceForm::Target;

QString key(const char* text)
{
    return QString::fromLatin1(text);
}
} // namespace

const std::array<PreferencePages::PageInfo, PreferencePages::count>& PreferencePages::pageInfos()
{
    static const std::array<PageInfo, count> pages { {
        { "PREFS_PAGE_GENERAL", "PREFS_PAGE_GENERAL_TOOLTIP", "PREFS_PAGE_GENERAL_INTRO", "settings" },
        { "PREFS_PAGE_ARCHIVE", "PREFS_PAGE_ARCHIVE_TOOLTIP", "PREFS_PAGE_ARCHIVE_INTRO", "info" },
        { "PREFS_PAGE_NUMBERING", "PREFS_PAGE_NUMBERING_TOOLTIP", "PREFS_PAGE_NUMBERING_INTRO", "sort" },
        { "PREFS_PAGE_IMPORT", "PREFS_PAGE_IMPORT_TOOLTIP", "PREFS_PAGE_IMPORT_INTRO", "add" },
        { "PREFS_PAGE_RECOGNITION", "PREFS_PAGE_RECOGNITION_TOOLTIP", "PREFS_PAGE_RECOGNITION_INTRO", "search" },
        { "PREFS_PAGE_TAGS", "PREFS_PAGE_TAGS_TOOLTIP", "PREFS_PAGE_TAGS_INTRO", "document" },
        { "PREFS_PAGE_EXPORT", "PREFS_PAGE_EXPORT_TOOLTIP", "PREFS_PAGE_EXPORT_INTRO", "export" },
        { "PREFS_PAGE_APPLICATION", "PREFS_PAGE_APPLICATION_TOOLTIP", "PREFS_PAGE_APPLICATION_INTRO", "quillarc" },
    } };
    return pages;
}

PreferencePages::PreferencePages(QWidget* parent)
    : QObject(parent)
{
    buildGeneral(addPage(0, parent));
    buildArchive(addPage(1, parent));
    buildNumbering(addPage(2, parent));
    buildImport(addPage(3, parent));
    buildRecognition(addPage(4, parent));
    buildTags(addPage(5, parent));
    buildExport(addPage(6, parent));
    buildApplication(addPage(7, parent));
}

PreferenceForm* PreferencePages::addPage(int index, QWidget* parent)
{
    const PageInfo& info = pageInfos()[size_t(index)];
    auto* form = new PreferenceForm(key(info.titleKey), key(info.introKey), parent);
    form->setObjectName(QStringLiteral("preferencesPage_%1").arg(index));
    connect(form, &PreferenceForm::edited, this, [this](const QString& changed) {
        updateFacts();
        Q_EMIT edited(changed);
    });
    m_forms.append(form);
    return form;
}

void PreferencePages::buildGeneral(PreferenceForm* form)
{
    form->addCheckBox(Target::Preferences, key("autoSaveBOOL"), key("PREFS_AUTOSAVE"), key("PREFS_AUTOSAVE_TOOLTIP"));
    form->addNote(key("PREFS_AUTOSAVE_NOTE"));
    form->addGap();
    m_created = form->addInfo(key("PREFS_INFO_CREATED"));
    m_firstSave = form->addInfo(key("PREFS_INFO_FIRST_SAVE"));
    m_validation = form->addInfo(key("PREFS_INFO_VALIDATION"));
}

void PreferencePages::buildArchive(PreferenceForm* form)
{
    form->addLine(Target::Container, key("containerTitle"), key("PREFS_ARCHIVE_TITLE"),
        key("PREFS_ARCHIVE_TITLE_PLACEHOLDER"), key("PREFS_ARCHIVE_TITLE_TOOLTIP"));
    form->addText(Target::Container, key("containerDescription"), key("PREFS_ARCHIVE_DESCRIPTION"),
        key("PREFS_ARCHIVE_DESCRIPTION_PLACEHOLDER"), key("PREFS_ARCHIVE_DESCRIPTION_TOOLTIP"));
}

void PreferencePages::buildNumbering(PreferenceForm* form)
{
    QCheckBox* automatic = form->addCheckBox(
        Target::Preferences, key("autoVoucherNumbering"), key("PREFS_VOUCHER_AUTO"), key("PREFS_VOUCHER_AUTO_TOOLTIP"));
    form->addGap();
    QLineEdit* prefix = form->addLine(Target::Preferences, key("voucherPrefix"), key("PREFS_VOUCHER_PREFIX"),
        key("PREFS_VOUCHER_PREFIX_PLACEHOLDER"), key("PREFS_VOUCHER_PREFIX_TOOLTIP"));
    QSpinBox* number = form->addNumber(
        Target::Preferences, key("voucherNumber"), key("PREFS_VOUCHER_NUMBER"), key("PREFS_VOUCHER_NUMBER_TOOLTIP"));
    QLineEdit* suffix = form->addLine(Target::Preferences, key("voucherSuffix"), key("PREFS_VOUCHER_SUFFIX"),
        key("PREFS_VOUCHER_SUFFIX_PLACEHOLDER"), key("PREFS_VOUCHER_SUFFIX_TOOLTIP"));
    // Prefix and suffix are a few characters; full-width fields would suggest otherwise.
    for (QLineEdit* part : { prefix, suffix })
        part->setMaximumWidth(part->fontMetrics().horizontalAdvance(QLatin1Char('M')) * 16);
    m_voucherExample = form->addInfo(key("PREFS_VOUCHER_EXAMPLE"));
    m_voucherExample->setObjectName(QStringLiteral("voucherExample"));
    form->addNote(key("PREFS_VOUCHER_NOTE"));
    form->enableWhenChecked(automatic, { prefix, number, suffix, m_voucherExample });
}

void PreferencePages::buildImport(PreferenceForm* form)
{
    form->addCheckBox(
        Target::Preferences, key("autoLockDocuments"), key("PREFS_AUTOLOCK"), key("PREFS_AUTOLOCK_TOOLTIP"));
    form->addGap();
    // Intake takes the date added for every value other than 0 and 1.
    form->addChoice(Target::Preferences, key("folderImportDateUsageKind"), key("PREFS_DATE_USAGE"),
        { { 0, "PREFS_DATE_USAGE_CREATION" }, { 1, "PREFS_DATE_USAGE_MODIFICATION" }, { 2, "PREFS_DATE_USAGE_ADDED" } },
        2, key("PREFS_DATE_USAGE_TOOLTIP"));
    form->addNote(key("PREFS_DATE_USAGE_NOTE"));
}

void PreferencePages::buildRecognition(PreferenceForm* form)
{
    // 0 (and any value the recogniser does not know) is its default: German and English together.
    form->addChoice(Target::Preferences, key("ocrLanguageKind"), key("PREFS_OCR_LANGUAGE"),
        { { 0, "PREFS_OCR_LANGUAGE_DEFAULT" }, { 1, "PREFS_OCR_LANGUAGE_ENGLISH" },
            { 2, "PREFS_OCR_LANGUAGE_GERMAN" } },
        0, key("PREFS_OCR_LANGUAGE_TOOLTIP"));
    form->addCheckBox(Target::Preferences, key("ocrPrioritiseAccuracy"), key("PREFS_OCR_ACCURACY"),
        key("PREFS_OCR_ACCURACY_TOOLTIP"));
    form->addNote(key("PREFS_OCR_NOTE"));
}

void PreferencePages::buildTags(PreferenceForm* form)
{
    form->addCheckBox(
        Target::Preferences, key("readFinderTags"), key("PREFS_READ_TAGS"), key("PREFS_READ_TAGS_TOOLTIP"));
    form->addCheckBox(
        Target::Preferences, key("writeFinderTags"), key("PREFS_WRITE_TAGS"), key("PREFS_WRITE_TAGS_TOOLTIP"));
    form->addNote(key("PREFS_TAGS_NOTE"));
}

void PreferencePages::buildExport(PreferenceForm* form)
{
    QCheckBox* summary = form->addCheckBox(
        Target::Preferences, key("includeSummary"), key("PREFS_EXPORT_SUMMARY"), key("PREFS_EXPORT_SUMMARY_TOOLTIP"));
    QCheckBox* comments = form->addCheckBox(
        Target::Preferences, key("includeComment"), key("PREFS_EXPORT_COMMENT"), key("PREFS_EXPORT_COMMENT_TOOLTIP"));
    QCheckBox* tags = form->addCheckBox(
        Target::Preferences, key("includeTags"), key("PREFS_EXPORT_TAGS"), key("PREFS_EXPORT_TAGS_TOOLTIP"));
    // Comments and tags are lines of the summary, so they mean nothing without it.
    form->enableWhenChecked(summary, { comments, tags });
    form->addNote(key("PREFS_EXPORT_NOTE"));
}

void PreferencePages::buildApplication(PreferenceForm* form)
{
    form->addSettingCheckBox(
        key("prefs_DisableAnimation"), key("PREFS_DISABLE_ANIMATION"), key("PREFS_DISABLE_ANIMATION_TOOLTIP"));
    form->addSettingCheckBox(
        key("prefs_DisableHelpLinks"), key("PREFS_DISABLE_HELP_LINKS"), key("PREFS_DISABLE_HELP_LINKS_TOOLTIP"));
    form->addNote(key("PREFS_APPLICATION_NOTE"));
}

void PreferencePages::setDocument(Document* document)
{
    m_document = document;
    for (PreferenceForm* form : std::as_const(m_forms))
        form->setDocument(document);
    updateFacts();
}

void PreferencePages::refresh()
{
    for (PreferenceForm* form : std::as_const(m_forms))
        form->refresh();
    updateFacts();
}

void PreferencePages::updateFacts()
{
    const PreferencesPtr preferences = m_document ? m_document->preferences() : nullptr;
    const ContainerPtr container = m_document ? m_document->container() : nullptr;
    if (!preferences || !container) {
        for (QLabel* label : { m_created, m_firstSave, m_validation, m_voucherExample })
            label->clear();
        return;
    }
    m_created->setText(Document::shortDateFormatter(container->field(QuillarcContainer::CreationDate)));
    m_firstSave->setText(boolStringValue(preferences->isFirstSaveDone()));
    m_validation->setText(boolStringValue(preferences->validationPosssible()));
    // The number the next record gets, written as intake writes it.
    m_voucherExample->setText(QStringLiteral("%1%2%3").arg(
        preferences->voucherPrefix(), QString::number(preferences->voucherNumber()), preferences->voucherSuffix()));
}
