#include "app/news/NewsBrowser.h"

#include <QImage>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTextDocument>

namespace {
constexpr int imageLimit = 64; // images fetched for one page at most
constexpr qint64 imageByteLimit = 8 * 1024 * 1024; // bytes of one image at most
constexpr int imageTimeoutMs = 5000;
constexpr int documentMargin = 18; // room between the page and the window's edges
} // namespace

NewsBrowser::NewsBrowser(QNetworkAccessManager* network, QWidget* parent)
    : QTextBrowser(parent)
    , m_network(network)
{
    setOpenLinks(false);
    setOpenExternalLinks(false);
    setFrameShape(QFrame::NoFrame);
}

void NewsBrowser::showPage(const QString& html, const QUrl& address)
{
    ++m_generation;
    m_requested.clear();
    document()->clear();
    document()->setBaseUrl(address);
    setHtml(html);
    document()->setDocumentMargin(documentMargin);
}

void NewsBrowser::showNothing()
{
    ++m_generation;
    m_requested.clear();
    document()->clear();
    document()->setBaseUrl(QUrl());
}

QVariant NewsBrowser::loadResource(int type, const QUrl& name)
{
    const QString scheme = name.scheme();
    if (scheme != QLatin1String("http") && scheme != QLatin1String("https"))
        return QTextBrowser::loadResource(type, name);
    // Style sheets and other resources of a web page are not needed to read it.
    if (type != QTextDocument::ImageResource || m_requested.contains(name) || m_requested.size() >= imageLimit)
        return {};
    m_requested.insert(name);

    QNetworkRequest request(name);
    request.setTransferTimeout(imageTimeoutMs);
    QNetworkReply* reply = m_network->get(request);
    reply->setProperty("newsGeneration", m_generation);
    connect(reply, &QNetworkReply::downloadProgress, reply, [reply](qint64 received, qint64) {
        if (received > imageByteLimit)
            reply->abort();
    });
    connect(reply, &QNetworkReply::finished, this, [this, reply] { imageArrived(reply); });
    return {};
}

void NewsBrowser::imageArrived(QNetworkReply* reply)
{
    reply->deleteLater();
    if (reply->error() != QNetworkReply::NoError || reply->property("newsGeneration").toULongLong() != m_generation)
        return;
    QImage image;
    if (!image.loadFromData(reply->readAll()))
        return;
    document()->addResource(QTextDocument::ImageResource, reply->request().url(), image);
    // Lay the page out again so the image takes its place.
    document()->markContentsDirty(0, document()->characterCount());
}
