#pragma once

#include "model/Value.h"

#include <QWidget>

#include <memory>

class Document;
class QuillarcDocument;
class QuillarcGroup;

/// An archive's main screen: the groups list, the documents list of the
/// current group, the information, search and start areas, and the toolbar
/// strip the archive window shows in its title area.
///
/// The archive window reaches every command of the screen through the slots
/// below, named after the commands; which of them are enabled follows from
/// validateUserInterfaceItem() and the selection, announced by
/// selectionChanged().
class MainView : public QWidget
{
    Q_OBJECT

public:
    explicit MainView(Document* document, QWidget* parent = nullptr);
    ~MainView() override;

    Document* document() const { return m_document; }
    /// The strip placed into the archive window's title area while this screen shows.
    QWidget* toolbarView() const { return m_toolbarView; }

    /// Once the screen is in place: toolbar segments, the toolbar buttons'
    /// alignment, the sort order, and the start-up folder import 0.72 s later.
    void viewActions();

    /// The first selected group or document, or nullptr.
    std::shared_ptr<QuillarcGroup> currentGroup() const;
    std::shared_ptr<QuillarcDocument> currentDocument() const;
    bool hasSelectedGroup() const { return currentGroup() != nullptr; }
    bool hasSelectedDocument() const { return currentDocument() != nullptr; }
    /// Selected rows of the groups and documents lists (-1 for none), stored on every save.
    std::pair<qint64, qint64> selectionIndexes() const;

    /// Enabling of the screen's own commands (by command name, e.g.
    /// "addDocument:"); commands it does not know are enabled.
    bool validateUserInterfaceItem(const QString& action, bool windowIsKey) const;

public Q_SLOTS:
    // Commands of the archive window, forwarded here.
    void addGroup();
    void addFolderGroup();
    void editGroup();
    void deleteGroup();
    void addDocument();
    void addBatchDocuments();
    void editDocument();
    void deleteDocument();
    void createFileCopy();
    void exportGroup();
    void exportDocument();
    void exportLogAction();
    void generateQuickLook();
    void showSearchPopover();
    void showSortOrderPopover();
    void showInfoPopover();
    void showScannerSheet();
    /// Selects the group and the document of a search hit.
    void selectSearchResultForQuillarcDocument(const std::shared_ptr<QuillarcDocument>& document);
    /// Archives a finished scan like a single file and opens its sheet.
    void addScanDocumentWithURL(const QString& filePath);

Q_SIGNALS:
    /// The selected group or document changed: command enabling follows.
    void selectionChanged();

private:
    Document* m_document;
    QWidget* m_toolbarView = nullptr;
};
