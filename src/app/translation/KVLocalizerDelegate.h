#pragma once

#include <QPointer>
#include <QStyledItemDelegate>

/// Edits a text of the translation table in a multi-line field laid over the
/// cell, at least three lines high, so texts with line breaks (help texts,
/// alerts) keep them. Return or Enter takes the text, Shift+Return starts a
/// new line, Escape leaves the text as it was.
class KVLocalizerDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit KVLocalizerDelegate(QObject* parent = nullptr);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
    void updateEditorGeometry(
        QWidget* editor, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void destroyEditor(QWidget* editor, const QModelIndex& index) const override;

    /// The field of the text being edited, nullptr when none is open.
    QWidget* openEditor() const { return m_editor; }
    /// Takes the text of an open field into the model and closes it, as
    /// Return would: an action such as "test live" includes what is being typed.
    void commitOpenEditor();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    mutable QPointer<QWidget> m_editor;
};
