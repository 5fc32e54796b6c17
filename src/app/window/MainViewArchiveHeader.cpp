#include "app/window/MainViewArchiveHeader.h"

#include "app/i18n/Localizer.h"
#include "model/QuillarcContainer.h"
#include "store/Document.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QVBoxLayout>

MainViewArchiveHeader::MainViewArchiveHeader(Document* archive, QWidget* parent)
    : QWidget(parent)
    , m_archive(archive)
    , m_title(new QLineEdit(this))
    , m_description(new QPlainTextEdit(this))
{
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(8, 8, 8, 6);
    m_title->setObjectName(QStringLiteral("containerTitleTextField"));
    m_title->setFrame(false);
    QFont titleFont = m_title->font();
    titleFont.setBold(true);
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.2);
    m_title->setFont(titleFont);
    m_description->setObjectName(QStringLiteral("containerDescriptionTextField"));
    m_description->setFrameShape(QFrame::NoFrame);
    m_description->setPlaceholderText(QStringLiteral("ARCHIVE_DESCRIPTION_PLACEHOLDER"));
    m_description->setTabChangesFocus(true);
    m_description->setFixedHeight(m_description->fontMetrics().lineSpacing() * 3 + 8);
    Localizer::markAsData(m_title);
    Localizer::setPlaceholderKey(m_title, QStringLiteral("ARCHIVE_TITLE_PLACEHOLDER"));
    Localizer::setAccessibleKeys(m_title, QStringLiteral("ARCHIVE_TITLE_PLACEHOLDER"));
    Localizer::setAccessibleKeys(m_description, QStringLiteral("ARCHIVE_DESCRIPTION_PLACEHOLDER"));
    layout->addWidget(m_title);
    layout->addWidget(m_description);

    connect(m_title, &QLineEdit::editingFinished, this, &MainViewArchiveHeader::commitTitle);
    connect(m_description, &QPlainTextEdit::textChanged, this, [this] {
        const ContainerPtr container = m_archive ? m_archive->container() : nullptr;
        const QString text = m_description->toPlainText();
        // Only what the user types is written, not what the archive shows.
        if (m_description->hasFocus() && container && container->containerDescription() != text)
            container->setValue(QStringLiteral("containerDescription"), Value::string(text));
    });
    if (m_archive)
        connect(m_archive, &Document::objectChanged, this, &MainViewArchiveHeader::onObjectChanged);
    showContainerValues();
}

void MainViewArchiveHeader::commitTitle()
{
    const ContainerPtr container = m_archive ? m_archive->container() : nullptr;
    if (container && container->containerTitle() != m_title->text())
        container->setValue(QStringLiteral("containerTitle"), Value::string(m_title->text()));
}

void MainViewArchiveHeader::onObjectChanged(QuillarcDatabaseObject* object)
{
    if (m_archive && object == m_archive->container().get())
        showContainerValues();
}

void MainViewArchiveHeader::showContainerValues()
{
    const ContainerPtr container = m_archive ? m_archive->container() : nullptr;
    if (!container)
        return;
    if (!m_title->hasFocus())
        m_title->setText(container->containerTitle());
    if (!m_description->hasFocus() && m_description->toPlainText() != container->containerDescription())
        m_description->setPlainText(container->containerDescription());
}
