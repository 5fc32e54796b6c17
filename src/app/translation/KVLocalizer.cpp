#include "app/translation/KVLocalizer.h"

#include "app/i18n/Localizer.h"
#include "app/style/Icons.h"
#include "app/translation/KVLocalizerDelegate.h"
#include "app/translation/KVLocalizerFilterModel.h"
#include "app/translation/KVLocalizerModel.h"
#include "app/util/FileDialog.h"
#include "app/util/MessageBox.h"
#include "controls/KVButton.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QStandardPaths>
#include <QTableView>
#include <QVBoxLayout>

namespace {

QString shippedTablePath()
{
    return QString::fromLatin1(KVLocalizationDictionary::defaultTablePath);
}

QString text(const char* key)
{
    return localizedString(QString::fromLatin1(key));
}

/// A localized text with its placeholders filled; a translation may leave one
/// out (or the key may show for want of a text), which must not warn or garble.
QString filled(const QString& key, const QStringList& values)
{
    QString result = localizedString(key);
    for (qsizetype i = 0; i < values.size(); ++i)
        result.replace(QStringLiteral("%") + QString::number(i + 1), values.at(i));
    return result;
}

/// Makes the dictionary use @p path and every open window show its texts.
void applyTable(const QString& path)
{
    KVLocalizationDictionary& dictionary = KVLocalizationDictionary::sharedLocalizationDictionary();
    dictionary.setTablePath(path);
    dictionary.reloadLocalizationDictionary();
    Localizer::relocalizeAll();
}

} // namespace

KVLocalizer::KVLocalizer(QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("KVLocalizer"));
    setWindowTitle(QStringLiteral("LOCALIZER_WINDOW_TITLE"));
    m_model = new KVLocalizerModel(this);
    m_filter = new KVLocalizerFilterModel(this);
    m_filter->setSourceModel(m_model);
    buildLayout();
    Localizer::localize(this);

    connect(m_filter, &QAbstractItemModel::rowsInserted, this, &KVLocalizer::updateCount);
    connect(m_filter, &QAbstractItemModel::rowsRemoved, this, &KVLocalizer::updateCount);
    connect(m_filter, &QAbstractItemModel::modelReset, this, &KVLocalizer::updateCount);
    connect(m_filter, &QAbstractItemModel::layoutChanged, this, &KVLocalizer::updateCount);
    connect(
        m_model, &KVLocalizerModel::textEdited, this, [this] { setStatus(QStringLiteral("LOCALIZER_STATUS_EDITED")); });
    connect(Localizer::instance(), &Localizer::relocalized, this, [this] {
        updateCount();
        showStatus();
        fitLanguageField();
    });
    fitLanguageField();
    reloadTable();
    resize(QSize(960, 620).expandedTo(sizeHint()));
}

KVLocalizer* KVLocalizer::showLocalizer()
{
    static QPointer<KVLocalizer> editor;
    if (!editor) {
        editor = new KVLocalizer;
        editor->setAttribute(Qt::WA_DeleteOnClose, false);
    }
    editor->show();
    editor->raise();
    editor->activateWindow();
    return editor;
}

