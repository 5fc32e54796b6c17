#include "app/views/IntegrityStatusLabel.h"

#include "app/i18n/Localizer.h"
#include "app/style/Icons.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>

namespace {
constexpr int iconSize = 14;
} // namespace

IntegrityStatusLabel::IntegrityStatusLabel(Document* archive, QWidget* parent)
    : QWidget(parent)
    , m_archive(archive)
    , m_icon(new QLabel(this))
    , m_text(new QLabel(this))
{
    setObjectName(QStringLiteral("integrityStatus"));
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(5);
    m_icon->setFixedSize(iconSize, iconSize);
    layout->addWidget(m_icon);
    layout->addWidget(m_text, 1);
    m_text->setWordWrap(false);
    Localizer::markAsData(m_text);
    Localizer::setAccessibleKeys(this, QStringLiteral("INFO_INTEGRITY"));
    setCursor(Qt::PointingHandCursor);
    if (archive)
        connect(archive, &Document::integrityStringChanged, this, &IntegrityStatusLabel::showState);
    showState(archive ? archive->integrityString() : QString());
}

QString IntegrityStatusLabel::text() const
{
    return m_text->text();
}

void IntegrityStatusLabel::showState(const QString& text)
{
    m_text->setText(text);
    m_text->setToolTip(text);
    setVisible(!text.isEmpty());
    // The mark follows the state line's meaning, whatever the language.
    QString icon = QStringLiteral("info");
    if (text == localizedString(QStringLiteral("INTEGRITY_STRING_DATABASE_VALID")))
        icon = QStringLiteral("intact");
    else if (text == localizedString(QStringLiteral("INTEGRITY_STRING_DATABASE_CORRUPT")))
        icon = QStringLiteral("damaged");
    m_icon->setPixmap(Icons::icon(icon).pixmap(QSize(iconSize, iconSize), devicePixelRatioF()));
    m_icon->setProperty("state", icon);
}

void IntegrityStatusLabel::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint()))
        Q_EMIT clicked();
    QWidget::mouseReleaseEvent(event);
}

void IntegrityStatusLabel::changeEvent(QEvent* event)
{
    // A new palette or screen redraws the mark at its colours and pixel ratio.
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::ScreenChangeInternal)
        showState(m_text->text());
    QWidget::changeEvent(event);
}
