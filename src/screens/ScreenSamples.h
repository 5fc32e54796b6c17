#pragma once

#include <QList>
#include <QString>
#include <memory>

class Document;
class MainView;
class QuillarcDocument;
class QuillarcGroup;
class QWidget;
class ScreenContext;

/// The accounting archive the main view's pictures show: groups of several
/// colours, real PDF, image and text files taken in by the engine's own
/// intake, tags, a comment and a note.
namespace ScreenSamples {

struct Archive
{
    QString path; ///< the saved package
    QString files; ///< the folder of the original files (more to take in)
    Document* document = nullptr; ///< the archive as made in this session (deleted with the context)
    QList<std::shared_ptr<QuillarcGroup>> groups; ///< invoices, contracts, statements (a folder group)
    std::shared_ptr<QuillarcDocument> pdf; ///< a two-page invoice in the first group
    std::shared_ptr<QuillarcDocument> image; ///< a receipt photo in the first group
};

/// Makes and saves the archive in the context's scratch folder.
Archive accountingArchive(ScreenContext& context);

/// The archive at @p path read again, as a window reads it at opening (so it can be validated).
Document* reopen(ScreenContext& context, const QString& path);

/// The main view of @p archive with its toolbar strip above it, as the archive
/// window shows them, in a shown frame of 1180×720 (view->window()).
MainView* mainViewFrame(ScreenContext& context, Document* archive);

/// The popover shown last on @p window, once visible.
QWidget* shownPopover(QWidget* window);

} // namespace ScreenSamples
