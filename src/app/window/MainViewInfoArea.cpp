#include "app/window/MainViewInfoArea.h"

#include "app/i18n/Localizer.h"
#include "app/models/DateFormatters.h"
#include "controls/ColorTagPicker.h"
#include "app/views/TokenField.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QCheckBox>
#include <QEvent>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QStackedLayout>
#include <QVBoxLayout>

MainViewInfoArea::MainViewInfoArea(Document* archive, QWidget* parent)
    : QWidget(parent)
    , m_archive(archive)
    , m_title(new QLineEdit(this))
    , m_slipNumber(new QLineEdit(this))
    , m_tags(new TokenField(this))
    , m_comment(new QLineEdit(this))
    , m_note(new QPlainTextEdit(this))
    , m_color(new ColorTagPicker(this))
    , m_lock(new QCheckBox(QStringLiteral("LOCK_DOCUMENT_LABEL"), this))
    , m_facts(new QLabel(this))
    , m_empty(new QLabel(QStringLiteral("NO_DOCUMENT_SELECTED"), this))
    , m_fields(new QWidget(this))
{
    setObjectName(QStringLiteral("infoContainerView"));
    auto* stack = new QStackedLayout(this);
    m_empty->setAlignment(Qt::AlignCenter);
    m_empty->setForegroundRole(QPalette::PlaceholderText);
    stack->addWidget(m_empty);
    stack->addWidget(m_fields);

    auto* row = new QHBoxLayout(m_fields);
    row->setContentsMargins(10, 8, 10, 8);
    auto* left = new QFormLayout;
    left->addRow(QStringLiteral("DOCUMENT_TITLE_LABEL"), m_title);
    left->addRow(QStringLiteral("DOCUMENT_SLIP_LABEL"), m_slipNumber);
    left->addRow(QStringLiteral("TAGS_LABEL"), m_tags);
    left->addRow(QStringLiteral("COMMENT_LABEL"), m_comment);
    row->addLayout(left, 3);
    auto* middle = new QVBoxLayout;
    auto* noteLabel = new QLabel(QStringLiteral("NOTE_LABEL"), this);
    middle->addWidget(noteLabel);
    m_note->setObjectName(QStringLiteral("notesTextField"));
    m_note->setTabChangesFocus(true);
    middle->addWidget(m_note, 1);
    row->addLayout(middle, 2);
    auto* right = new QVBoxLayout;
    m_facts->setWordWrap(true);
    m_facts->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_facts->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    Localizer::markAsData(m_facts);
    right->addWidget(m_facts, 1);
    right->addWidget(m_color);
    right->addWidget(m_lock);
    row->addLayout(right, 2);

    for (QWidget* data : { static_cast<QWidget*>(m_title), static_cast<QWidget*>(m_slipNumber),
             static_cast<QWidget*>(m_comment) })
        Localizer::markAsData(data);
    Localizer::setAccessibleKeys(m_title, QStringLiteral("DOCUMENT_TITLE_LABEL"));
    Localizer::setAccessibleKeys(m_slipNumber, QStringLiteral("DOCUMENT_SLIP_LABEL"));
    Localizer::setAccessibleKeys(m_tags, QStringLiteral("TAGS_LABEL"));
    Localizer::setAccessibleKeys(m_comment, QStringLiteral("COMMENT_LABEL"));
    Localizer::setAccessibleKeys(m_note, QStringLiteral("NOTE_LABEL"));
    Localizer::setAccessibleKeys(m_color, QStringLiteral("COLOR_TAG_LABEL"));

    connect(m_title, &QLineEdit::editingFinished, this, [this] { setValue(QStringLiteral("title"), m_title->text()); });
    connect(m_slipNumber, &QLineEdit::editingFinished, this,
        [this] { setValue(QStringLiteral("slipNumber"), m_slipNumber->text()); });
    connect(m_comment, &QLineEdit::editingFinished, this,
        [this] { setValue(QStringLiteral("comment"), m_comment->text()); });
    connect(m_tags, &TokenField::tagsEdited, this, [this](const QStringList& tags) { setValue(QStringLiteral("tags"), tags); });
    connect(m_color, &ColorTagPicker::currentTagChanged, this,
        [this](int tag) { setValue(QStringLiteral("documentColorTag"), tag); });
    connect(m_lock, &QCheckBox::clicked, this, [this](bool locked) { setValue(QStringLiteral("isLocked"), locked); });
    m_note->installEventFilter(this);
    if (m_archive)
        connect(m_archive, &Document::objectChanged, this, &MainViewInfoArea::onObjectChanged);
    showDocument();
}

