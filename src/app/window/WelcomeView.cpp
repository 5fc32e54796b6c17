#include "app/window/WelcomeView.h"

#include "app/core/AppInfo.h"
#include "app/i18n/Localizer.h"
#include "app/style/AppFonts.h"
#include "controls/KVTessaryProgress.h"
#include "controls/TessaryBeachBallView.h"

#include <QIcon>
#include <QLabel>
#include <QVBoxLayout>
#include <algorithm>

namespace {
constexpr int progressSteps = 1000;

QLabel* makeLabel(const QString& key, int pointSize, bool bold, QWidget* parent)
{
    auto* label = new QLabel(key, parent);
    label->setAlignment(Qt::AlignHCenter);
    label->setWordWrap(true);
    label->setFont(AppFonts::archiveFont(pointSize, bold));
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
    icon->setPixmap(QIcon(QStringLiteral(":/icons/quillarc.svg")).pixmap(QSize(112, 112)));
    icon->setAccessibleName(QStringLiteral("APPNAME"));

    m_version = makeLabel(QStringLiteral("APPNAME"), 26, true, this);
    m_claim = makeLabel(QStringLiteral("App_Claim"), 14, false, this);
    m_claim->setForegroundRole(QPalette::PlaceholderText);
    m_copyright = makeLabel(AppInfo::startupCopyright(), 9, false, this);
    m_copyright->setForegroundRole(QPalette::PlaceholderText);
    Localizer::markAsData(m_copyright);

    m_tessaryProgress = new KVTessaryProgress(this);
    m_tessaryProgress->setRange(0, progressSteps);
    m_tessaryProgress->setFixedWidth(260);
    m_tessaryProgress->setCancelVisible(false); // opening cannot be cancelled
    Localizer::setAccessibleKeys(m_tessaryProgress, QStringLiteral("WELCOME_PROGRESS"));

    m_progressIndicator = new TessaryBeachBallView(this);
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
    m_tessaryProgress->setValue(std::clamp<qint64>(qint64(progress * progressSteps), 0, progressSteps));
}

void WelcomeView::uiTimerFired()
{
    setProgress(m_progress + 0.0109);
}

void WelcomeView::setBusy(bool busy)
{
    if (busy)
        m_progressIndicator->startAnimation();
    else
        m_progressIndicator->stopAnimation();
}
