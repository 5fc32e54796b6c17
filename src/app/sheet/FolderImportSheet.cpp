#include "app/sheet/FolderImportSheet.h"

#include "app/i18n/Localizer.h"

#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

FolderImportSheet::FolderImportSheet(QWidget* window)
    : Sheet(window)
    , m_indicator(new QProgressBar(this))
    , m_status(new QLabel(this))
{
    setObjectName(QStringLiteral("folderImportSheet"));
    setWindowTitle(QStringLiteral("MONITORED_FOLDER_IMPORT_START"));
    auto* layout = new QVBoxLayout(this);
    m_indicator->setRange(0, 0);
    m_indicator->setTextVisible(false);
    m_indicator->setMinimumWidth(320);
    layout->addWidget(m_indicator);
    m_status->setObjectName(QStringLiteral("folderImportStringLabel"));
    m_status->setAlignment(Qt::AlignCenter);
    m_status->setMinimumWidth(320);
    Localizer::markAsData(m_status);
    layout->addWidget(m_status);
}

void FolderImportSheet::setFolderImportString(const QString& text)
{
    m_status->setText(m_status->fontMetrics().elidedText(text, Qt::ElideMiddle, 360));
}

QString FolderImportSheet::folderImportString() const
{
    return m_status->text();
}
