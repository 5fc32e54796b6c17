// The alerts of the main view's flows, raised on its frame.
#include "ScreenFixtures.h"
#include "ScreenRegistry.h"
#include "ScreenSamples.h"
#include "app/util/MessageBox.h"
#include "app/window/MainView.h"
#include "store/Document.h"
#include "text/KVLocalizationDictionary.h"

namespace {

QString text(const char* key)
{
    return localizedString(QString::fromUtf8(key));
}

/// The alert titled @p title saying @p body with @p buttons (keys), on an empty main view.
QWidget* alert(ScreenContext& context, MessageBox::Icon icon, const char* title, const char* body,
    std::initializer_list<const char*> buttons)
{
    auto* archive = new Document;
    context.keep(archive);
    archive->setUpAfterReading();
    QWidget* frame = ScreenSamples::mainViewFrame(context, archive)->window();
    QStringList labels;
    for (const char* button : buttons)
        labels.append(text(button));
    MessageBox::alert(frame, icon, text(title), text(body), labels);
    return ScreenFixtures::shownAlert(frame);
}

using Icon = MessageBox::Icon;

} // namespace

QUILLARC_SCREEN("mainview-alert-notsaved", [](ScreenContext& context) {
    return alert(context, Icon::Critical, "Error!", "You need to name and save the current Quillarc document first.",
        { "OK" });
});
QUILLARC_SCREEN("mainview-alert-notsupported", [](ScreenContext& context) {
    return alert(context, Icon::Critical, "Error!", "File format not supported.", { "OK" });
});
QUILLARC_SCREEN("mainview-alert-deletedocument", [](ScreenContext& context) {
    return alert(context, Icon::Warning, "Delete Document", "DELETE_DOCUMENT_ALERT", { "OK", "Cancel" });
});
QUILLARC_SCREEN("mainview-alert-deletedocument-refused", [](ScreenContext& context) {
    return alert(context, Icon::Critical, "ERROR!", "DELETE_DOCUMENT_IMPOSSIBLE_ALERT", { "OK" });
});
QUILLARC_SCREEN("mainview-alert-deletegroup", [](ScreenContext& context) {
    return alert(context, Icon::Warning, "Delete Group", "DELETE_GROUP_ALERT", { "OK" });
});
QUILLARC_SCREEN("mainview-alert-deletegroup-refused", [](ScreenContext& context) {
    return alert(context, Icon::Critical, "ERROR!", "DELETE_GROUP_IMPOSSIBLE_ALERT", { "OK" });
});
QUILLARC_SCREEN("mainview-alert-filenotfound", [](ScreenContext& context) {
    return alert(context, Icon::Critical, "Error!", "File not found.", { "OK" });
});
QUILLARC_SCREEN("mainview-alert-filecorrupted", [](ScreenContext& context) {
    return alert(context, Icon::Critical, "Error!", "File appears to be corrupted.", { "OK" });
});
QUILLARC_SCREEN("mainview-alert-folderhint", [](ScreenContext& context) {
    return alert(context, Icon::Information, "Hint!", "MONITORED_FOLDER_HINT", { "OK" });
});
