#include "app/views/TokenField.h"

#include "app/i18n/Localizer.h"
#include "output/CompletionAids.h"

#include <QCompleter>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLayout>
#include <QLineEdit>
#include <QStringListModel>
#include <QToolButton>

namespace {

/// Lays its items out left to right and wraps to a new line when one is full.
class FlowLayout : public QLayout
{
public:
    explicit FlowLayout(QWidget* parent)
        : QLayout(parent)
    {
        setContentsMargins(3, 3, 3, 3);
        setSpacing(4);
    }
    ~FlowLayout() override { qDeleteAll(m_items); }
    void addItem(QLayoutItem* item) override { m_items.append(item); }
    int count() const override { return int(m_items.size()); }
    QLayoutItem* itemAt(int index) const override { return m_items.value(index); }
    QLayoutItem* takeAt(int index) override { return index >= 0 && index < m_items.size() ? m_items.takeAt(index) : nullptr; }
    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override { return arrange(QRect(0, 0, width, 0), false); }
    void setGeometry(const QRect& rect) override
    {
        QLayout::setGeometry(rect);
        arrange(rect, true);
    }
    QSize sizeHint() const override { return minimumSize(); }
    QSize minimumSize() const override
    {
        QSize size;
        for (const QLayoutItem* item : m_items)
            size = size.expandedTo(item->minimumSize());
        const QMargins margins = contentsMargins();
        return size + QSize(margins.left() + margins.right(), margins.top() + margins.bottom());
    }

private:
    int arrange(const QRect& rect, bool apply) const
    {
        const QMargins margins = contentsMargins();
        const QRect area = rect.marginsRemoved(margins);
        int x = area.x();
        int y = area.y();
        int lineHeight = 0;
        for (qsizetype i = 0; i < m_items.size(); ++i) {
            QLayoutItem* item = m_items[i];
            QSize size = item->sizeHint();
            // The last item (the typing field) takes the rest of its line.
            const bool last = i == m_items.size() - 1;
            if (x + size.width() > area.right() + 1 && lineHeight > 0) {
                x = area.x();
                y += lineHeight + spacing();
                lineHeight = 0;
            }
            if (last)
                size.setWidth(qMax(size.width(), area.right() + 1 - x));
            if (apply)
                item->setGeometry(QRect(QPoint(x, y), size));
            x += size.width() + spacing();
            lineHeight = qMax(lineHeight, size.height());
        }
        return y + lineHeight - rect.y() + margins.bottom();
    }

    QList<QLayoutItem*> m_items;
};

} // namespace

TokenField::TokenField(QWidget* parent)
    : QFrame(parent)
    , m_edit(new QLineEdit(this))
    , m_completer(new QCompleter(this))
    , m_completions(new QStringListModel(this))
{
    setFrameShape(QFrame::StyledPanel);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Base);
    new FlowLayout(this);
    m_edit->setFrame(false);
    m_edit->setMinimumWidth(60);
    m_edit->installEventFilter(this);
    m_completer->setModel(m_completions);
    m_completer->setCompletionMode(QCompleter::PopupCompletion);
    m_completer->setCaseSensitivity(Qt::CaseSensitive);
    m_edit->setCompleter(m_completer);
    layout()->addWidget(m_edit);
    setFocusProxy(m_edit);
    connect(m_edit, &QLineEdit::textEdited, this, &TokenField::updateCompletions);
    connect(m_edit, &QLineEdit::returnPressed, this, &TokenField::commitTypedText);
    connect(m_completer, qOverload<const QString&>(&QCompleter::activated), this, [this](const QString& text) {
        m_edit->setText(text);
        commitTypedText();
    });
}

void TokenField::setTags(const QStringList& tags)
{
    if (tags == m_tags && m_tokenWidgets.size() == tags.size())
        return;
    m_tags = tags;
    rebuildTokens();
}

void TokenField::setCompletionTags(const QStringList& allTags)
{
    m_allTags = allTags;
}

void TokenField::setReadOnly(bool readOnly)
{
    m_readOnly = readOnly;
    m_edit->setReadOnly(readOnly);
    rebuildTokens();
}

void TokenField::updateCompletions(const QString& text)
{
    m_completions->setStringList(text.isEmpty() ? QStringList() : CompletionAids::tokenFieldCompletions(m_allTags, text));
}

void TokenField::commitTypedText()
{
    if (m_readOnly)
        return;
    bool added = false;
    for (const QString& part : m_edit->text().split(QLatin1Char(','))) {
        const QString tag = part.trimmed();
        if (!tag.isEmpty()) {
            m_tags.append(tag);
            added = true;
        }
    }
    m_edit->clear();
    if (!added)
        return;
    rebuildTokens();
    Q_EMIT tagsEdited(m_tags);
}

void TokenField::removeTag(int index)
{
    if (m_readOnly || index < 0 || index >= m_tags.size())
        return;
    m_tags.removeAt(index);
    rebuildTokens();
    Q_EMIT tagsEdited(m_tags);
}

void TokenField::rebuildTokens()
{
    qDeleteAll(m_tokenWidgets);
    m_tokenWidgets.clear();
    auto* flow = layout();
    flow->removeWidget(m_edit);
    const QColor accent = palette().color(QPalette::Highlight);
    const QString style = QStringLiteral("QWidget#token { background: rgba(%1,%2,%3,46); border-radius: 9px; }")
                              .arg(accent.red())
                              .arg(accent.green())
                              .arg(accent.blue());
    for (int i = 0; i < m_tags.size(); ++i) {
        auto* token = new QWidget(this);
        token->setObjectName(QStringLiteral("token"));
        token->setAttribute(Qt::WA_StyledBackground);
        token->setStyleSheet(style);
        auto* row = new QHBoxLayout(token);
        row->setContentsMargins(8, 1, m_readOnly ? 8 : 2, 1);
        row->setSpacing(2);
        auto* label = new QLabel(m_tags.at(i), token);
        Localizer::markAsData(label);
        row->addWidget(label);
        if (!m_readOnly) {
            auto* remove = new QToolButton(token);
            remove->setText(QStringLiteral("×"));
            remove->setAutoRaise(true);
            remove->setFocusPolicy(Qt::NoFocus);
            remove->setAccessibleName(m_tags.at(i));
            connect(remove, &QToolButton::clicked, this, [this, i] { removeTag(i); });
            row->addWidget(remove);
        }
        flow->addWidget(token);
        m_tokenWidgets.append(token);
    }
    flow->addWidget(m_edit);
    updateGeometry();
}

bool TokenField::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_edit && event->type() == QEvent::KeyPress) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Backspace && m_edit->text().isEmpty() && !m_tags.isEmpty()) {
            removeTag(int(m_tags.size()) - 1);
            return true;
        }
        if (key->text() == QLatin1String(",")) {
            commitTypedText();
            return true;
        }
        if (key->key() == Qt::Key_Tab && !m_edit->text().trimmed().isEmpty())
            commitTypedText();
    } else if (watched == m_edit && event->type() == QEvent::FocusOut) {
        commitTypedText();
    }
    return QFrame::eventFilter(watched, event);
}
