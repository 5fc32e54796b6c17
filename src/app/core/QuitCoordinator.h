#pragma once

#include <QObject>

class ArchiveWindow;
class DocumentController;

/// Quitting: every edited archive is saved, one after the other, before the
/// application may terminate; a failed save cancels the quit.
///
/// applicationShouldTerminate() saves the first archive whose window is
/// edited and answers "later"; each completed save looks at the archive at
/// exactly the next index of the open-archive list: when that one is edited
/// it is saved the same way, otherwise the application may terminate. A
/// clean archive therefore ends the chain even when archives after it are
/// edited; their windows save themselves when they close.
class QuitCoordinator : public QObject
{
    Q_OBJECT

public:
    enum class Reply
    {
        TerminateNow,
        TerminateLater
    };

    explicit QuitCoordinator(DocumentController* controller, QObject* parent = nullptr);

    /// The question the application asks before it quits.
    Reply applicationShouldTerminate();
    /// The completion of a save started by the chain, @p contextIndex being
    /// the saved archive's index + 1.
    void documentDidSave(bool saved, int contextIndex);
    /// The Quit menu command: schedules a save of every edited archive, then
    /// asks to terminate at once.
    void terminateByHand();
    /// Asks to terminate: an immediate "now" or, later, the chain's reply.
    void requestTermination();

    bool isReplyPending() const { return m_replyPending; }

Q_SIGNALS:
    /// The answer to the pending termination request.
    void replied(bool shouldTerminate);

private:
    /// Clears the open mark and allows validation, as every quitting save does.
    static void prepareForQuit(ArchiveWindow* window);
    void scheduleSave(ArchiveWindow* window, int contextIndex);
    void replyToApplicationShouldTerminate(bool shouldTerminate);

    DocumentController* m_controller;
    bool m_replyPending = false;
};
