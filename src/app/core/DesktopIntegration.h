#pragma once

#include "app/core/InstallOfferDialog.h"

#include <QObject>
#include <QPointer>

class QWidget;

/// Quillarc in the desktop's application menu and as the handler of
/// quillarc:// links: the desktop entry and icon under the user's data
/// folder (~/.local/share), registered with xdg-mime when it is installed.
///
/// On a first start without an installed entry the user is offered this once;
/// "do not ask again" is remembered, failures are logged and shown, and
/// neither ever stops the application.
class DesktopIntegration : public QObject
{
    Q_OBJECT

public:
    explicit DesktopIntegration(QObject* parent = nullptr);

    /// The desktop entry found in the user's or the system's application
    /// folders, or "" when none is installed.
    static QString installedEntryPath();
    static QString userEntryPath();
    static QString userIconPath();
    /// The shipped desktop entry with Exec and TryExec naming @p executable.
    static QByteArray desktopEntry(const QString& executable);

    /// No entry installed and the offer not refused for good.
    bool shouldOffer() const;
    /// Shows the offer when shouldOffer(); its answer is acted on later.
    void offerInstallIfNeeded(QWidget* parent);
    InstallOfferDialog* offerDialog() const { return m_dialog; }

    /// Writes the entry and icon for this user, then registers the URL
    /// handler in the background. False (and @p error) when a file failed.
    bool install(QString* error = nullptr);

Q_SIGNALS:
    /// The background registration ended (true when every step worked).
    void registrationFinished(bool ok);

private:
    void runRegistration(QStringList steps, bool ok);

    QPointer<InstallOfferDialog> m_dialog;
};
