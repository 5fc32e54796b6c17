#include "GuiTestMain.h"
#include "app/core/InstanceChannel.h"

#include <QLocalSocket>
#include <QLockFile>
#include <QProcess>
#include <QSignalSpy>
#include <QSysInfo>
#include <QThread>
#include <QtConcurrent/QtConcurrentRun>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// One Quillarc per user: the first process takes the lock and listens, a
/// later one hands over its arguments and exits; leftovers of a crashed
/// process do not get in the way.
class TestGuiInstanceChannel : public QObject
{
    Q_OBJECT

private:
    int m_counter = 0;

    QString freshName()
    {
        return QStringLiteral("channel-%1-%2").arg(QCoreApplication::applicationPid()).arg(++m_counter);
    }

    /// Forwards from another thread, as a second process would, while this
    /// thread keeps answering: "ok" or the sender's error.
    static QString forwardElsewhere(const QString& name, const QStringList& arguments, int timeoutMs = 10000)
    {
        QFuture<QString> sent = QtConcurrent::run([name, arguments, timeoutMs] {
            InstanceChannel second(name);
            if (second.start() != InstanceChannel::Role::Secondary)
                return QStringLiteral("not secondary");
            QString error;
            return second.forward(arguments, QStringLiteral("/work/dir"), &error, timeoutMs) ? QStringLiteral("ok")
                                                                                             : error;
        });
        return QTest::qWaitFor([&sent] { return sent.isFinished(); }, 30000) ? sent.result()
                                                                             : QStringLiteral("no answer");
    }

    static QString quillarcBinary() { return QCoreApplication::applicationDirPath() + QStringLiteral("/../quillarc"); }

private Q_SLOTS:
    void secondProcessHandsOverItsArguments()
    {
        InstanceChannel first(freshName());
        QCOMPARE(first.start(), InstanceChannel::Role::Primary);
        QSignalSpy received(&first, &InstanceChannel::messageReceived);

        const QStringList arguments
            = { QStringLiteral("Belege 2024.quillarc"), QStringLiteral("quillarc://action/x?a=ä") };
        QCOMPARE(forwardElsewhere(first.name(), arguments), QStringLiteral("ok"));
        QCOMPARE(received.size(), 1);
        QCOMPARE(received.first().at(0).toStringList(), arguments);
        QCOMPARE(received.first().at(1).toString(), QStringLiteral("/work/dir"));

        // Another start with nothing to open is a message too.
        QCOMPARE(forwardElsewhere(first.name(), {}), QStringLiteral("ok"));
        QCOMPARE(received.size(), 2);
        QVERIFY(received.last().at(0).toStringList().isEmpty());
    }

    void leftoversOfACrashedProcessAreTakenOver()
    {
        const QString name = freshName();
        InstanceChannel probe(name);

        // A lock file naming a process that has ended.
        QProcess ended;
        ended.start(QStringLiteral("true"));
        QVERIFY(ended.waitForFinished());
        const qint64 deadPid = ended.processId() ? ended.processId() : 999999;
        QVERIFY(writeFile(probe.lockPath(),
            QStringLiteral("%1\n%2\n%3\n")
                .arg(deadPid)
                .arg(QCoreApplication::applicationName(), QSysInfo::machineHostName())
                .toUtf8()));

        // A socket file left behind: bound, never unlinked.
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        const QByteArray path = QFile::encodeName(probe.serverPath());
        QVERIFY(size_t(path.size()) < sizeof(address.sun_path));
        ::strncpy(address.sun_path, path.constData(), sizeof(address.sun_path) - 1);
        QCOMPARE(::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        ::close(fd);
        QVERIFY(QFile::exists(probe.serverPath()));

        InstanceChannel first(name);
        QString error;
        QCOMPARE(first.start(&error), InstanceChannel::Role::Primary);
        QVERIFY2(error.isEmpty(), qPrintable(error));
        QSignalSpy received(&first, &InstanceChannel::messageReceived);
        QCOMPARE(forwardElsewhere(name, { QStringLiteral("x.quillarc") }), QStringLiteral("ok"));
        QCOMPARE(received.size(), 1);
    }

    void badMessagesAndSilentHoldersFailCleanly()
    {
        InstanceChannel first(freshName());
        QCOMPARE(first.start(), InstanceChannel::Role::Primary);
        QSignalSpy received(&first, &InstanceChannel::messageReceived);

        // A message claiming to be huge is dropped and the connection closed.
        QLocalSocket rogue;
        rogue.connectToServer(first.serverPath());
        QVERIFY(rogue.waitForConnected(2000));
        rogue.write(QByteArray::fromHex("7fffffff") + QByteArray(16, 'x'));
        rogue.flush();
        QTRY_COMPARE(rogue.state(), QLocalSocket::UnconnectedState);
        QCOMPARE(received.size(), 0);

        // The channel still answers proper messages afterwards.
        QCOMPARE(forwardElsewhere(first.name(), { QStringLiteral("a.quillarc") }), QStringLiteral("ok"));

        // A lock held by a live process that never listens: the sender gives up with a reason.
        const QString silent = freshName();
        QLockFile held(InstanceChannel(silent).lockPath());
        QVERIFY(held.tryLock(0));
        QVERIFY(forwardElsewhere(silent, { QStringLiteral("a.quillarc") }, 300)
                    .contains(InstanceChannel(silent).serverPath()));
    }

    void realSecondProcessForwardsAUrlAndExits()
    {
        if (!QFile::exists(quillarcBinary()))
            QSKIP("the quillarc program is not built");
        InstanceChannel first(freshName());
        QCOMPARE(first.start(), InstanceChannel::Role::Primary);
        QSignalSpy received(&first, &InstanceChannel::messageReceived);

        QProcess second;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("QUILLARC_INSTANCE_NAME"), first.name());
        environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        second.setProcessEnvironment(environment);
        second.setWorkingDirectory(QDir::tempPath());
        second.start(quillarcBinary(), { QStringLiteral("quillarc://preferences") });
        QVERIFY(second.waitForStarted());
        // This process is busy for a moment: the second one waits for the answer.
        QThread::msleep(200);
        QTRY_VERIFY_WITH_TIMEOUT(second.state() == QProcess::NotRunning, 20000);
        QCOMPARE(second.exitStatus(), QProcess::NormalExit);
        QCOMPARE(second.exitCode(), 0);
        QCOMPARE(received.size(), 1);
        QCOMPARE(received.first().at(0).toStringList(), QStringList { QStringLiteral("quillarc://preferences") });
        QCOMPARE(QDir(received.first().at(1).toString()).canonicalPath(), QDir(QDir::tempPath()).canonicalPath());
    }
};

QUILLARC_GUI_TEST_MAIN(TestGuiInstanceChannel)
#include "tst_gui_instancechannel.moc"
