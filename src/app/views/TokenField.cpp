#include "app/views/TokenField.h"

#include "app/i18n/Localizer.h"

#include "output/CompletionAids.h"

#include <QCompleter>
#include <QKeyEvent>
#include <QLayout>
#include <QLineEdit>
#include <QStringListModel>
#include <QMouseEvent>
#include <QPainter>
#include <functional>

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

/// One tag as a pill, painted from the palette, with a remove mark unless read-only.
class TokenChip : public QWidget
{
public:
    TokenChip(const QString& text, bool removable, std::function<void()> remove, QWidget* parent)
        : QWidget(parent)
        , m_text(text)
        , m_removable(removable)
        , m_remove(std::move(remove))
    {
        setAccessibleName(text);
        setCursor(removable ? Qt::PointingHandCursor : Qt::ArrowCursor);
    }

    QSize sizeHint() const override
    {
        const QFontMetrics metrics(font());
        const int height = metrics.height() + 4;
        return QSize(metrics.horizontalAdvance(m_text) + height + (m_removable ? height - 4 : 0), height);
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        QColor fill = palette().color(QPalette::Highlight);
        fill.setAlphaF(0.18);
        painter.setPen(Qt::NoPen);
        painter.setBrush(fill);
        const QRectF pill = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
        painter.drawRoundedRect(pill, pill.height() / 2, pill.height() / 2);
        painter.setPen(palette().color(QPalette::Text));
        const int side = height();
        painter.drawText(QRect(side / 2, 0, width() - side / 2 - (m_removable ? side - 4 : 0), side), Qt::AlignVCenter, m_text);
        if (m_removable) {
            // The remove mark: a small cross at the right end.
            const QPointF centre(width() - side / 2.0, side / 2.0);
            const qreal arm = side * 0.16;
            QColor ink = palette().color(QPalette::Text);
            ink.setAlphaF(0.6);
            painter.setPen(QPen(ink, 1.3, Qt::SolidLine, Qt::RoundCap));
            painter.drawLine(centre + QPointF(-arm, -arm), centre + QPointF(arm, arm));
            painter.drawLine(centre + QPointF(-arm, arm), centre + QPointF(arm, -arm));
        }
    }

    void mousePressEvent(QMouseEvent* event) override
    {
        if (m_removable && event->position().x() >= width() - height() && m_remove) {
            m_remove();
            return;
        }
        QWidget::mousePressEvent(event);
    }

private:
    QString m_text;
    bool m_removable;
    std::function<void()> m_remove;
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
    // A token may be removing itself from its own click: it goes once that is done.
    for (QWidget* token : std::as_const(m_tokenWidgets)) {
        layout()->removeWidget(token);
        token->hide();
        token->deleteLater();
    }
    m_tokenWidgets.clear();
    auto* flow = layout();
    flow->removeWidget(m_edit);
    for (int i = 0; i < m_tags.size(); ++i) {
        auto* token = new TokenChip(m_tags.at(i), !m_readOnly, [this, i] { removeTag(i); }, this);
        token->setObjectName(QStringLiteral("token"));
        Localizer::markAsData(token); // a tag is the user's word, never a key
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
