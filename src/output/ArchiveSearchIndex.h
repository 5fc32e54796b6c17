#pragma once

#include "output/SearchIndex.h"

#include <QObject>
#include <QPointer>
#include <QSet>

#include <memory>

class Document;
class QTimer;
template<typename T> class QFutureWatcher;

/// The search structures of one open archive, kept for as long as it is
/// open: built on a background thread when the archive opens, then kept
/// current as documents are taken in, edited and deleted, so a search never
/// waits for them.
///
/// The archive's documents are read on the main thread (records, a shared
/// reference per text); the build reads only those. Until the structures
/// are ready, index() is nullptr and searches evaluate their filter on each
/// document instead (DocumentSearch::useSharedIndex()), with the same result.
class ArchiveSearchIndex : public QObject
{
    Q_OBJECT

public:
    /// The archive's index, made (and its build started) on first use; it
    /// belongs to the archive.
    static ArchiveSearchIndex* forDocument(Document* archive);

    explicit ArchiveSearchIndex(Document* archive);
    ~ArchiveSearchIndex() override;

    /// Starts the build from the archive's documents as they are now: their
    /// texts are read on this thread in short steps, then the structures are
    /// built on a background thread.
    void start();
    bool isReady() const { return m_index != nullptr; }
    bool isBuilding() const { return m_reading || m_watcher != nullptr; }

    /// Main-thread time one step of reading documents may take.
    static constexpr int readStepMs = 8;
    /// The structures, or nullptr until the first build has finished.
    const SearchIndex* index() const { return m_index.get(); }

    /// Documents were added to or removed from the archive: the index takes
    /// in the new ones and drops the gone ones (soon, once for a burst).
    void documentsChanged();
    /// A document's texts, date or kind changed: it is read again (soon).
    void documentChanged(const DocumentPtr& document);
    /// Applies what documentsChanged() and documentChanged() asked for, now.
    void synchronize();

Q_SIGNALS:
    /// The first build finished: index() is there from now on.
    void ready();
    /// The index took in, dropped or re-read documents.
    void changed();

private:
    void readStep();
    void build();
    void adopt(std::shared_ptr<SearchIndex> index);

    QPointer<Document> m_archive;
    std::shared_ptr<SearchIndex> m_index;
    QFutureWatcher<std::shared_ptr<SearchIndex>>* m_watcher = nullptr;
    /// The documents of a running build, kept here so none is ever freed on the build's thread.
    QList<DocumentPtr> m_building;
    std::vector<SearchIndex::Record> m_records;
    qsizetype m_readPosition = 0;
    bool m_reading = false;
    QTimer* m_readTimer;
    QSet<const QuillarcDocument*> m_edited;
    bool m_membershipChanged = false;
    QTimer* m_syncTimer;
};
