#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>

class QLocalServer;
class QLocalSocket;
class QLockFile;

/// Keeps one Quillarc process per user: the first process holds a lock file in
/// the runtime folder and listens on a local socket beside it; a later process
/// finds the lock taken, hands its arguments (archives, quillarc:// URLs) to
/// the first one and exits.
///
/// One message is a 32-bit size followed by a QDataStream of the arguments
/// and the sender's working folder; the first process answers with one byte
/// once it has taken the message. A lock left by a crashed process is taken
/// over (its process no longer exists), and a socket it left behind is
/// removed before listening.
class InstanceChannel : public QObject
{
    Q_OBJECT

public:
    enum class Role
    {
        Primary,
        Secondary,
        Failed
    };

    /// @p name separates channels (tests run several side by side); see defaultName().
    explicit InstanceChannel(const QString& name = defaultName(), QObject* parent = nullptr);
    ~InstanceChannel() override;

    /// QUILLARC_INSTANCE_NAME when set, else the setting "instanceChannelName",
    /// else "quillarc-" and the user id.
    static QString defaultName();

    QString name() const { return m_name; }
    QString lockPath() const;
    QString serverPath() const;

    /// Takes the lock and listens (Primary), or finds another process holding
    /// it (Secondary). Failed when neither works; @p error then says why.
    Role start(QString* error = nullptr);
    Role role() const { return m_role; }

    /// Secondary: sends the arguments to the first process and waits for its
    /// answer, retrying the connection while that process is still starting.
    bool forward(
        const QStringList& arguments, const QString& workingDirectory, QString* error = nullptr, int timeoutMs = 10000);

Q_SIGNALS:
    /// Primary: another process was started with these arguments.
    void messageReceived(const QStringList& arguments, const QString& workingDirectory);

private:
    void acceptConnections();
    void readFrom(QLocalSocket* socket);

    QString m_name;
    Role m_role = Role::Failed;
    std::unique_ptr<QLockFile> m_lock;
    QLocalServer* m_server = nullptr;
};
