#include "GuiTestSupport.h"
#include "app/news/NewsList.h"
#include "app/news/NewsWindow.h"
#include "store/BinaryPlistWriter.h"

#include <QBuffer>
#include <QImage>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QTextBrowser>
#include <limits>
#include <memory>

namespace {
// Settings are read from the temporary home, so it must exist before anything reads them.
TemporaryHome home;

QByteArray xmlList(const QByteArray& entries)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n<plist version=\"1.0\"><dict>"
        + entries + "</dict></plist>";
}

QByteArray binaryList(qint64 number)
{
    BinaryPlistWriter writer;
    const auto key = writer.addString(QStringLiteral("newsUpdateNumber"));
    const auto value = writer.addInteger(number);
    return writer.write(writer.addDictionary({ key }, { value }));
}

/// A tiny HTTP/1.1 server on the loopback interface: one response per path,
/// 404 for every other path, one request per connection.
class HttpResponder : public QObject
{
public:
    HttpResponder()
    {
        m_server.listen(QHostAddress::LocalHost);
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(socket); });
        });
    }

    void set(const QString& path, const QByteArray& body, const QByteArray& type = "text/html; charset=utf-8")
    {
        m_bodies.insert(path, { body, type });
    }
    QUrl url(const QString& path) const
    {
        return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path));
    }
    /// Paths asked for so far, in order.
    QStringList requests;

private:
    void serve(QTcpSocket* socket)
    {
        QByteArray& buffer = m_pending[socket];
        buffer += socket->readAll();
        if (!buffer.contains("\r\n\r\n"))
            return;
        const QString path = QString::fromLatin1(buffer.split(' ').value(1));
        m_pending.remove(socket);
        requests.append(path);
        const auto found = m_bodies.constFind(path);
        const bool known = found != m_bodies.constEnd();
        const QByteArray body = known ? found->first : QByteArray("not here");
        socket->write((known ? "HTTP/1.1 200 OK\r\n" : "HTTP/1.1 404 Not Found\r\n") + QByteArray("Content-Type: ")
            + (known ? found->second : QByteArray("text/plain"))
            + "\r\nContent-Length: " + QByteArray::number(body.size()) + "\r\nConnection: close\r\n\r\n" + body);
        socket->disconnectFromHost();
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
    }

    QTcpServer m_server;
    QHash<QString, std::pair<QByteArray, QByteArray>> m_bodies;
    QHash<QTcpSocket*, QByteArray> m_pending;
};
} // namespace

/// The news window comes up once per newer published number, stays quiet on
/// every failure, and hands clicked links to the user's browser.
class TestGuiNews : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<HttpResponder> m_server;
    std::unique_ptr<NewsWindow> m_window;
    QList<QUrl> m_opened;

    /// Runs one news check to its end; true when the window came up.
    bool check()
    {
        QSignalSpy checked(m_window.get(), &NewsWindow::newsChecked);
        m_window->checkForNews();
        if (!checked.wait(10000))
            qFatal("the news check did not end");
        return checked.first().first().toBool();
    }

