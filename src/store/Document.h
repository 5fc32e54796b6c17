#pragma once

#include "model/ChangeNode.h"
#include "model/ModelPointers.h"
#include "model/Value.h"

#include <QObject>
#include <QStringList>
#include <QThreadPool>
#include <functional>
#include <memory>

class ArchiveSnapshot;

/// A failure to open an archive, with the three texts shown to the user.
struct DocumentError
{
    QString domain;
    int code = 0;
    QString localizedDescription;
    QString localizedFailureReason;
    QString localizedRecoverySuggestion;

    bool isNull() const { return domain.isEmpty(); }
    /// Description, reason and suggestion joined for a log line or a terminal.
    QString text() const;
};

/// Asks the user whether to open an archive that another computer or user
/// has marked open. The application answers with an alert, the command line
/// with its options.
class OpenElsewhereQuestion
{
public:
    enum Answer
    {
        Quit,
        Continue
    };
    virtual ~OpenElsewhereQuestion() = default;
    virtual Answer askOpenElsewhere(
        const QString& title, const QString& message, const QString& quitButton, const QString& continueButton)
        = 0;
};

/// The open archive: the package on disk, the object tree read from its
/// database, the open mark and the state saving needs.
///
/// A package is a directory "NAME.quillarc" holding the database
/// "Quillarc.qldb" and "Files/<uniqueID>/" for every archived file. Saving
/// rewrites only the database, atomically, and removes the folders of deleted
/// documents; archived members are never rewritten, so their stored
/// fingerprints stay valid.
class Document : public QObject, public ChangeNode
{
    Q_OBJECT

public:
    static constexpr const char* typeName = "Quillarc Document";
    static constexpr const char* databaseName = "Quillarc.qldb";
    static constexpr const char* filesName = "Files";
    static constexpr qint64 notFound = 0x7fffffffffffffffLL; ///< selection index of "nothing selected"

    enum class ReadResult
    {
        Success,
        WrongType,
        Failed,
        QuitRequested
    };
    /// ReadOnly leaves the open mark alone: for commands that only look.
    enum class OpenMode
    {
        ReadWrite,
        ReadOnly
    };

    explicit Document(QObject* parent = nullptr);
    ~Document() override;

    /// The package folder for a path naming the package or its database file.
    static QString packagePathFor(const QString& path);
    /// "computer (full user name)": who holds an archive open.
    static QString currentHostText();

    void setOpenElsewhereQuestion(OpenElsewhereQuestion* question) { m_question = question; }

    ReadResult readFromFileWrapper(
        const QString& path, const QString& type, DocumentError* error, OpenMode mode = OpenMode::ReadWrite);
    /// The store's steps of setting up a window for the archive: salt, empty
    /// deletion list, validation allowed for archives made before, initial
    /// data for new ones, files folder, parents, change count cleared.
    void setUpAfterReading(const QString& packagePath = QString());

    /// Saves as the window does: everything the database holds is taken now,
    /// on the main thread; the database is written and the completion runs
    /// on the main thread with "" or the system's reason for a failure
    /// (already logged as "ERROR SAVING: %@"). Saves run one after another;
    /// saves asked for while an earlier one waits for its turn join it, and
    /// it then writes the newest state, which holds everything they would have.
    void saveToURL(const QString& packagePath, std::function<void(const QString& error)> completionHandler = {});
    /// True while a save started by saveToURL() has not finished.
    bool isSaving() const { return m_pendingSaves > 0; }
    /// Returns once every save started so far is on disk (closing, quitting).
    void waitForSaves();

    /// Saves to the package path and waits (the first save needs saveToPath()).
    bool save(QString* error = nullptr);
    bool saveToPath(const QString& packagePath, QString* error = nullptr);
    /// Everything the next save writes, taken now: marks the first save
    /// done, makes sure the files folder exists and stores the selection.
    ArchiveSnapshot fileWrapperOfType();

    /// Clears the open mark, allows validation and saves: closing a window.
    bool close(QString* error = nullptr);
    /// Clears the open mark ("isAlreadyOpen" NO, "host" empty) without saving:
    /// the window's closing and quitting save through saveToURL() afterwards.
    void clearOpenMark();

