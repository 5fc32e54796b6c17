#pragma once

#include <QWidget>

class Document;
class QLineEdit;
class QPlainTextEdit;
class QuillarcDatabaseObject;

/// The archive's title and description above the groups list, edited in
/// place: Return ends the title's edit, while in the description it adds a
/// line. Both are written to the archive's container through setValue() and
/// follow it when another screen changes them.
class MainViewArchiveHeader : public QWidget
{
    Q_OBJECT

public:
    explicit MainViewArchiveHeader(Document* archive, QWidget* parent = nullptr);

    QLineEdit* titleField() const { return m_title; }
    QPlainTextEdit* descriptionField() const { return m_description; }
    /// Writes the title being typed (before a save that proposes it as the name).
    void commitTitle();

private:
    void showContainerValues();
    void onObjectChanged(QuillarcDatabaseObject* object);

    Document* m_archive;
    QLineEdit* m_title;
    QPlainTextEdit* m_description;
};
