#pragma once

#include <QFrame>
#include <QStringList>

class QLineEdit;
class QCompleter;
class QStringListModel;

/// Tags as tokens: each tag a pill with a remove mark, followed by a field for
/// the next one. Return, Tab or a comma turns the typed text into a token;
/// Backspace in the empty field removes the last token. While a tag is typed,
/// the archive's other tags that begin with it are offered.
class TokenField : public QFrame
{
    Q_OBJECT

public:
    explicit TokenField(QWidget* parent = nullptr);

    QStringList tags() const { return m_tags; }
    /// Shows @p tags without announcing an edit.
    void setTags(const QStringList& tags);
    /// The tags offered while typing (every tag of the archive).
    void setCompletionTags(const QStringList& allTags);
    void setReadOnly(bool readOnly);
    bool isReadOnly() const { return m_readOnly; }
    QLineEdit* lineEdit() const { return m_edit; }
    /// Turns whatever is typed into a token (also done when the field loses focus).
    void commitTypedText();

Q_SIGNALS:
    /// The user added or removed a token.
    void tagsEdited(const QStringList& tags);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void rebuildTokens();
    void updateCompletions(const QString& text);
    void removeTag(int index);

    QStringList m_tags;
    QStringList m_allTags;
    QList<QWidget*> m_tokenWidgets;
    QLineEdit* m_edit;
    QCompleter* m_completer;
    QStringListModel* m_completions;
    bool m_readOnly = false;
};
