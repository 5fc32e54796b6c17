#include "app/window/WelcomeView.h"

#include "app/core/AppInfo.h"
#include "app/i18n/Localizer.h"

#include <QIcon>
#include <QLabel>
#include <QProgressBar>
#include <QVBoxLayout>

namespace {
constexpr int progressSteps = 1000;

QLabel* makeLabel(const QString& key, int pointSize, bool bold, QWidget* parent)
{
    auto* label = new QLabel(key, parent);
    label->setAlignment(Qt::AlignHCenter);
    label->setWordWrap(true);
    QFont font(QStringLiteral("WriteSans"));
    font.setPointSize(pointSize);
    font.setBold(bold);
    label->setFont(font);
    return label;
}
} // namespace

WelcomeView::WelcomeView(Document* document, QWidget* parent)
    : QWidget(parent)
    , m_document(document)
    , m_toolbarView(new QWidget(this))
{
    setObjectName(QStringLiteral("WelcomeView"));
    setAutoFillBackground(true);
    m_toolbarView->hide();

    auto* icon = new QLabel(this);
    icon->setAlignment(Qt::AlignHCenter);
    icon->setPixmap(QIcon(QStringLiteral(":/desktop/quillarc.svg")).pixmap(QSize(112, 112)));
    icon->setAccessibleName(QStringLiteral("APPNAME"));

    m_version = makeLabel(QStringLiteral("APPNAME"), 26, true, this);
    m_claim = makeLabel(QStringLiteral("App_Claim"), 14, false, this);
    m_claim->setForegroundRole(QPalette::PlaceholderText);
    m_copyright = makeLabel(AppInfo::startupCopyright(), 9, false, this);
    m_copyright->setForegroundRole(QPalette::PlaceholderText);
    Localizer::markAsData(m_copyright);

    m_tessaryProgress = new QProgressBar(this);
    m_tessaryProgress->setRange(0, progressSteps);
    m_tessaryProgress->setTextVisible(false);
    m_tessaryProgress->setFixedSize(260, 6);
    Localizer::setAccessibleKeys(m_tessaryProgress, QStringLiteral("WELCOME_PROGRESS"));

    m_progressIndicator = new QProgressBar(this);
    m_progressIndicator->setRange(0, 0);
    m_progressIndicator->setTextVisible(false);
    m_progressIndicator->setFixedSize(48, 6);
    Localizer::setAccessibleKeys(m_progressIndicator, QStringLiteral("WELCOME_BUSY"));

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(40, 40, 40, 24);
    layout->addStretch(3);
    layout->addWidget(icon);
    layout->addSpacing(12);
    layout->addWidget(m_version);
    layout->addWidget(m_claim);
    layout->addSpacing(28);
    layout->addWidget(m_tessaryProgress, 0, Qt::AlignHCenter);
    layout->addSpacing(10);
    layout->addWidget(m_progressIndicator, 0, Qt::AlignHCenter);
    layout->addStretch(4);
    layout->addWidget(m_copyright);

    Localizer::localize(this);
}

QString WelcomeView::version() const
{
    return m_version->text();
}

QString WelcomeView::claim() const
{
    return m_claim->text();
}

QString WelcomeView::copyright() const
{
    return m_copyright->text();
}

void WelcomeView::setProgress(double progress)
{
    m_progress = progress;
    m_tessaryProgress->setValue(qBound(0, int(progress * progressSteps), progressSteps));
}

void WelcomeView::uiTimerFired()
{
    setProgress(m_progress + 0.0109);
}

void WelcomeView::setBusy(bool busy)
{
    m_progressIndicator->setRange(0, busy ? 0 : 1);
}