void KVLocalizer::buildLayout()
{
    m_filterField = new QLineEdit;
    m_filterField->setObjectName(QStringLiteral("filterField"));
    m_filterField->setPlaceholderText(QStringLiteral("LOCALIZER_FILTER_PLACEHOLDER"));
    m_filterField->setClearButtonEnabled(true);
    m_filterField->addAction(Icons::icon(QStringLiteral("search")), QLineEdit::LeadingPosition);
    Localizer::setAccessibleKeys(m_filterField, QStringLiteral("LOCALIZER_FILTER_PLACEHOLDER"));
    connect(m_filterField, &QLineEdit::textChanged, m_filter, &KVLocalizerFilterModel::setFilterText);
    m_countLabel = new QLabel;
    m_countLabel->setObjectName(QStringLiteral("countLabel"));
    Localizer::markAsData(m_countLabel);

    m_view = new QTableView;
    m_view->setObjectName(QStringLiteral("table"));
    m_view->setModel(m_filter);
    m_delegate = new KVLocalizerDelegate(m_view);
    m_view->setItemDelegate(m_delegate);
    m_view->setWordWrap(false);
    m_view->setTextElideMode(Qt::ElideRight);
    m_view->setAlternatingRowColors(true);
    m_view->setSelectionBehavior(QAbstractItemView::SelectItems);
    m_view->setSelectionMode(QAbstractItemView::SingleSelection);
    m_view->setEditTriggers(
        QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed | QAbstractItemView::AnyKeyPressed);
    m_view->verticalHeader()->hide();
    // Rows of one height: a 1 MB text must not make the view measure it.
    m_view->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    m_view->verticalHeader()->setDefaultSectionSize(m_view->fontMetrics().height() + 10);
    m_view->horizontalHeader()->setDefaultSectionSize(280);
    m_view->horizontalHeader()->setStretchLastSection(true);
    m_view->horizontalHeader()->setHighlightSections(false);
    m_view->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    Localizer::setAccessibleKeys(m_view, QStringLiteral("LOCALIZER_TABLE_ACCESSIBLE"));

    m_languageField = new QLineEdit;
    m_languageField->setObjectName(QStringLiteral("languageField"));
    m_languageField->setPlaceholderText(QStringLiteral("LOCALIZER_LANGUAGE_CODE_PLACEHOLDER"));
    m_languageField->setMaxLength(16);
    Localizer::setAccessibleKeys(m_languageField, QStringLiteral("LOCALIZER_LANGUAGE_CODE_PLACEHOLDER"));
    m_addLanguageButton = new KVButton(QStringLiteral("LOCALIZER_ADD_LANGUAGE"));
    m_addLanguageButton->setObjectName(QStringLiteral("addLanguageButton"));
    const auto addTypedLanguage = [this] { addLanguage(m_languageField->text()); };
    connect(m_addLanguageButton, &KVButton::clicked, this, addTypedLanguage);
    connect(m_languageField, &QLineEdit::returnPressed, this, addTypedLanguage);

    m_revertButton = new KVButton(QStringLiteral("LOCALIZER_REVERT"));
    m_revertButton->setObjectName(QStringLiteral("revertButton"));
    m_revertButton->setToolTip(QStringLiteral("LOCALIZER_REVERT_TIP"));
    connect(m_revertButton, &KVButton::clicked, this, &KVLocalizer::revertToShippedTexts);
    m_exportButton = new KVButton(QStringLiteral("LOCALIZER_EXPORT"));
    m_exportButton->setObjectName(QStringLiteral("exportButton"));
    m_exportButton->setToolTip(QStringLiteral("LOCALIZER_EXPORT_TIP"));
    connect(m_exportButton, &KVButton::clicked, this, &KVLocalizer::exportTable);
    m_testLiveButton = new KVButton(QStringLiteral("LOCALIZER_TEST_LIVE"));
    m_testLiveButton->setObjectName(QStringLiteral("testLiveButton"));
    m_testLiveButton->setToolTip(QStringLiteral("LOCALIZER_TEST_LIVE_TIP"));
    m_testLiveButton->setDefault(true);
    connect(m_testLiveButton, &KVButton::clicked, this, &KVLocalizer::testLive);

    m_statusLabel = new QLabel;
    m_statusLabel->setObjectName(QStringLiteral("statusLabel"));
    m_statusLabel->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_statusLabel->setWordWrap(true);
    Localizer::markAsData(m_statusLabel);

    auto* top = new QHBoxLayout;
    top->addWidget(m_filterField, 1);
    top->addWidget(m_countLabel);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(m_languageField);
    bottom->addWidget(m_addLanguageButton);
    bottom->addStretch(1);
    bottom->addWidget(m_revertButton);
    bottom->addWidget(m_exportButton);
    bottom->addWidget(m_testLiveButton);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(m_view, 1);
    layout->addLayout(bottom);
    layout->addWidget(m_statusLabel);
}

void KVLocalizer::reloadTable()
{
    const QString path
        = KVLocalizationDictionary::resolvedTablePath(KVLocalizationDictionary::userTablePath(), shippedTablePath());
    KVLocalizationTable table;
    QString error;
    if (!table.read(path, &error)) {
        // Only a damaged build lacks a readable shipped table; show what there is.
        qCWarning(lcQuillarc, "LOCALIZATION TABLE IGNORED: %s", qUtf8Printable(error));
        setStatus(QStringLiteral("LOCALIZER_STATUS_UNREADABLE"), error);
    }
    m_tablePath = path;
    m_model->setTable(table);
    // Wide enough for most keys, never so wide that the texts get no room.
    m_view->resizeColumnToContents(0);
    m_view->setColumnWidth(0, qBound(180, m_view->columnWidth(0), 360));
    updateCount();
}

bool KVLocalizer::testLive()
{
    // A text still being typed belongs to this test.
    m_delegate->commitOpenEditor();
    const QString path = KVLocalizationDictionary::userTablePath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QString error;
    if (!m_model->table().write(path, &error)) {
        qCWarning(lcQuillarc, "ERROR SAVING: %s", qUtf8Printable(error));
        fail(QStringLiteral("LOCALIZER_SAVE_FAILED"), error);
        return false;
    }
    m_tablePath = path;
    m_model->markSaved();
    applyTable(path);
    setStatus(QStringLiteral("LOCALIZER_STATUS_APPLIED"));
    return true;
}

