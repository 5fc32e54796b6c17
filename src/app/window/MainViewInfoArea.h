#pragma once

#include "model/ModelPointers.h"

#include <QWidget>
#include <memory>

class ColorTagPicker;
class Document;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class TokenField;

/// The information area under the documents list: the selected record's
/// title, slip number, tags, comment, note, colour tag and lock, each edited
/// in place and written back through the record's setValue(), beside the
/// file's facts, which cannot be edited. A locked record's fields are shown
/// but not editable; only its lock can be switched (unless its group is locked).
class MainViewInfoArea : public QWidget
{
    Q_OBJECT

public:
    explicit MainViewInfoArea(Document* archive, QWidget* parent = nullptr);

    DocumentPtr document() const { return m_document; }
    void setDocument(const DocumentPtr& document);
    /// The tags offered while a tag is typed.
    void setCompletionTags(const QStringList& allTags);

    QLineEdit* titleField() const { return m_title; }
    QLineEdit* slipNumberField() const { return m_slipNumber; }
    TokenField* tagsField() const { return m_tags; }
    QLineEdit* commentField() const { return m_comment; }
    /// The note: Return adds a line instead of ending the edit.
    QPlainTextEdit* notesTextField() const { return m_note; }
    ColorTagPicker* colorField() const { return m_color; }
    QCheckBox* lockField() const { return m_lock; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showDocument();
    void onObjectChanged(QuillarcDatabaseObject* object);
    void setValue(const QString& key, const QVariant& value);
    void commitNote();

    Document* m_archive;
    DocumentPtr m_document;
    QLineEdit* m_title;
    QLineEdit* m_slipNumber;
    TokenField* m_tags;
    QLineEdit* m_comment;
    QPlainTextEdit* m_note;
    ColorTagPicker* m_color;
    QCheckBox* m_lock;
    QLabel* m_facts;
    QLabel* m_empty;
    QWidget* m_fields;
    bool m_showing = false;
};
