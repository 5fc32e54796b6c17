#pragma once

#include <QSet>
#include <QTextBrowser>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;

/// The page view of the news window. It shows a page fetched elsewhere and
/// never follows a link itself: clicked links, including those meant for a
/// new window, are announced with anchorClicked() for the user's browser.
///
/// Images of a page on the web are fetched in the background and appear as
/// they arrive, so the window never waits for them.
class NewsBrowser : public QTextBrowser
{
    Q_OBJECT

public:
    NewsBrowser(QNetworkAccessManager* network, QWidget* parent = nullptr);

    /// Shows @p html that was loaded from @p address (relative links and
    /// images are resolved against it).
    void showPage(const QString& html, const QUrl& address);
    /// An empty page, as left by a page that failed to load.
    void showNothing();

    QVariant loadResource(int type, const QUrl& name) override;

private:
    void imageArrived(QNetworkReply* reply);

    QNetworkAccessManager* m_network;
    QSet<QUrl> m_requested;
    quint64 m_generation = 0; ///< pages shown so far; late images of an older page are dropped
};
