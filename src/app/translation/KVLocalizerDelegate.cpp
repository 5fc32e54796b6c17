#include "app/translation/KVLocalizerDelegate.h"

#include "app/i18n/Localizer.h"

#include <QKeyEvent>
#include <QPlainTextEdit>

KVLocalizerDelegate::KVLocalizerDelegate(QObject* parent)
    : QStyledItemDelegate(parent)
{
}

QWidget* KVLocalizerDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const
{
    auto* editor = new QPlainTextEdit(parent);
    editor->setObjectName(QStringLiteral("textEditor"));
    // The text being edited is data; a text that happens to be a key must stay as typed.
    Localizer::markAsData(editor);
    editor->setTabChangesFocus(true);
    editor->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    editor->setAutoFillBackground(true);
    editor->setFrameShape(QFrame::Box); // plainly above the rows it covers
    editor->installEventFilter(const_cast<KVLocalizerDelegate*>(this));
    m_editor = editor;
    return editor;
}

void KVLocalizerDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    auto* edit = qobject_cast<QPlainTextEdit*>(editor);
    if (!edit)
        return QStyledItemDelegate::setEditorData(editor, index);
    const QString text = index.data(Qt::EditRole).toString();
    // setEditorData also runs when the model changes under an open editor: keep the caret then.
    if (edit->toPlainText() != text) {
        edit->setPlainText(text);
        edit->moveCursor(QTextCursor::End);
    }
}

void KVLocalizerDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const
{
    if (auto* edit = qobject_cast<QPlainTextEdit*>(editor))
        model->setData(index, edit->toPlainText(), Qt::EditRole);
    else
        QStyledItemDelegate::setModelData(editor, model, index);
}

void KVLocalizerDelegate::updateEditorGeometry(
    QWidget* editor, const QStyleOptionViewItem& option, const QModelIndex&) const
{
    QRect rect = option.rect;
    // Three lines, rounded up to whole rows so that no row below shows half its text.
    const int needed = editor->fontMetrics().lineSpacing() * 3 + 12;
    const int row = qMax(1, option.rect.height());
    rect.setHeight(qMax(row, (needed + row - 1) / row * row));
    // Near the bottom of the view the field opens upwards instead of being cut.
    if (const QWidget* viewport = editor->parentWidget(); viewport && rect.bottom() > viewport->height())
        rect.moveBottom(qMax(option.rect.bottom(), viewport->height() - 1));
    editor->setGeometry(rect);
}

void KVLocalizerDelegate::destroyEditor(QWidget* editor, const QModelIndex& index) const
{
    // A closed field lingers until it is deleted; it is no longer the open one.
    if (m_editor == editor)
        m_editor = nullptr;
    QStyledItemDelegate::destroyEditor(editor, index);
}

void KVLocalizerDelegate::commitOpenEditor()
{
    if (QWidget* editor = m_editor) {
        Q_EMIT commitData(editor);
        Q_EMIT closeEditor(editor, QAbstractItemDelegate::NoHint);
    }
}

bool KVLocalizerDelegate::eventFilter(QObject* object, QEvent* event)
{
    auto* editor = qobject_cast<QPlainTextEdit*>(object);
    if (editor && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const bool enter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
        if (enter && !(key->modifiers() & Qt::ShiftModifier)) {
            Q_EMIT commitData(editor);
            Q_EMIT closeEditor(editor, QAbstractItemDelegate::NoHint);
            return true;
        }
        if (enter) {
            editor->insertPlainText(QStringLiteral("\n"));
            return true;
        }
    }
    return QStyledItemDelegate::eventFilter(object, event);
}
