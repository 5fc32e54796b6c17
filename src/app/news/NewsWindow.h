#pragma once

#include <QPointer>
#include <QUrl>
#include <QWidget>
#include <functional>

class NewsBrowser;
class QNetworkAccessManager;
class QNetworkReply;
class QTextBrowser;

/// The news window: shows the makers' news page once whenever they publish a
/// newer news number than the one last shown.
///
/// Both addresses come from the settings ("newsListURL", "newsPageURL"), with
/// the makers' addresses as defaults. The number last shown is kept in the
/// setting "currentNewsNumber" and only ever grows.
class NewsWindow : public QWidget
{
    Q_OBJECT

public:
    static constexpr int timeoutMs = 5000;

    explicit NewsWindow(QWidget* parent = nullptr);

    static QUrl newsListURL();
    static QUrl newsPageURL();

    /// Fetches the news list; when its "newsUpdateNumber" is greater than the
    /// number last shown, stores the new number, loads the page and brings the
    /// window up in front of the archive windows. A list that does not load or
    /// lacks a number changes nothing and shows nothing.
    void checkForNews();
    /// Starts loading the news page into the window's view.
    void loadNEWS();

    QTextBrowser* newsWebView() const;

    /// Where clicked links are opened (the user's browser unless a test
    /// records them instead).
    void setUrlOpener(std::function<void(const QUrl&)> opener) { m_urlOpener = std::move(opener); }

Q_SIGNALS:
    /// A news check has ended; @p shown tells whether the window came up.
    void newsChecked(bool shown);
    /// The page has been loaded (@p ok) or has failed (the view stays empty).
    void pageLoaded(bool ok);

private:
    void newsListArrived(QNetworkReply* reply);
    void pageArrived(QNetworkReply* reply);
    void openInBrowser(const QUrl& link);
    void centreOnScreen();

    QNetworkAccessManager* m_network = nullptr;
    NewsBrowser* m_view = nullptr;
    QPointer<QNetworkReply> m_listReply;
    QPointer<QNetworkReply> m_pageReply;
    std::function<void(const QUrl&)> m_urlOpener;
};
