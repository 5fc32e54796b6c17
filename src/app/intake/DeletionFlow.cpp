#include "app/intake/DeletionFlow.h"

#include "app/util/MessageBox.h"
#include "app/window/MainView.h"
#include "intake/DeletionRules.h"
#include "model/QuillarcDocument.h"
#include "model/QuillarcGroup.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

#include <QPointer>

namespace {
/// Shows a deletion alert; @p confirmed runs when its first button is pressed,
/// or on any answer to an alert that cannot be declined.
void ask(QWidget* parent, const DeletionAlert& alert, std::function<void()> confirmed)
{
    QStringList buttons { localizedString(alert.defaultButton) };
    if (!alert.cancelButton.isEmpty())
        buttons.append(localizedString(alert.cancelButton));
    MessageBox::alert(parent, alert.critical ? MessageBox::Icon::Critical : MessageBox::Icon::Warning,
        localizedString(alert.title), localizedString(alert.text), buttons, [alert, confirmed](int answer) {
            const bool declinable = !alert.cancelButton.isEmpty();
            if (confirmed && (answer == 0 || !declinable))
                confirmed();
        });
}
} // namespace

DeletionFlow::DeletionFlow(MainView* view)
    : QObject(view)
    , m_view(view)
{
}

void DeletionFlow::deleteDocument()
{
    const DocumentPtr document = m_view->currentDocument();
    const GroupPtr group = m_view->currentGroup();
    if (!document || !group || m_view->isBusy()) {
        MessageBox::beep();
        return;
    }
    if (!DeletionRules::canDeleteDocument(*document, group.get())) {
        ask(m_view->window(), DeletionRules::deleteDocumentRefusal(), {});
        return;
    }
    const QPointer<DeletionFlow> self = this;
    // The record and group asked about are the ones deleted, whatever is selected when the answer comes.
    ask(m_view->window(), DeletionRules::deleteDocumentConfirmation(), [self, document, group] {
        if (self && DeletionRules(*self->m_view->document()).deleteDocument(document, group))
            Q_EMIT self->deleted();
    });
}

void DeletionFlow::deleteGroup()
{
    const GroupPtr group = m_view->currentGroup();
    if (!group || m_view->isBusy()) {
        MessageBox::beep();
        return;
    }
    if (!DeletionRules::canDeleteGroup(*group)) {
        ask(m_view->window(), DeletionRules::deleteGroupRefusal(), {});
        return;
    }
    const QPointer<DeletionFlow> self = this;
    ask(m_view->window(), DeletionRules::deleteGroupConfirmation(), [self, group] {
        if (self && DeletionRules(*self->m_view->document()).deleteGroup(group))
            Q_EMIT self->deleted();
    });
}
