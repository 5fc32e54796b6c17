// The information popover in each state of the integrity validation: intact,
// validating (with the bar of checked files), a damaged member with the
// button to the integrity log, and an archive made in this session.
#include "ScreenRegistry.h"
#include "ScreenSamples.h"
#include "app/popover/InfoPopover.h"
#include "app/popover/Popover.h"
#include "app/popover/PopoverRegistry.h"
#include "app/window/MainView.h"
#include "controls/KVButton.h"
#include "controls/KVTessaryProgress.h"
#include "model/QuillarcDocument.h"
#include "store/Document.h"
#include "store/IntegrityValidator.h"
#include "text/KVLocalizationDictionary.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QPointer>
#include <QLabel>
#include <QThread>
#include <atomic>
#include <memory>

namespace {

/// The popover of @p archive shown under the main view's info button; the validation starts.
InfoPopover* showInfo(ScreenContext& context, Document* archive)
{
    MainView* view = ScreenSamples::mainViewFrame(context, archive);
    auto* content = qobject_cast<InfoPopover*>(PopoverRegistry::create(QStringLiteral("DocumentInfo_Popover")));
    if (!content)
        return nullptr;
    content->setDocument(archive);
    auto* frame = new Popover(content, Popover::Behavior::Transient, view->window());
    frame->showRelativeTo(view->infoButton());
    content->popoverViewActions();
    return content;
}

/// Waits for the verdict; the popover's frame.
QWidget* verdict(InfoPopover* popover)
{
    if (!popover)
        return nullptr;
    const QString validating = localizedString(QStringLiteral("INTEGRITY_STRING_VALIDATING"));
    // A transient popover closes (and goes) when another window takes the focus.
    const QPointer<InfoPopover> shown(popover);
    ScreenContext::waitFor(
        [shown, validating] {
            return !shown || !shown->validator()
                || (!shown->validator()->isValidating() && shown->stateLabel()->text() != validating);
        },
        20000);
    return shown ? shown->window() : nullptr;
}

/// Lets a held validation go on once the picture is taken (deleted with the context).
class Release : public QObject
{
public:
    explicit Release(std::shared_ptr<std::atomic<bool>> held)
        : m_held(std::move(held))
    {
    }
    ~Release() override { *m_held = false; }

private:
    std::shared_ptr<std::atomic<bool>> m_held;
};

} // namespace

QUILLARC_SCREEN("info-popover-intact", [](ScreenContext& context) -> QWidget* {
    const ScreenSamples::Archive made = ScreenSamples::accountingArchive(context);
    return verdict(showInfo(context, ScreenSamples::reopen(context, made.path)));
});

// A member changed behind the archive's back: the check fails and the log is written.
QUILLARC_SCREEN("info-popover-damaged", [](ScreenContext& context) -> QWidget* {
    const ScreenSamples::Archive made = ScreenSamples::accountingArchive(context);
    const QString member = made.path + QLatin1Char('/') + made.pdf->path();
    // Cut short, as a disk error or a careless tool would leave it.
    QFile file(member);
    file.setPermissions(file.permissions() | QFileDevice::WriteOwner);
    if (!file.open(QIODevice::ReadWrite) || !file.resize(file.size() / 2))
        return nullptr;
    file.close();
    return verdict(showInfo(context, ScreenSamples::reopen(context, made.path)));
});

// Made and saved in this session: there is nothing read at opening to validate against yet.
QUILLARC_SCREEN("info-popover-new", [](ScreenContext& context) -> QWidget* {
    const ScreenSamples::Archive made = ScreenSamples::accountingArchive(context);
    return verdict(showInfo(context, made.document));
});

// A check under way: the validator is held after two files until the picture is taken.
QUILLARC_SCREEN("info-popover-validating", [](ScreenContext& context) -> QWidget* {
    const ScreenSamples::Archive made = ScreenSamples::accountingArchive(context);
    Document* archive = ScreenSamples::reopen(context, made.path);
    auto held = std::make_shared<std::atomic<bool>>(true);
    IntegrityValidator* validator = InfoPopover::validatorFor(archive);
    validator->setThreadCount(1);
    validator->setMemberProbe([held](qint64 member) {
        // Never longer than a few seconds, whatever happens to the picture.
        const QDeadlineTimer deadline(8000);
        while (member >= 2 && *held && !deadline.hasExpired())
            QThread::msleep(5);
    });
    InfoPopover* popover = showInfo(context, archive);
    context.keep(new Release(held));
    if (!popover)
        return nullptr;
    ScreenContext::waitFor([popover] { return popover->progressView()->isVisible(); }, 5000);
    return popover->window();
});