void KVLocalizer::exportTable()
{
    FileDialog::Options options;
    options.title = text("LOCALIZER_EXPORT_DIALOG_TITLE");
    options.directory = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    options.proposedName = QStringLiteral("LocalizationDictionary.glossordoc");
    options.nameFilters = { text("LOCALIZER_FILE_FILTER") };
    options.defaultSuffix = QStringLiteral("glossordoc");
    const QPointer<KVLocalizer> guard(this);
    FileDialog::saveFile(this, options, [guard](const QString& path) {
        if (guard && !path.isEmpty())
            guard->exportTo(path);
    });
}

bool KVLocalizer::exportTo(const QString& path)
{
    QString error;
    if (!m_model->table().write(path, &error)) {
        qCWarning(lcQuillarc, "ERROR SAVING: %s", qUtf8Printable(error));
        fail(QStringLiteral("LOCALIZER_EXPORT_FAILED"), error, QStringLiteral("LOCALIZER_EXPORT_FAILED_HINT"));
        return false;
    }
    setStatus(QStringLiteral("LOCALIZER_STATUS_EXPORTED"), QDir::toNativeSeparators(path));
    return true;
}

void KVLocalizer::revertToShippedTexts()
{
    const QPointer<KVLocalizer> guard(this);
    MessageBox::alert(this, MessageBox::Icon::Warning, text("LOCALIZER_REVERT_TITLE"), text("LOCALIZER_REVERT_INFO"),
        { text("LOCALIZER_REVERT_BUTTON"), text("Cancel") }, [guard](int answer) {
            if (guard && answer == 0)
                guard->revertConfirmed();
        });
}

void KVLocalizer::revertConfirmed()
{
    const QString path = KVLocalizationDictionary::userTablePath();
    QFile copy(path);
    if (copy.exists() && !copy.remove()) {
        fail(QStringLiteral("LOCALIZER_REVERT_FAILED"), QStringLiteral("%1: %2").arg(path, copy.errorString()));
        return;
    }
    applyTable(shippedTablePath());
    reloadTable();
    setStatus(QStringLiteral("LOCALIZER_STATUS_REVERTED"));
}

bool KVLocalizer::addLanguage(const QString& code)
{
    const QString trimmed = code.trimmed();
    switch (m_model->addLanguage(trimmed)) {
    case KVLocalizationTable::AddLanguageResult::Added: {
        m_languageField->clear();
        const QModelIndex first = m_filter->index(0, m_model->columnOfLanguage(trimmed));
        if (first.isValid()) {
            m_view->scrollTo(first);
            m_view->setCurrentIndex(first);
        }
        setStatus(QStringLiteral("LOCALIZER_STATUS_LANGUAGE_ADDED"), KVLocalizerModel::languageTitle(trimmed));
        return true;
    }
    case KVLocalizationTable::AddLanguageResult::NotALanguageCode:
        MessageBox::alert(this, MessageBox::Icon::Warning,
            filled(QStringLiteral("LOCALIZER_LANGUAGE_INVALID"), { trimmed }), text("LOCALIZER_LANGUAGE_INVALID_INFO"),
            { text("OK") });
        return false;
    case KVLocalizationTable::AddLanguageResult::AlreadyPresent:
        MessageBox::alert(this, MessageBox::Icon::Information,
            filled(QStringLiteral("LOCALIZER_LANGUAGE_PRESENT"), { trimmed }), QString(), { text("OK") });
        return false;
    }
    return false;
}

void KVLocalizer::setFilterText(const QString& text)
{
    m_filterField->setText(text);
}

QString KVLocalizer::statusText() const
{
    return m_statusLabel->text();
}

void KVLocalizer::updateCount()
{
    m_countLabel->setText(filled(QStringLiteral("LOCALIZER_COUNT"),
        { QString::number(m_filter->rowCount()), QString::number(m_model->rowCount()) }));
}

void KVLocalizer::fitLanguageField()
{
    // The hint in the field is all the label it has; it must show whole in every language.
    const QFontMetrics metrics = m_languageField->fontMetrics();
    m_languageField->setMinimumWidth(metrics.horizontalAdvance(m_languageField->placeholderText()) + 24);
}

void KVLocalizer::setStatus(const QString& key, const QString& argument)
{
    m_statusKey = key;
    m_statusArgument = argument;
    showStatus();
}

void KVLocalizer::showStatus()
{
    if (m_statusKey.isEmpty()) {
        m_statusLabel->clear();
        return;
    }
    m_statusLabel->setText(filled(m_statusKey, { m_statusArgument }));
}

void KVLocalizer::fail(const QString& titleKey, const QString& reason, const QString& hintKey)
{
    QString informative = QDir::toNativeSeparators(reason);
    if (!hintKey.isEmpty())
        informative += QStringLiteral("\n\n") + localizedString(hintKey);
    MessageBox::alert(this, MessageBox::Icon::Critical, localizedString(titleKey), informative, { text("OK") });
    setStatus(titleKey);
}
