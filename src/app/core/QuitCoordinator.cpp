#include "app/core/QuitCoordinator.h"

#include "app/core/Delays.h"
#include "app/core/DocumentController.h"
#include "app/window/ArchiveSaving.h"
#include "app/window/ArchiveWindow.h"
#include "model/QuillarcPreferences.h"
#include "store/Document.h"

#include <QPointer>
#include <QTimer>

QuitCoordinator::QuitCoordinator(DocumentController* controller, QObject* parent)
    : QObject(parent)
    , m_controller(controller)
{
}

QuitCoordinator::Reply QuitCoordinator::applicationShouldTerminate()
{
    const QList<ArchiveWindow*> documents = m_controller->documents();
    for (int index = 0; index < documents.size(); ++index) {
        ArchiveWindow* window = documents.at(index);
        if (!window->isDirty())
            continue;
        prepareForQuit(window);
        scheduleSave(window, index + 1);
        m_replyPending = true;
        return Reply::TerminateLater;
    }
    return Reply::TerminateNow;
}

void QuitCoordinator::documentDidSave(bool saved, int contextIndex)
{
    if (!saved) {
        replyToApplicationShouldTerminate(false);
        return;
    }
    // Only the archive right after the saved one is looked at, by the store's edited flag.
    const QList<ArchiveWindow*> documents = m_controller->documents();
    if (contextIndex < documents.size() && documents.at(contextIndex)->document()->isDocumentEdited()) {
        ArchiveWindow* next = documents.at(contextIndex);
        if (const auto preferences = next->document()->preferences())
            preferences->setValue(QuillarcPreferences::ValidationPosssible, Value::boolean(true));
        scheduleSave(next, contextIndex + 1);
        return;
    }
    replyToApplicationShouldTerminate(true);
}

void QuitCoordinator::terminateByHand()
{
    const QList<ArchiveWindow*> documents = m_controller->documents();
    for (int index = 0; index < documents.size(); ++index) {
        ArchiveWindow* window = documents.at(index);
        if (!window->isDirty())
            continue;
        prepareForQuit(window);
        scheduleSave(window, index + 1);
    }
    requestTermination();
}

void QuitCoordinator::requestTermination()
{
    // A quit already waiting for its saves is not asked again.
    if (m_replyPending)
        return;
    if (applicationShouldTerminate() == Reply::TerminateNow)
        Q_EMIT replied(true);
}

void QuitCoordinator::prepareForQuit(ArchiveWindow* window)
{
    Document* document = window->document();
    document->clearOpenMark();
    if (const auto preferences = document->preferences())
        preferences->setValue(QuillarcPreferences::ValidationPosssible, Value::boolean(true));
}

void QuitCoordinator::scheduleSave(ArchiveWindow* window, int contextIndex)
{
    QPointer<ArchiveWindow> target = window;
    QTimer::singleShot(Delays::ms(0.36), this, [this, target, contextIndex] {
        if (!target) {
            documentDidSave(false, contextIndex);
            return;
        }
        target->saving()->saveDocument([this, contextIndex](bool saved) { documentDidSave(saved, contextIndex); });
    });
}

void QuitCoordinator::replyToApplicationShouldTerminate(bool shouldTerminate)
{
    // Saves scheduled by the Quit command answer too; only the first answer counts.
    if (!m_replyPending)
        return;
    m_replyPending = false;
    Q_EMIT replied(shouldTerminate);
}
