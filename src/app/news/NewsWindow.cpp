#include "app/news/NewsWindow.h"

#include "app/core/AppInfo.h"
#include "app/core/AppSettings.h"
#include "app/i18n/Localizer.h"
#include "app/news/NewsBrowser.h"
#include "app/news/NewsList.h"

#include <QDesktopServices>
#include <QGuiApplication>
#include <QLoggingCategory>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QScreen>
#include <QSettings>
#include <QStringDecoder>
#include <QVBoxLayout>

namespace {
Q_LOGGING_CATEGORY(newsLog, "quillarc.news")

const QString& currentNewsNumberKey = AppSettings::currentNewsNumber;
constexpr qint64 listByteLimit = 1024 * 1024;
constexpr qint64 pageByteLimit = 8 * 1024 * 1024;

QSettings applicationSettings()
{
    return QSettings(AppInfo::organizationName(), AppInfo::applicationName());
}

QUrl settingOr(const QString& key, const QString& fallback)
{
    const QString address = applicationSettings().value(key).toString();
    return QUrl(address.isEmpty() ? fallback : address);
}

/// Gives up on a reply that grows beyond @p limit bytes.
void limitSize(QNetworkReply* reply, qint64 limit)
{
    QObject::connect(reply, &QNetworkReply::downloadProgress, reply, [reply, limit](qint64 received, qint64) {
        if (received > limit)
            reply->abort();
    });
}

/// The page's text in the character set its server or its own markup names, else UTF-8.
QString decodePage(const QByteArray& bytes, const QString& contentType)
{
    const qsizetype at = contentType.indexOf(QLatin1String("charset="), 0, Qt::CaseInsensitive);
    if (at >= 0) {
        QString name = contentType.mid(at + 8).section(QLatin1Char(';'), 0, 0).trimmed();
        name.remove(QLatin1Char('"'));
        QStringDecoder decoder(name.toLatin1().constData());
        if (decoder.isValid())
            return decoder.decode(bytes);
    }
    QStringDecoder decoder = QStringDecoder::decoderForHtml(bytes);
    if (decoder.isValid())
        return decoder.decode(bytes);
    return QString::fromUtf8(bytes);
}
} // namespace

NewsWindow::NewsWindow(QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("NewsWindow"));
    setWindowTitle(QStringLiteral("NEWS_WINDOW"));
    m_network = new QNetworkAccessManager(this);
    m_view = new NewsBrowser(m_network, this);
    m_view->setObjectName(QStringLiteral("newsWebView"));
    // The page comes from the makers' website in the reader's language: data, not keys.
    Localizer::markAsData(m_view);
    Localizer::setAccessibleKeys(m_view, QStringLiteral("NEWS_WINDOW_VIEW"));
    // A clicked link, or a link meant for a new window, opens in the user's
    // browser; only the page's own load is shown here.
    connect(m_view, &QTextBrowser::anchorClicked, this, &NewsWindow::openInBrowser);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_view);
    resize(680, 560);
    Localizer::localize(this);
}

QUrl NewsWindow::newsListURL()
{
    return settingOr(
        QStringLiteral("newsListURL"), QStringLiteral("https://quillarc.tessary.de/support/news/news.plist"));
}

QUrl NewsWindow::newsPageURL()
{
    return settingOr(QStringLiteral("newsPageURL"), QStringLiteral("https://quillarc.tessary.de/support/news/"));
}

QTextBrowser* NewsWindow::newsWebView() const
{
    return m_view;
}

void NewsWindow::checkForNews()
{
    {
        QSettings settings = applicationSettings();
        if (!settings.contains(currentNewsNumberKey))
            settings.setValue(currentNewsNumberKey, 0);
    }
    // One check at a time: a second request while the list loads adds nothing.
    if (m_listReply)
        return;

    // The list is fetched asynchronously with a time-out rather than waited
    // for, so a slow server never freezes the archive windows; the answer is
    // handled on the main thread like everything else here.
    QNetworkRequest request(newsListURL());
    request.setTransferTimeout(timeoutMs);
    // A published number must never come from a cache.
    request.setAttribute(QNetworkRequest::CacheLoadControlAttribute, QNetworkRequest::AlwaysNetwork);
    m_listReply = m_network->get(request);
    limitSize(m_listReply, listByteLimit);
    QNetworkReply* reply = m_listReply;
    connect(reply, &QNetworkReply::finished, this, [this, reply] { newsListArrived(reply); });
}

void NewsWindow::newsListArrived(QNetworkReply* reply)
{
    reply->deleteLater();
    m_listReply = nullptr;
    if (reply->error() != QNetworkReply::NoError) {
        qCDebug(newsLog) << "news list not loaded:" << reply->errorString();
        Q_EMIT newsChecked(false);
        return;
    }
    qint64 published = 0;
    QString error;
    if (!NewsList::readNewsUpdateNumber(reply->readAll(), &published, &error)) {
        qCDebug(newsLog) << "news list not readable:" << error;
        Q_EMIT newsChecked(false);
        return;
    }

    QSettings settings = applicationSettings();
    // Read again now: the number only grows, so a check that ended meanwhile can only have raised it.
    const qint64 current = settings.value(currentNewsNumberKey, 0).toLongLong();
    if (current >= published) {
        Q_EMIT newsChecked(false);
        return;
    }
    // The number is stored before anything is shown, so the news comes up once.
    settings.setValue(currentNewsNumberKey, published);
    settings.sync();

    loadNEWS();
    centreOnScreen();
    // Just above the archive windows, so the news is not hidden behind them.
    setWindowFlag(Qt::WindowStaysOnTopHint, true);
    show();
    raise();
    activateWindow();
    Q_EMIT newsChecked(true);
}

void NewsWindow::loadNEWS()
{
    if (QNetworkReply* older = m_pageReply) {
        m_pageReply = nullptr;
        older->abort();
    }
    m_view->showNothing();
    QNetworkRequest request(newsPageURL());
    request.setTransferTimeout(timeoutMs);
    m_pageReply = m_network->get(request);
    limitSize(m_pageReply, pageByteLimit);
    QNetworkReply* reply = m_pageReply;
    connect(reply, &QNetworkReply::finished, this, [this, reply] { pageArrived(reply); });
}

void NewsWindow::pageArrived(QNetworkReply* reply)
{
    reply->deleteLater();
    // A load replaced by a newer one is dropped; the newer one reports for itself.
    if (reply != m_pageReply)
        return;
    if (reply->error() != QNetworkReply::NoError) {
        qCDebug(newsLog) << "news page not loaded:" << reply->errorString();
        Q_EMIT pageLoaded(false);
        return;
    }
    const QString contentType = reply->header(QNetworkRequest::ContentTypeHeader).toString();
    m_view->showPage(decodePage(reply->readAll(), contentType), reply->url());
    Q_EMIT pageLoaded(true);
}

void NewsWindow::openInBrowser(const QUrl& link)
{
    const QUrl address = m_view->document()->baseUrl().resolved(link);
    if (m_urlOpener)
        m_urlOpener(address);
    else
        QDesktopServices::openUrl(address);
}

void NewsWindow::centreOnScreen()
{
    QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return;
    QRect frame = frameGeometry();
    frame.moveCenter(screen->availableGeometry().center());
    move(frame.topLeft());
}
