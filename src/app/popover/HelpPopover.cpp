#include "app/popover/HelpPopover.h"

#include "app/i18n/Localizer.h"
#include "text/KVLocalizationDictionary.h"

#include <QAbstractTextDocumentLayout>
#include <QStringEncoder>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextCursor>
#include <QTextDocument>
#include <QVBoxLayout>

namespace {
const QString head
    = QStringLiteral("<head><style type=\"text/css\">body {background-color: transparent;font-size: 12px; "
                     "}</style></head><body>");

bool isLatin1(const QString& text)
{
    for (const QChar c : text) {
        if (c.unicode() > 0xff)
            return false;
    }
    return true;
}
} // namespace

HelpPopover::HelpPopover(QWidget* parent)
    : PopoverController(parent)
    , m_text(new QTextBrowser(this))
{
    setObjectName(QStringLiteral("HelpPopover"));
    m_text->setOpenExternalLinks(true);
    m_text->setFrameShape(QFrame::NoFrame);
    m_text->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_text->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // No background of its own: the popover's panel shows through.
    m_text->viewport()->setAutoFillBackground(false);
    m_text->setStyleSheet(QStringLiteral("QTextBrowser { background: transparent; }"));
    Localizer::setAccessibleKeys(m_text, QStringLiteral("HELP_BUTTON_TOOLTIP"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(10, 8, 10, 8);
    layout->addWidget(m_text);
}

QString HelpPopover::keyForTag(int tag)
{
    static const char* const keys[]
        = { "Info_Main", "Info_Document", "Info_Scanner", "Info_Group", "Info_Batch", "Info_Folder" };
    if (tag >= 0 && tag < int(std::size(keys)))
        return QString::fromLatin1(keys[tag]);
    return QStringLiteral("Info_Default");
}

QString HelpPopover::htmlForTag(int tag)
{
    const QString html
        = QStringLiteral("%1 %2 %3 <body>")
              .arg(head, localizedString(keyForTag(tag)), localizedString(QStringLiteral("HELP_INFO_LINK")));
    // The text is read as Latin 1: anything outside it leaves no content.
    return isLatin1(html) ? html : QString();
}

void HelpPopover::setTag(int tag, bool dark)
{
    setActionTag(tag);
    QTextDocument* document = m_text->document();
    document->setDocumentMargin(0);
    document->setHtml(htmlForTag(tag));

    // Every font becomes the application's, 12 points, in the appearance's colour.
    const QColor textColor = dark ? QColor(0xe8, 0xe8, 0xea) : QColor(0x1d, 0x1d, 0x1f);
    const QColor linkColor = palette().color(QPalette::Link);
    for (QTextBlock block = document->begin(); block.isValid(); block = block.next()) {
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            QTextCursor cursor(document);
            cursor.setPosition(fragment.position());
            cursor.setPosition(fragment.position() + fragment.length(), QTextCursor::KeepAnchor);
            QTextCharFormat format;
            format.setFontFamilies({ QStringLiteral("WriteSans-Regular") });
            format.setFontPointSize(12);
            format.setForeground(fragment.charFormat().isAnchor() ? linkColor : textColor);
            cursor.mergeCharFormat(format);
        }
    }

    document->setTextWidth(-1);
    const qreal ideal = qMin<qreal>(document->idealWidth(), maximumWidth);
    document->setTextWidth(ideal);
    const QSize size(int(std::ceil(ideal)) + 4, int(std::ceil(document->size().height())) + 4);
    m_text->setFixedSize(document->isEmpty() ? QSize(40, 20) : size);
    adjustSize();
}

QString HelpPopover::plainText() const
{
    return m_text->document()->toPlainText();
}