private Q_SLOTS:
    void init()
    {
        GuiTest::appSettings().clear();
        m_server = std::make_unique<HttpResponder>();
        m_server->set(
            QStringLiteral("/news.html"), "<h1>Neu in Quillarc</h1><p>Mehr <a href=\"/more.html\">hier</a>.</p>");
        GuiTest::appSettings().setValue(QStringLiteral("newsListURL"), m_server->url(QStringLiteral("/news.plist")));
        GuiTest::appSettings().setValue(QStringLiteral("newsPageURL"), m_server->url(QStringLiteral("/news.html")));
        m_opened.clear();
        m_window = std::make_unique<NewsWindow>();
        m_window->setUrlOpener([this](const QUrl& url) { m_opened.append(url); });
    }

    void cleanup()
    {
        m_window.reset();
        m_server.reset();
    }

    // "stored" is the number last shown (-1: none yet); "list" is what the server publishes (empty: 404).
    void showsOnlyNewerNews_data()
    {
        QTest::addColumn<int>("stored");
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<bool>("shown");
        QTest::addColumn<qint64>("storedAfter");
        const QByteArray three = xmlList("<key>newsUpdateNumber</key><integer>3</integer>");
        const QByteArray four = xmlList("<key>newsUpdateNumber</key><integer>4</integer>");
        QTest::newRow("same number") << 3 << three << false << qint64(3);
        QTest::newRow("newer number") << 3 << four << true << qint64(4);
        QTest::newRow("older number") << 5 << four << false << qint64(5);
        QTest::newRow("binary list") << 3 << binaryList(12) << true << qint64(12);
        QTest::newRow("number as text") << 3 << xmlList("<key>newsUpdateNumber</key><string>7</string>") << true
                                        << qint64(7);
        QTest::newRow("missing number") << 3 << xmlList("<key>other</key><integer>9</integer>") << false << qint64(3);
        QTest::newRow("first check, missing number") << -1 << xmlList("") << false << qint64(0);
        QTest::newRow("first check, number 1")
            << -1 << xmlList("<key>newsUpdateNumber</key><integer>1</integer>") << true << qint64(1);
        QTest::newRow("not a property list") << 3 << QByteArray("<html>maintenance</html>") << false << qint64(3);
        QTest::newRow("list not found") << 3 << QByteArray() << false << qint64(3);
    }

    void showsOnlyNewerNews()
    {
        QFETCH(int, stored);
        QFETCH(QByteArray, list);
        if (stored >= 0)
            GuiTest::appSettings().setValue(QStringLiteral("currentNewsNumber"), stored);
        if (!list.isEmpty())
            m_server->set(QStringLiteral("/news.plist"), list, "application/x-plist");

        QSignalSpy page(m_window.get(), &NewsWindow::pageLoaded);
        QTEST(check(), "shown");
        QTEST(GuiTest::appSettings().value(QStringLiteral("currentNewsNumber")).toLongLong(), "storedAfter");
        QFETCH(bool, shown);
        QCOMPARE(m_window->isVisible(), shown);
        if (shown) {
            QVERIFY(m_window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
            QTRY_COMPARE(page.count(), 1);
            QVERIFY(page.first().first().toBool());
            QVERIFY(m_window->newsWebView()->toPlainText().contains(QStringLiteral("Neu in Quillarc")));
        }
        // Each number comes up once: the same list again shows nothing.
        m_window->hide();
        QVERIFY(!check());
        QVERIFY(!m_window->isVisible());
        QCOMPARE(m_server->requests.count(QStringLiteral("/news.html")), shown ? 1 : 0);
        QTEST(GuiTest::appSettings().value(QStringLiteral("currentNewsNumber")).toLongLong(), "storedAfter");
    }

    void unreachableServerIsSilent()
    {
        GuiTest::appSettings().setValue(QStringLiteral("currentNewsNumber"), 3);
        const QUrl list = m_server->url(QStringLiteral("/news.plist"));
        m_server.reset(); // nobody listens on that port any more
        GuiTest::appSettings().setValue(QStringLiteral("newsListURL"), list);
        QVERIFY(!check());
        QVERIFY(!m_window->isVisible());
        QCOMPARE(GuiTest::appSettings().value(QStringLiteral("currentNewsNumber")).toLongLong(), qint64(3));
    }

    void failedPageLeavesEmptyWindow()
    {
        GuiTest::appSettings().setValue(QStringLiteral("currentNewsNumber"), 3);
        GuiTest::appSettings().setValue(QStringLiteral("newsPageURL"), m_server->url(QStringLiteral("/gone.html")));
        m_server->set(QStringLiteral("/news.plist"), xmlList("<key>newsUpdateNumber</key><integer>4</integer>"));
        QSignalSpy page(m_window.get(), &NewsWindow::pageLoaded);
        QVERIFY(check());
        QVERIFY(m_window->isVisible());
        QTRY_COMPARE(page.count(), 1);
        QVERIFY(!page.first().first().toBool());
        QVERIFY(m_window->newsWebView()->toPlainText().isEmpty());
    }

    void clickedLinkOpensInBrowser()
    {
        QSignalSpy page(m_window.get(), &NewsWindow::pageLoaded);
        m_window->loadNEWS();
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        QTRY_COMPARE(page.count(), 1);

        // The middle of the link's text, where a user clicks it.
        QTextBrowser* view = m_window->newsWebView();
        const int at = view->toPlainText().indexOf(QStringLiteral("hier")) + 2;
        QTextCursor cursor(view->document());
        cursor.setPosition(at);
        const QPoint point = view->cursorRect(cursor).center();
        QCOMPARE(view->anchorAt(point), QStringLiteral("/more.html"));
        QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, point);

        QCOMPARE(m_opened, QList<QUrl> { m_server->url(QStringLiteral("/more.html")) });
        QVERIFY(view->toPlainText().contains(QStringLiteral("Neu in Quillarc")));
        QCoreApplication::processEvents();
        QVERIFY(!m_server->requests.contains(QStringLiteral("/more.html")));
    }

    void imagesArriveAfterThePage()
    {
        QImage dot(4, 4, QImage::Format_RGB32);
        dot.fill(Qt::red);
        QBuffer png;
        png.open(QIODevice::WriteOnly);
        dot.save(&png, "PNG");
        m_server->set(QStringLiteral("/dot.png"), png.data(), "image/png");
        m_server->set(QStringLiteral("/news.html"), "<p>Bild: <img src=\"dot.png\"></p>");
        QSignalSpy page(m_window.get(), &NewsWindow::pageLoaded);
        m_window->loadNEWS();
        m_window->show();
        QTRY_COMPARE(page.count(), 1);
        const QUrl image = m_server->url(QStringLiteral("/dot.png"));
        QTRY_VERIFY(m_window->newsWebView()->document()->resource(QTextDocument::ImageResource, image).isValid());
        QCOMPARE(m_server->requests.count(QStringLiteral("/dot.png")), 1);
    }

    void readsThePublishedNumber_data()
    {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<bool>("readable");
        QTest::addColumn<qint64>("number");
        const auto entry = [](const QByteArray& value) { return xmlList("<key>newsUpdateNumber</key>" + value); };
        const qint64 largest = std::numeric_limits<qint64>::max();
        QTest::newRow("integer") << entry("<integer>42</integer>") << true << qint64(42);
        QTest::newRow("real") << entry("<real>4.9</real>") << true << qint64(4);
        QTest::newRow("true") << entry("<true/>") << true << qint64(1);
        QTest::newRow("text with blanks and sign") << entry("<string> +12 new</string>") << true << qint64(12);
        QTest::newRow("negative text") << entry("<string>-3</string>") << true << qint64(-3);
        QTest::newRow("text without digits") << entry("<string>new</string>") << true << qint64(0);
        QTest::newRow("text too large") << entry("<string>99999999999999999999</string>") << true << largest;
        QTest::newRow("real too large") << entry("<real>1e300</real>") << true << largest;
        QTest::newRow("array") << entry("<array><integer>5</integer></array>") << true << qint64(0);
        QTest::newRow("key twice: last wins")
            << xmlList("<key>newsUpdateNumber</key><integer>2</integer><key>newsUpdateNumber</key><integer>6</integer>")
            << true << qint64(6);
        QTest::newRow("root is an array")
            << QByteArray("<plist version=\"1.0\"><array/></plist>") << false << qint64(0);
        QTest::newRow("cut short") << binaryList(4).left(20) << false << qint64(0);
        QTest::newRow("empty") << QByteArray() << false << qint64(0);
    }

    void readsThePublishedNumber()
    {
        QFETCH(QByteArray, list);
        qint64 number = -1;
        QString error;
        QTEST(NewsList::readNewsUpdateNumber(list, &number, &error), "readable");
        QTEST(number, "number");
        QFETCH(bool, readable);
        QCOMPARE(error.isEmpty(), readable);
    }
};

QTEST_MAIN(TestGuiNews)
#include "tst_gui_news.moc"