    void createInitialData();
    bool checkForFilesWrappers();
    bool checkForFilesWrapper();
    void setParents();
    /// Removes the folders of deleted documents that no record refers to any more.
    void deleteFiles();
    void saveSelectionIndexes();
    /// Supplies the selected rows (groups, documents; -1 for none) when saving.
    void setSelectionProvider(std::function<std::pair<qint64, qint64>()> provider)
    {
        m_selectionProvider = std::move(provider);
    }

    /// Appends one audit-log entry for the document: kind 0 taken in, 1
    /// deleted. The entry's text is fixed now and never edited; callers save
    /// or mark the archive edited themselves.
    void createLogObjectForDocument(const DocumentPtr& document, qint64 logKind);
    /// A date in the short date and short time style of the current locale.
    static QString shortDateFormatter(const Value& date);

    QList<GroupPtr> allGroups() const;
    QList<DocumentPtr> allDocuments() const;
    DocumentPtr itemForID(const QString& uniqueID) const;
    /// Distinct file kinds, each as {"fileKind": kind}, for the search filters.
    QList<ValueMap> allFileKinds() const;

    /// Announces objectChanged() for an object of this archive; changes made
    /// on other threads (records being built) are not announced.
    void noteObjectChanged(QuillarcDatabaseObject* object) override;

    // ChangeNode: the end of every change chain.
    void valuesChanged() override
    {
        updateChangeCount();
        Q_EMIT changed();
    }
    Document* document() const override { return const_cast<Document*>(this); }

    void updateChangeCount();
    void clearChangeCount();
    bool isDocumentEdited() const { return m_changeCount > 0; }
    int changeCount() const { return m_changeCount; }

    QString packagePath() const { return m_packagePath; }
    QString filesPath() const;
    ContainerPtr container() const { return m_container; }
    PreferencesPtr preferences() const { return m_preferences; }
    const Value& indexDictionary() const { return m_indexDictionary; }
    bool isInitialDataCreated() const { return m_isInitialDataCreated; }
    bool isAlreadyOpen() const { return m_isAlreadyOpen; }
    QString host() const { return m_host; }
    QByteArray clientData() const { return m_clientData; }
    QString companyString() const { return m_companyString; }
    /// The fingerprint salt, formed at set-up.
    QString string() const { return m_string; }
    bool isTessary() const { return m_isTessary; }
    bool isDataLoaded() const { return m_isDataLoaded; }
    QStringList deleteIDSArray() const { return m_deleteIDSArray; }
    void addToDeleteIDSArray(const QString& uniqueID) { m_deleteIDSArray.append(uniqueID); }

    /// The state line of the last integrity validation.
    QString integrityString() const { return m_integrityString; }
    void setIntegrityString(const QString& text);

Q_SIGNALS:
    void editedChanged(bool edited);
    /// An object of the archive changed: a field was set, or its list of
    /// groups or documents changed. Emitted on the archive's thread right
    /// after each change, and again for each owner as the change climbs the
    /// parent chain, so views follow the tree without polling it.
    void objectChanged(QuillarcDatabaseObject* object);
    /// Something in the archive changed (once per burst of changes): views
    /// that show archive texts outside the lists refresh on it.
    void changed();
    void integrityStringChanged(const QString& text);

private:
    /// Checks the package location before a save; "" when it can be written.
    QString preparePackage(const QString& packagePath);
    /// The end of a save on the main thread: the edited state and the log line.
    void finishSave(const QString& error, int changeCountAtSnapshot);

    QString m_packagePath;
    ContainerPtr m_container;
    PreferencesPtr m_preferences;
    Value m_indexDictionary;
    bool m_isInitialDataCreated = false;
    bool m_isAlreadyOpen = false;
    QString m_host;
    QByteArray m_clientData;
    QString m_companyString;
    QString m_string;
    bool m_isTessary = false;
    bool m_isDataLoaded = false;
    QStringList m_deleteIDSArray;
    QString m_integrityString;
    int m_changeCount = 0;
    int m_pendingSaves = 0;
    QThreadPool m_saveQueue; ///< one thread: saves are written one after another
    struct QueuedSave;
    std::shared_ptr<QueuedSave> m_queuedSave; ///< the save last put on the queue, joinable until it begins
    OpenElsewhereQuestion* m_question = nullptr;
    std::function<std::pair<qint64, qint64>()> m_selectionProvider;
};