void MainViewInfoArea::setDocument(const DocumentPtr& document)
{
    if (m_document && document != m_document)
        commitNote();
    m_document = document;
    showDocument();
}

void MainViewInfoArea::setCompletionTags(const QStringList& allTags)
{
    m_tags->setCompletionTags(allTags);
}

void MainViewInfoArea::onObjectChanged(QuillarcDatabaseObject* object)
{
    // Its own record, or the group whose lock decides what may be edited.
    if (m_document && (object == m_document.get() || object == m_document->group()))
        showDocument();
}

void MainViewInfoArea::showDocument()
{
    auto* stack = static_cast<QStackedLayout*>(layout());
    stack->setCurrentWidget(m_document ? m_fields : static_cast<QWidget*>(m_empty));
    if (!m_document)
        return;
    m_showing = true;
    const DocumentPtr& record = m_document;
    const auto show = [](QLineEdit* field, const QString& text) {
        if (!field->hasFocus() || field->isReadOnly())
            field->setText(text);
    };
    show(m_title, record->title());
    show(m_slipNumber, record->slipNumber());
    show(m_comment, record->comment());
    if (!m_note->hasFocus())
        m_note->setPlainText(record->note());
    m_tags->setTags(record->tags());
    const Value tag = record->field(QuillarcDocument::DocumentColorTag);
    m_color->setCurrentTag(int(tag.isNumber() ? tag.toInteger() : 7));
    m_lock->setChecked(record->isLocked());

    const bool locked = record->isFileLocked();
    for (QLineEdit* field : { m_title, m_slipNumber, m_comment })
        field->setReadOnly(locked);
    m_note->setReadOnly(locked);
    m_tags->setReadOnly(locked);
    m_color->setEnabled(!locked);
    const QuillarcGroup* group = record->group();
    m_lock->setEnabled(!(group && group->isLocked()));

    const QString fileName
        = record->extension().isEmpty() ? record->name() : record->name() + QLatin1Char('.') + record->extension();
    const Value size = record->field(QuillarcDocument::FileSize);
    const auto line = [](const char* key, const QString& value) {
        return QStringLiteral("<b>%1</b> %2").arg(localizedString(QString::fromLatin1(key)), value.toHtmlEscaped());
    };
    QStringList facts { line("INFO_FILE_LABEL", fileName), line("INFO_KIND_LABEL", record->fileKind()),
        line("INFO_SIZE_LABEL", size.isNumber() ? QLocale().formattedDataSize(qint64(size.toReal())) : QString()),
        line("INFO_FILE_DATE_LABEL", DateFormatters::mediumDate(record->field(QuillarcDocument::FileDate))),
        line("INFO_ADDED_LABEL", DateFormatters::mediumDate(record->field(QuillarcDocument::DateAdded))) };
    m_facts->setText(facts.join(QStringLiteral("<br>")));
    m_showing = false;
}

void MainViewInfoArea::setValue(const QString& key, const QVariant& value)
{
    if (m_showing || !m_document || (key != QLatin1String("isLocked") && m_document->isFileLocked()))
        return;
    Value stored;
    switch (value.typeId()) {
    case QMetaType::Bool:
        stored = Value::boolean(value.toBool());
        break;
    case QMetaType::Int:
        stored = Value::integer(value.toInt());
        break;
    case QMetaType::QStringList: {
        ValueList tags;
        for (const QString& tag : value.toStringList())
            tags.append(Value::string(tag));
        stored = Value::array(tags);
        break;
    }
    default:
        stored = Value::string(value.toString());
        break;
    }
    // Only a real change is written, so leaving a field untouched is no edit.
    if (m_document->valueForKey(key) == stored)
        return;
    m_document->setValue(key, stored);
}

void MainViewInfoArea::commitNote()
{
    if (m_document && m_note->toPlainText() != m_document->note())
        setValue(QStringLiteral("note"), m_note->toPlainText());
}

bool MainViewInfoArea::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_note && event->type() == QEvent::FocusOut)
        commitNote();
    return QWidget::eventFilter(watched, event);
}
