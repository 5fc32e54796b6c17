#include "app/core/InstanceChannel.h"

#include "app/core/AppSettings.h"
#include "text/Logging.h"

#include <QDataStream>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>
#include <QThread>
#include <QtEndian>
#include <unistd.h>

namespace {
constexpr quint32 messageMagic = 0x51415243; // "QARC"
constexpr quint32 largestMessage = 1 << 20;
constexpr char acceptedReply = 'A';
constexpr const char* bufferProperty = "_instanceBuffer";

QString runtimeFolder()
{
    QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (folder.isEmpty())
        folder = QDir::tempPath();
    QDir().mkpath(folder);
    return folder;
}
} // namespace

InstanceChannel::InstanceChannel(const QString& name, QObject* parent)
    : QObject(parent)
    , m_name(name)
{
}

InstanceChannel::~InstanceChannel()
{
    if (m_server)
        m_server->close();
}

QString InstanceChannel::defaultName()
{
    const QString fromEnvironment = qEnvironmentVariable("QUILLARC_INSTANCE_NAME");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    const QString fromSettings = QSettings().value(AppSettings::instanceChannelName).toString();
    if (!fromSettings.isEmpty())
        return fromSettings;
    return QStringLiteral("quillarc-%1").arg(::getuid());
}

QString InstanceChannel::lockPath() const
{
    return runtimeFolder() + QLatin1Char('/') + m_name + QStringLiteral(".lock");
}

QString InstanceChannel::serverPath() const
{
    return runtimeFolder() + QLatin1Char('/') + m_name + QStringLiteral(".socket");
}

InstanceChannel::Role InstanceChannel::start(QString* error)
{
    m_lock = std::make_unique<QLockFile>(lockPath());
    // Never stale by age: a lock is taken over only when its process is gone.
    m_lock->setStaleLockTime(0);
    if (!m_lock->tryLock(0)) {
        if (m_lock->error() == QLockFile::LockFailedError)
            return m_role = Role::Secondary;
        if (error)
            *error = QStringLiteral("%1: cannot create the lock file").arg(lockPath());
        return m_role = Role::Failed;
    }

    // A socket left by a crashed process would make listen() fail.
    QLocalServer::removeServer(serverPath());
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (!m_server->listen(serverPath())) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(serverPath(), m_server->errorString());
        m_lock->unlock();
        return m_role = Role::Failed;
    }
    connect(m_server, &QLocalServer::newConnection, this, &InstanceChannel::acceptConnections);
    return m_role = Role::Primary;
}

bool InstanceChannel::forward(
    const QStringList& arguments, const QString& workingDirectory, QString* error, int timeoutMs)
{
    QByteArray payload;
    {
        QDataStream stream(&payload, QIODevice::WriteOnly);
        stream << messageMagic << arguments << workingDirectory;
    }
    QByteArray message;
    {
        QDataStream stream(&message, QIODevice::WriteOnly);
        stream << payload;
    }

    const QDeadlineTimer deadline(timeoutMs);
    QLocalSocket socket;
    // The first process may hold the lock but not listen yet: try again until the deadline.
    while (true) {
        socket.connectToServer(serverPath());
        if (socket.waitForConnected(int(qMax<qint64>(1, deadline.remainingTime()))))
            break;
        if (deadline.hasExpired()) {
            if (error)
                *error = QStringLiteral("%1: %2").arg(serverPath(), socket.errorString());
            return false;
        }
        QThread::msleep(50);
    }
    socket.write(message);
    if (!socket.waitForBytesWritten(int(qMax<qint64>(1, deadline.remainingTime())))) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(serverPath(), socket.errorString());
        return false;
    }
    while (socket.bytesAvailable() < 1) {
        if (!socket.waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime())))) {
            if (error) {
                *error = QStringLiteral("%1: the running Quillarc did not answer (%2)")
                             .arg(serverPath(), socket.errorString());
            }
            return false;
        }
    }
    char reply = 0;
    socket.getChar(&reply);
    socket.disconnectFromServer();
    if (reply != acceptedReply) {
        if (error)
            *error = QStringLiteral("%1: the running Quillarc refused the message").arg(serverPath());
        return false;
    }
    return true;
}

void InstanceChannel::acceptConnections()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] { readFrom(socket); });
        if (socket->bytesAvailable() > 0)
            readFrom(socket);
    }
}

void InstanceChannel::readFrom(QLocalSocket* socket)
{
    QByteArray buffer = socket->property(bufferProperty).toByteArray() + socket->readAll();
    // A QDataStream'd QByteArray: a 32-bit size, then the bytes.
    if (buffer.size() < 4) {
        socket->setProperty(bufferProperty, buffer);
        return;
    }
    const quint32 size = qFromBigEndian<quint32>(buffer.constData());
    if (size > largestMessage) {
        qCWarning(lcQuillarc).noquote() << "Instance channel: message too large, connection closed";
        socket->abort();
        return;
    }
    if (quint32(buffer.size()) < 4 + size) {
        socket->setProperty(bufferProperty, buffer);
        return;
    }
    socket->setProperty(bufferProperty, QVariant());

    QDataStream stream(buffer.mid(4, size));
    quint32 magic = 0;
    QStringList arguments;
    QString workingDirectory;
    stream >> magic >> arguments >> workingDirectory;
    if (magic != messageMagic || stream.status() != QDataStream::Ok) {
        qCWarning(lcQuillarc).noquote() << "Instance channel: malformed message ignored";
        socket->write(QByteArray(1, '?'));
        socket->disconnectFromServer();
        return;
    }
    // Answer first: the sender exits as soon as it knows the message arrived.
    socket->write(QByteArray(1, acceptedReply));
    socket->flush();
    Q_EMIT messageReceived(arguments, workingDirectory);
}
